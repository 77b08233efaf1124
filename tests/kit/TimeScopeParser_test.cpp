// Time phrases against fixed instants and calendars with Monday and Sunday week starts, and the
// look-back windows that follow a horizon.
#include "ZelmorMarkdownKit/answer/ScopingPolicy.h"
#include "ZelmorMarkdownKit/answer/TimeScopeParser.h"

#include <gtest/gtest.h>
#include <unicode/gregocal.h>
#include <unicode/timezone.h>

#include <ctime>
#include <memory>

namespace zelmor {
namespace {

using std::chrono::system_clock;
using Strings = std::vector<std::string>;
using namespace ScopingPolicy;

std::unique_ptr<icu::Calendar> calendarIn(const char* zone, UCalendarDaysOfWeek firstDay = UCAL_MONDAY) {
    UErrorCode status = U_ZERO_ERROR;
    auto calendar = std::make_unique<icu::GregorianCalendar>(
        icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(zone)), status);
    calendar->setFirstDayOfWeek(firstDay);
    return calendar;
}

/// An instant given as UTC "yyyy-mm-ddThh:mm".
system_clock::time_point at(const char* utc) {
    std::tm parts{};
    strptime(utc, "%Y-%m-%dT%H:%M", &parts);
    return system_clock::from_time_t(timegm(&parts));
}

const auto berlin = calendarIn("Europe/Berlin");
const auto sundayFirst = calendarIn("Europe/Berlin", UCAL_SUNDAY);
const auto losAngeles = calendarIn("America/Los_Angeles");

TimeScopeParser::Parse parse(const char* question, const char* now, const icu::Calendar& calendar = *berlin) {
    return TimeScopeParser::parse(question, at(now), calendar);
}

TEST(TimeScopeParser, PhrasesGiveRangesCountsOrHorizons) {
    // Wednesday 18 November 2026 is the usual now. This period includes its future days; a named
    // month is the latest such unless a year is written; day counts end today; look-ahead phrases
    // win over the scope words inside them.
    struct Case {
        const char* question;
        const char* now;
        std::optional<std::string> from, to;
        std::optional<int> lastN = {}, horizon = {};
        const icu::Calendar* calendar = berlin.get();
    };
    const char* wed = "2026-11-18T10:00";
    const Case cases[] = {{"what did we decide last week?", wed, "2026-11-09", "2026-11-15"},
                          {"this week", wed, "2026-11-16", "2026-11-22"},
                          {"this month", "2026-02-10T10:00", "2026-02-01", "2026-02-28"},
                          {"THIS YEAR", "2026-02-10T10:00", "2026-01-01", "2026-12-31"},
                          {"past year", "2026-02-10T10:00", "2025-01-01", "2025-12-31"},
                          {"in December", "2026-03-10T10:00", "2025-12-01", "2025-12-31"},
                          {"in march", "2026-03-10T10:00", "2026-03-01", "2026-03-31"},
                          {"in February 2024", "2026-03-10T10:00", "2024-02-01", "2024-02-29"},
                          {"since April", "2026-03-10T10:00", "2025-04-01", std::nullopt},
                          {"since 2025-01-01", "2026-03-10T10:00", "2025-01-01", std::nullopt},
                          {"last 2 weeks", wed, "2026-11-05", "2026-11-18"},
                          {"past three days", wed, "2026-11-16", "2026-11-18"},
                          {"last 3 months", "2026-11-22T10:00", "2026-08-23", "2026-11-22"},
                          {"yesterday", "2026-03-01T10:00", "2026-02-28", "2026-02-28"},
                          {"today's agenda", "2026-03-01T10:00", "2026-03-01", "2026-03-01"},
                          // 23:30 UTC is already the next day in Berlin.
                          {"today", "2026-11-22T23:30", "2026-11-23", "2026-11-23"},
                          {"last week\u2019s decisions", "2026-01-01T10:00", "2025-12-22", "2025-12-28"},
                          // An unclosed quote protects nothing.
                          {"find \"last week notes", wed, "2026-11-09", "2026-11-15"},
                          // Scopes merge into the narrower range.
                          {"this week in the last 2 weeks", wed, "2026-11-16", "2026-11-18"},
                          {"last week", wed, "2026-11-08", "2026-11-14", {}, {}, sundayFirst.get()},
                          {"today", "2026-11-22T23:30", "2026-11-22", "2026-11-22", {}, {}, losAngeles.get()},
                          {"the last meeting", wed, {}, {}, 1},
                          {"the last 3 meetings", wed, {}, {}, 3},
                          {"past seven meetings", wed, {}, {}, 7},
                          {"what is due by end of month?", "2026-11-30T10:00", {}, {}, {}, 0},
                          {"what is due by end of month?", "2026-11-22T10:00", {}, {}, {}, 8},
                          {"plans for this coming week", wed, {}, {}, {}, 7},
                          {"before the end of this week", wed, {}, {}, {}, 4},
                          {"over the next 3 days", wed, {}, {}, {}, 3},
                          {"next two weeks", wed, {}, {}, {}, 14},
                          {"in the next 2 months", "2026-11-22T10:00", {}, {}, {}, 61},
                          {"the coming month", "2026-01-31T10:00", {}, {}, {}, 28}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.question);
        auto result = parse(c.question, c.now, *c.calendar);
        EXPECT_EQ(result.scope.dateFrom, c.from);
        EXPECT_EQ(result.scope.dateTo, c.to);
        EXPECT_EQ(result.scope.lastN, c.lastN);
        EXPECT_EQ(result.horizonDays, c.horizon);
    }
}

TEST(TimeScopeParser, PhrasesLeaveTheQuestionOnSingleSpaces) {
    const std::tuple<const char*, const char*, Strings> cases[] = {
        {"  what did \n we   decide ?", "what did we decide?", {}},
        {"what did we decide last week?", "what did we decide?", {"last week"}},
        {"last month's numbers", "numbers", {"last month's"}},
        {"what came up in the last meeting?", "what came up in?", {"the last meeting"}},
        {"this week in the last 2 weeks", "in the", {"last 2 weeks", "this week"}},
        {"what do I need by tomorrow?", "what do I need?", {"by tomorrow"}},
        // "this coming week" is a look-ahead; "this week" must not take its words as well.
        {"plans for this coming week", "plans", {"for this coming week"}},
        {"find \u201Clast week\u201D notes", "find \u201Clast week\u201D notes", {}}};
    for (const auto& [question, stripped, phrases] : cases) {
        auto result = parse(question, "2026-11-18T10:00");
        EXPECT_EQ(result.strippedQuestion, stripped) << question;
        EXPECT_EQ(result.matchedPhrases, phrases) << question;
    }
    EXPECT_EQ(TimeScopeParser::dateString(at("2026-11-22T23:30"), *losAngeles), "2026-11-22");
}

TEST(ScopingPolicy, LookbackWindowsFollowTheHorizonWithinBoundsAndEndToday) {
    for (auto [horizon, days] :
         {std::pair<std::optional<int>, int>{std::nullopt, 14}, {3, 7}, {20, 20}, {90, 30}})
        EXPECT_EQ(lookbackDays(horizon), days);
    auto now = at("2026-11-22T23:30");
    auto fortnight = window(std::nullopt, now, *berlin);
    EXPECT_EQ(fortnight, (Window{"2026-11-10", "2026-11-23", 14, std::nullopt, std::nullopt}));
    EXPECT_EQ(window(0, now, *berlin), (Window{"2026-11-23", "2026-11-23", 1, {}, {}}));
    EXPECT_EQ(fortnight.scope(), (AnswerScope{.dateFrom = "2026-11-10", .dateTo = "2026-11-23"}));
}

TEST(ScopingPolicy, WideningKeepsPointingAtTheFirstWindow) {
    auto now = at("2026-11-22T12:00");
    auto first = window(14, now, *berlin);
    auto wider = widen(first, 2, 3, {60, 30}, now, *berlin);
    ASSERT_TRUE(wider);
    EXPECT_EQ(*wider, (Window{"2026-10-24", "2026-11-22", 30, 14,
                              "Widened to 30 days \u2014 only 2 meetings in the last 14"}));
    auto widest = widen(*wider, 1, 3, {30, 60}, now, *berlin);
    ASSERT_TRUE(widest);
    EXPECT_EQ(widest->widenedFrom, 14);
    EXPECT_EQ(widest->note, "Widened to 60 days \u2014 only 1 meeting in the last 30");
    EXPECT_FALSE(widen(*widest, 0, 3, {30, 60}, now, *berlin));
    EXPECT_FALSE(widen(first, 3, 3, {30, 60}, now, *berlin));
}

} // namespace
} // namespace zelmor
