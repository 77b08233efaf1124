// How far back a question looks when it names no dates, and how that look-back widens when it
// finds too few meetings.
#pragma once

#include "ZelmorMarkdownKit/answer/AnswerScope.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include <unicode/calendar.h>

namespace zelmor::ScopingPolicy {

inline constexpr int defaultLookbackDays = 14;
inline constexpr int minimumLookbackDays = 7;
inline constexpr int maximumLookbackDays = 30;

/// A range of days ending today.
struct Window {
    std::string from;
    std::string to;
    /// Days in the range, today included.
    int days = 1;
    /// The days of the first window before any widening.
    std::optional<int> widenedFrom;
    /// Tells the user why the range is wider than asked.
    std::optional<std::string> note;

    bool operator==(const Window&) const = default;
    /// The dates alone; every other field of the scope is absent.
    AnswerScope scope() const;
};

/// 14 without a horizon; otherwise the horizon kept within 7...30.
int lookbackDays(std::optional<int> horizonDays);

Window window(std::optional<int> horizonDays, std::chrono::system_clock::time_point now,
              const icu::Calendar& calendar);

/// A window of max(1, days) days ending today.
Window window(int days, std::chrono::system_clock::time_point now, const icu::Calendar& calendar,
              std::optional<int> widenedFrom = std::nullopt, std::optional<std::string> note = std::nullopt);

/// The next wider window when the current one held fewer than `thinBelow` meetings, or nothing
/// when it held enough or no step is wider.
std::optional<Window> widen(const Window& current, int scannedCount, int thinBelow, std::vector<int> steps,
                            std::chrono::system_clock::time_point now, const icu::Calendar& calendar);

} // namespace zelmor::ScopingPolicy
