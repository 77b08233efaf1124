// Calendar-day arithmetic on instants through a caller's ICU calendar, so that "a day" follows
// that calendar's local midnight and its daylight-saving shifts rather than 86,400 seconds.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include <unicode/calendar.h>

namespace zelmor::CalendarDays {

using Instant = std::chrono::system_clock::time_point;

/// The instant moved by `days` calendar days (negative goes back); nothing when the calendar
/// cannot compute it or the result does not fit an instant.
std::optional<Instant> adding(int days, Instant instant, const icu::Calendar& calendar);

/// "yyyy-MM-dd" of the calendar's year, month and day at the instant, in its time zone;
/// nothing when the calendar cannot compute it.
std::optional<std::string> dayKey(Instant instant, const icu::Calendar& calendar);

/// "yyyy-MM-dd" of the day: the year in at least four digits, month and day in two.
std::string dayString(int year, int month, int day);

} // namespace zelmor::CalendarDays
