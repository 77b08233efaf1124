// Shared by the activity tests: fixed instants and calendars pinned to a time zone.
#pragma once

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <unicode/gregocal.h>
#include <unicode/timezone.h>

namespace zelmor::test {

inline std::unique_ptr<icu::Calendar> gregorianIn(const char* zone) {
    UErrorCode status = U_ZERO_ERROR;
    return std::make_unique<icu::GregorianCalendar>(icu::TimeZone::createTimeZone(zone), status);
}

/// An instant given in UTC.
inline std::chrono::system_clock::time_point utc(int y, unsigned mo, unsigned d, int h = 0, int mi = 0,
                                                 int s = 0) {
    using namespace std::chrono;
    return sys_days(year(y) / month(mo) / day(d)) + hours(h) + minutes(mi) + seconds(s);
}

inline std::vector<std::string> fileNames(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& item : std::filesystem::directory_iterator(folder))
        names.push_back(item.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace zelmor::test
