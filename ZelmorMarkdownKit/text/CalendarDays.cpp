// ICU works in milliseconds since 1970 (UDate); instants are converted at the edges only.
#include "ZelmorMarkdownKit/text/CalendarDays.h"

#include <cmath>
#include <cstdio>
#include <memory>

namespace zelmor::CalendarDays {

namespace {

// The nanosecond system clock spans about ±292 years; stay well inside so conversions never overflow.
constexpr double maxMilliseconds = 9.0e12;

UDate toUDate(Instant instant) {
    return static_cast<UDate>(
        std::chrono::floor<std::chrono::milliseconds>(instant.time_since_epoch()).count());
}

std::optional<Instant> fromUDate(UDate date) {
    if (!std::isfinite(date) || std::fabs(date) > maxMilliseconds) return std::nullopt;
    auto milliseconds = std::chrono::milliseconds(static_cast<long long>(std::llround(date)));
    return Instant(std::chrono::duration_cast<Instant::duration>(milliseconds));
}

/// A private copy set to the instant: the caller's calendar is shared and must not change.
std::unique_ptr<icu::Calendar> calendarAt(Instant instant, const icu::Calendar& calendar,
                                          UErrorCode& status) {
    std::unique_ptr<icu::Calendar> copy(calendar.clone());
    if (!copy) {
        status = U_MEMORY_ALLOCATION_ERROR;
        return nullptr;
    }
    copy->setTime(toUDate(instant), status);
    return copy;
}

} // namespace

std::optional<Instant> adding(int days, Instant instant, const icu::Calendar& calendar) {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Calendar> copy = calendarAt(instant, calendar, status);
    if (U_FAILURE(status)) return std::nullopt;
    copy->add(UCAL_DATE, days, status);
    UDate moved = copy->getTime(status);
    if (U_FAILURE(status)) return std::nullopt;
    // Sub-millisecond precision is below ICU's resolution; carry it over unchanged.
    auto below = instant - std::chrono::floor<std::chrono::milliseconds>(instant);
    std::optional<Instant> result = fromUDate(moved);
    if (!result) return std::nullopt;
    return *result + below;
}

std::optional<std::string> dayKey(Instant instant, const icu::Calendar& calendar) {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Calendar> copy = calendarAt(instant, calendar, status);
    if (U_FAILURE(status)) return std::nullopt;
    int32_t year = copy->get(UCAL_YEAR, status);
    int32_t month = copy->get(UCAL_MONTH, status) + 1;
    int32_t day = copy->get(UCAL_DATE, status);
    if (U_FAILURE(status)) return std::nullopt;
    return dayString(year, month, day);
}

std::string dayString(int year, int month, int day) {
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02d", year, month, day);
    return buffer;
}

} // namespace zelmor::CalendarDays
