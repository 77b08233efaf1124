// Windows are day strings in the calendar's time zone, so "today" is the user's today.
#include "ZelmorMarkdownKit/answer/ScopingPolicy.h"

#include "ZelmorMarkdownKit/answer/TimeScopeParser.h"

#include <algorithm>
#include <memory>

namespace zelmor::ScopingPolicy {

AnswerScope Window::scope() const {
    AnswerScope result;
    result.dateFrom = from;
    result.dateTo = to;
    return result;
}

int lookbackDays(std::optional<int> horizonDays) {
    if (!horizonDays) return defaultLookbackDays;
    return std::clamp(*horizonDays, minimumLookbackDays, maximumLookbackDays);
}

Window window(std::optional<int> horizonDays, std::chrono::system_clock::time_point now,
              const icu::Calendar& calendar) {
    return window(lookbackDays(horizonDays), now, calendar);
}

Window window(int days, std::chrono::system_clock::time_point now, const icu::Calendar& calendar,
              std::optional<int> widenedFrom, std::optional<std::string> note) {
    days = std::max(1, days);
    auto millis = std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count();
    std::unique_ptr<icu::Calendar> first(calendar.clone());
    UErrorCode status = U_ZERO_ERROR;
    first->setTime(static_cast<UDate>(millis), status);
    first->add(UCAL_DATE, 1 - days, status);
    UDate firstDay = first->getTime(status);
    // A first day that cannot be formed falls back to today.
    auto from = U_SUCCESS(status) ? std::chrono::system_clock::time_point(
                                        std::chrono::milliseconds(static_cast<long long>(firstDay)))
                                  : now;
    return Window{TimeScopeParser::dateString(from, calendar), TimeScopeParser::dateString(now, calendar),
                  days, widenedFrom, std::move(note)};
}

std::optional<Window> widen(const Window& current, int scannedCount, int thinBelow, std::vector<int> steps,
                            std::chrono::system_clock::time_point now, const icu::Calendar& calendar) {
    if (scannedCount >= thinBelow) return std::nullopt;
    std::sort(steps.begin(), steps.end());
    auto step = std::find_if(steps.begin(), steps.end(), [&](int days) { return days > current.days; });
    if (step == steps.end()) return std::nullopt;
    std::string count = scannedCount == 1 ? "1 meeting" : std::to_string(scannedCount) + " meetings";
    std::string note = "Widened to " + std::to_string(*step) + " days \u2014 only " + count +
                       " in the last " + std::to_string(current.days);
    return window(std::max(*step, 1), now, calendar, current.widenedFrom.value_or(current.days),
                  std::move(note));
}

} // namespace zelmor::ScopingPolicy
