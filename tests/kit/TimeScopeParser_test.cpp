// Time phrases against fixed instants and calendars with Monday and Sunday week starts, and the
// look-back windows that follow a horizon.
#include "ZelmorMarkdownKit/answer/ScopingPolicy.h"
#include "ZelmorMarkdownKit/answer/TimeScopeParser.h"
#include "tests/kit/ActivityTestSupport.h"

#include <gtest/gtest.h>

namespace zelmor {
namespace {

using std::chrono::system_clock;
using test::utc;
using Strings = std::vector<std::string>;
using namespace ScopingPolicy;

std::unique_ptr<icu::Calendar> calendarIn(const char* zone, UCalendarDaysOfWeek firstDay = UCAL_MONDAY) {
    auto calendar = test::gregorianIn(zone);
    calendar->setFirstDayOfWeek(firstDay);
    return calendar;
}

const auto berlin = calendarIn("Europe/Berlin");
const auto sundayFirst = calendarIn("Europe/Berlin", UCAL_SUNDAY);

TEST(TimeScopeParser, PhrasesGiveRangesCountsOrHorizonsAndLeaveTheRestOnSingleSpaces) {
    // Wednesday 18 November 2026 is the usual now. This period includes its future days; a named
    // month is the latest such unless a year is written; day counts end today; look-ahead phrases
    // win over the scope words inside them.
    struct Case {
        const char* question;
        system_clock::time_point now;
        std::optional<std::string> from, to;
        std::optional<int> lastN = {}, horizon = {};
        const icu::Calendar* calendar = berlin.get();
    };
    const auto wed = utc(2026, 11, 18, 10);
    const Case cases[] = {{"this week", wed, "2026-11-16", "2026-11-22"},
                          {"this month", utc(2026, 2, 10, 10), "2026-02-01", "2026-02-28"},
                          {"past year", utc(2026, 2, 10, 10), "2025-01-01", "2025-12-31"},
                          {"in December", utc(2026, 3, 10, 10), "2025-12-01", "2025-12-31"},
                          {"in march", utc(2026, 3, 10, 10), "2026-03-01", "2026-03-31"},
                          {"in February 2024", utc(2026, 3, 10, 10), "2024-02-01", "2024-02-29"},
                          {"since April", utc(2026, 3, 10, 10), "2025-04-01", std::nullopt},
                          {"since 2025-01-01", utc(2026, 3, 10, 10), "2025-01-01", std::nullopt},
                          {"last 2 weeks", wed, "2026-11-05", "2026-11-18"},
                          {"past three days", wed, "2026-11-16", "2026-11-18"},
                          {"last 3 months", utc(2026, 11, 22, 10), "2026-08-23", "2026-11-22"},
                          {"yesterday", utc(2026, 3, 1, 10), "2026-02-28", "2026-02-28"},
                          // 23:30 UTC is already the next day in Berlin.
                          {"today", utc(2026, 11, 22, 23, 30), "2026-11-23", "2026-11-23"},
                          {"last week\u2019s decisions", utc(2026, 1, 1, 10), "2025-12-22", "2025-12-28"},
                          // An unclosed quote protects nothing.
                          {"find \"last week notes", wed, "2026-11-09", "2026-11-15"},
                          // Scopes merge into the narrower range.
                          {"this week in the last 2 weeks", wed, "2026-11-16", "2026-11-18"},
                          {"last week", wed, "2026-11-08", "2026-11-14", {}, {}, sundayFirst.get()},
                          {"the last meeting", wed, {}, {}, 1},
                          {"past seven meetings", wed, {}, {}, 7},
                          {"what is due by end of month?", utc(2026, 11, 22, 10), {}, {}, {}, 8},
                          {"plans for this coming week", wed, {}, {}, {}, 7},
                          {"before the end of this week", wed, {}, {}, {}, 4},
                          {"over the next 3 days", wed, {}, {}, {}, 3},
                          {"next two weeks", wed, {}, {}, {}, 14},
                          {"in the next 2 months", utc(2026, 11, 22, 10), {}, {}, {}, 61},
                          {"the coming month", utc(2026, 1, 31, 10), {}, {}, {}, 28}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.question);
        auto result = TimeScopeParser::parse(c.question, c.now, *c.calendar);
        EXPECT_EQ(result.scope.dateFrom, c.from);
        EXPECT_EQ(result.scope.dateTo, c.to);
        EXPECT_EQ(result.scope.lastN, c.lastN);
        EXPECT_EQ(result.horizonDays, c.horizon);
    }
    // Every spelled count means its number: look-aheads take one to twelve, look-backs two to ten.
    const std::string spelled[] = {"one",   "two",   "three", "four", "five",   "six",
                                   "seven", "eight", "nine",  "ten",  "eleven", "twelve"};
    for (int n = 1; n <= 12; ++n) {
        const std::string& word = spelled[n - 1];
        EXPECT_EQ(TimeScopeParser::parse("next " + word + " days", wed, *berlin).horizonDays, n) << word;
        EXPECT_EQ(TimeScopeParser::parse("past " + word + " meetings", wed, *berlin).scope.lastN,
                  n >= 2 && n <= 10 ? std::optional<int>(n) : std::nullopt)
            << word;
    }
    // What is left of the question once its phrases are taken out.
    const std::tuple<const char*, const char*, Strings> strips[] = {
        {"  what did \n we   decide ?", "what did we decide?", {}},
        {"last month's numbers", "numbers", {"last month's"}},
        {"what came up in the last meeting?", "what came up in?", {"the last meeting"}},
        {"this week in the last 2 weeks", "in the", {"last 2 weeks", "this week"}},
        {"what do I need by tomorrow?", "what do I need?", {"by tomorrow"}},
        // "this coming week" is a look-ahead; "this week" must not take its words as well.
        {"plans for this coming week", "plans", {"for this coming week"}},
        {"find \u201Clast week\u201D notes", "find \u201Clast week\u201D notes", {}}};
    for (const auto& [question, stripped, phrases] : strips) {
        auto result = TimeScopeParser::parse(question, wed, *berlin);
        EXPECT_EQ(result.strippedQuestion, stripped) << question;
        EXPECT_EQ(result.matchedPhrases, phrases) << question;
    }
}

TEST(ScopingPolicy, LookbackWindowsFollowTheHorizonWithinBoundsEndTodayAndWidenFromTheFirst) {
    for (auto [horizon, days] :
         {std::pair<std::optional<int>, int>{std::nullopt, 14}, {3, 7}, {20, 20}, {90, 30}})
        EXPECT_EQ(lookbackDays(horizon), days);
    auto now = utc(2026, 11, 22, 23, 30);
    auto fortnight = window(std::nullopt, now, *berlin);
    EXPECT_EQ(fortnight, (Window{"2026-11-10", "2026-11-23", 14, std::nullopt, std::nullopt}));
    EXPECT_EQ(window(0, now, *berlin), (Window{"2026-11-23", "2026-11-23", 1, {}, {}}));
    EXPECT_EQ(fortnight.scope(), (AnswerScope{.dateFrom = "2026-11-10", .dateTo = "2026-11-23"}));
    // Widening keeps pointing at the first window.
    now = utc(2026, 11, 22, 12);
    auto first = window(14, now, *berlin);
    auto wider = widen(first, 2, 3, {60, 30}, now, *berlin);
    ASSERT_TRUE(wider);
    EXPECT_EQ(*wider, (Window{"2026-10-24", "2026-11-22", 30, 14,
                              "Widened to 30 days \u2014 only 2 meetings in the last 14"}));
    auto widest = widen(*wider, 1, 3, {30, 60}, now, *berlin);
    ASSERT_TRUE(widest);
    EXPECT_EQ(widest->widenedFrom, 14);
    EXPECT_FALSE(widen(*widest, 0, 3, {30, 60}, now, *berlin));
    EXPECT_FALSE(widen(first, 3, 3, {30, 60}, now, *berlin));
}

} // namespace
} // namespace zelmor
