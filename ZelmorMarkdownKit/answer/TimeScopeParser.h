// Reads English time phrases ("last week", "in March", "the last 3 meetings", "by end of
// month") out of a question: a scope for the answer, a look-ahead horizon, and the question
// with the phrases taken out so that the rest can be searched as keywords.
#pragma once

#include "ZelmorMarkdownKit/answer/AnswerScope.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <unicode/calendar.h>

namespace zelmor::TimeScopeParser {

struct Parse {
    /// The merged scope of every scope phrase; `AnswerScope::all()` when there is none.
    AnswerScope scope;
    /// The question without the recognised phrases, on single spaces, no space before punctuation.
    std::string strippedQuestion;
    /// The recognised phrases as written: look-ahead phrases first, then scope phrases, each
    /// group in pattern order.
    std::vector<std::string> matchedPhrases;
    /// Days ahead named by the first look-ahead phrase found.
    std::optional<int> horizonDays;

    bool operator==(const Parse&) const = default;
};

/// Phrases inside double quotes (plain or typographic) are left alone. Today is the day of
/// `now` in the calendar's time zone; weeks start on the calendar's first weekday.
Parse parse(std::string_view question, std::chrono::system_clock::time_point now,
            const icu::Calendar& calendar);

/// "yyyy-MM-dd" of the instant in the calendar's time zone, always with Western digits.
std::string dateString(std::chrono::system_clock::time_point date, const icu::Calendar& calendar);

} // namespace zelmor::TimeScopeParser
