// Reads arbitrary bytes as a question with time phrases. The first byte picks the calendar (first
// weekday and time zone) and the second the current instant, from fixed tables, so that every
// finding reproduces; the rest is the question.
#include "FuzzInput.h"

#include "ZelmorMarkdownKit/answer/TimeScopeParser.h"
#include "ZelmorMarkdownKit/text/UTF8.h"

#include <unicode/gregocal.h>
#include <unicode/timezone.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace {

using std::chrono::system_clock;

// Zones with a DST change, a half-hour DST shift, the earliest and latest offsets, and UTC.
constexpr std::array zones = {"UTC",
                              "Europe/Berlin",
                              "America/Los_Angeles",
                              "Australia/Lord_Howe",
                              "Pacific/Kiritimati",
                              "Pacific/Pago_Pago",
                              "Asia/Kolkata",
                              "America/St_Johns"};

// Seconds since 1970 (UTC): a mid-month Wednesday, month ends, a leap day, a year's last minute,
// the night of a DST change in Europe and in the US.
constexpr std::array<long long, 8> instants = {
    1794996000, // 2026-11-18 10:00
    1769902200, // 2026-01-31 23:30
    1709208000, // 2024-02-29 12:00
    1767225540, // 2025-12-31 23:59
    1774747800, // 2026-03-29 01:30
    1772960400, // 2026-03-08 09:00
    1795996800, // 2026-11-30 00:00
    951782400,  // 2000-02-29 00:00
};

const std::vector<std::unique_ptr<icu::Calendar>>& calendars() {
    static const auto made = [] {
        std::vector<std::unique_ptr<icu::Calendar>> all;
        for (const char* zone : zones) {
            for (int firstDay = UCAL_SUNDAY; firstDay <= UCAL_SATURDAY; ++firstDay) {
                UErrorCode status = U_ZERO_ERROR;
                auto calendar = std::make_unique<icu::GregorianCalendar>(
                    icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(zone)), status);
                if (U_FAILURE(status)) std::abort();
                calendar->setFirstDayOfWeek(static_cast<UCalendarDaysOfWeek>(firstDay));
                all.push_back(std::move(calendar));
            }
        }
        return all;
    }();
    return made;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using zelmor::fuzz::require;
    if (size < 2) return 0;
    const icu::Calendar& calendar = *calendars()[data[0] % calendars().size()];
    system_clock::time_point now{std::chrono::seconds(instants[data[1] % instants.size()])};
    std::string_view question(reinterpret_cast<const char*>(data + 2), size - 2);

    auto parse = zelmor::TimeScopeParser::parse(question, now, calendar);
    require(!parse.horizonDays || *parse.horizonDays >= 0, "a look-ahead horizon lies in the future");
    if (!zelmor::UTF8::isValid(question)) return 0;
    require(zelmor::UTF8::isValid(parse.strippedQuestion), "the stripped question stays valid UTF-8");
    for (const auto& phrase : parse.matchedPhrases)
        require(question.find(phrase) != std::string_view::npos, "a matched phrase is part of the question");
    require(parse.strippedQuestion.size() <= question.size(), "stripping never adds text");
    return 0;
}
