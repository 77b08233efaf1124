// Time phrases against fixed instants and calendars with Monday and Sunday week starts.
#include "ZelmorMarkdownKit/answer/ScopingPolicy.h"
#include "ZelmorMarkdownKit/answer/TimeScopeParser.h"

#include <gtest/gtest.h>
#include <unicode/gregocal.h>
#include <unicode/timezone.h>

#include <memory>

namespace zelmor {
namespace {

using std::chrono::system_clock;

std::unique_ptr<icu::Calendar> calendarIn(const char* zone, UCalendarDaysOfWeek firstDay = UCAL_MONDAY) {
    UErrorCode status = U_ZERO_ERROR;
    auto calendar = std::make_unique<icu::GregorianCalendar>(
        icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(zone)), status);
    calendar->setFirstDayOfWeek(firstDay);
    EXPECT_TRUE(U_SUCCESS(status));
    return calendar;
}

/// An instant given as UTC "yyyy-mm-ddThh:mm".
system_clock::time_point at(const char* utc) {
    std::tm parts{};
    std::sscanf(utc, "%d-%d-%dT%d:%d", &parts.tm_year, &parts.tm_mon, &parts.tm_mday, &parts.tm_hour,
                &parts.tm_min);
    parts.tm_year -= 1900;
    parts.tm_mon -= 1;
    return system_clock::from_time_t(timegm(&parts));
}

void expectDates(const TimeScopeParser::Parse& parse, std::optional<std::string> from,
                 std::optional<std::string> to) {
    EXPECT_EQ(parse.scope.dateFrom, from);
    EXPECT_EQ(parse.scope.dateTo, to);
}

class TimeScopeParserTest : public testing::Test {
protected:
    std::unique_ptr<icu::Calendar> berlin = calendarIn("Europe/Berlin");
    TimeScopeParser::Parse parse(const char* question, const char* now) {
        return TimeScopeParser::parse(question, at(now), *berlin);
    }
};

TEST_F(TimeScopeParserTest, QuestionWithoutPhraseKeepsEverythingButTidiesSpacing) {
    auto result = parse("  what did \n we   decide ?", "2026-11-18T10:00");
    EXPECT_TRUE(result.scope.isAll());
    EXPECT_TRUE(result.matchedPhrases.empty());
    EXPECT_EQ(result.horizonDays, std::nullopt);
    EXPECT_EQ(result.strippedQuestion, "what did we decide?");
}

TEST_F(TimeScopeParserTest, LastWeekIsThePreviousWeekByTheCalendarsFirstWeekday) {
    // Wednesday 18 November 2026.
    auto monday = parse("what did we decide last week?", "2026-11-18T10:00");
    expectDates(monday, "2026-11-09", "2026-11-15");
    EXPECT_EQ(monday.strippedQuestion, "what did we decide?");
    EXPECT_EQ(monday.matchedPhrases, std::vector<std::string>{"last week"});

    auto sundayFirst = calendarIn("Europe/Berlin", UCAL_SUNDAY);
    auto sunday =
        TimeScopeParser::parse("what did we decide last week?", at("2026-11-18T10:00"), *sundayFirst);
    expectDates(sunday, "2026-11-08", "2026-11-14");
}

TEST_F(TimeScopeParserTest, PossessivesAndMonthAndYearBoundaries) {
    auto result = parse("last month's numbers", "2026-01-15T10:00");
    expectDates(result, "2025-12-01", "2025-12-31");
    EXPECT_EQ(result.matchedPhrases, std::vector<std::string>{"last month's"});
    EXPECT_EQ(result.strippedQuestion, "numbers");
    auto curly = parse("last week\u2019s decisions", "2026-01-01T10:00");
    expectDates(curly, "2025-12-22", "2025-12-28");
    EXPECT_EQ(curly.strippedQuestion, "decisions");
}

TEST_F(TimeScopeParserTest, MeetingCounts) {
    auto three = parse("the last 3 meetings", "2026-11-18T10:00");
    EXPECT_EQ(three.scope.lastN, 3);
    expectDates(three, std::nullopt, std::nullopt);
    EXPECT_EQ(parse("past seven meetings", "2026-11-18T10:00").scope.lastN, 7);
    EXPECT_EQ(parse("what came up in the last meeting?", "2026-11-18T10:00").scope.lastN, 1);
    EXPECT_EQ(parse("what came up in the last meeting?", "2026-11-18T10:00").strippedQuestion,
              "what came up in?");
}

TEST_F(TimeScopeParserTest, PeriodsNamedMonthsAndDayCounts) {
    // This period includes its future days; a named month is the latest such unless a year is written;
    // day counts end today.
    const std::tuple<const char*, const char*, const char*, std::optional<std::string>> cases[] = {
        {"this week", "2026-11-18T10:00", "2026-11-16", "2026-11-22"},
        {"this month", "2026-02-10T10:00", "2026-02-01", "2026-02-28"},
        {"THIS YEAR", "2026-02-10T10:00", "2026-01-01", "2026-12-31"},
        {"past year", "2026-02-10T10:00", "2025-01-01", "2025-12-31"},
        {"in December 2023", "2026-03-10T10:00", "2023-12-01", "2023-12-31"},
        {"in December", "2026-03-10T10:00", "2025-12-01", "2025-12-31"},
        {"in march", "2026-03-10T10:00", "2026-03-01", "2026-03-31"},
        {"in February 2024", "2026-03-10T10:00", "2024-02-01", "2024-02-29"},
        {"since April", "2026-03-10T10:00", "2025-04-01", std::nullopt},
        {"since 2025-01-01", "2026-03-10T10:00", "2025-01-01", std::nullopt},
        {"last 2 weeks", "2026-11-18T10:00", "2026-11-05", "2026-11-18"},
        {"past three days", "2026-11-18T10:00", "2026-11-16", "2026-11-18"},
        {"last 3 months", "2026-11-22T10:00", "2026-08-23", "2026-11-22"},
        {"yesterday", "2026-03-01T10:00", "2026-02-28", "2026-02-28"},
        {"today's agenda", "2026-03-01T10:00", "2026-03-01", "2026-03-01"},
    };
    for (const auto& [question, now, from, to] : cases) {
        SCOPED_TRACE(question);
        expectDates(parse(question, now), from, to);
    }
}

TEST_F(TimeScopeParserTest, TodayIsTheDayInTheCalendarsTimeZone) {
    // 23:30 UTC is already the next day in Berlin and still the same day in Los Angeles.
    expectDates(parse("today", "2026-11-22T23:30"), "2026-11-23", "2026-11-23");
    auto losAngeles = calendarIn("America/Los_Angeles");
    auto result = TimeScopeParser::parse("today", at("2026-11-22T23:30"), *losAngeles);
    expectDates(result, "2026-11-22", "2026-11-22");
    EXPECT_EQ(TimeScopeParser::dateString(at("2026-11-22T23:30"), *losAngeles), "2026-11-22");
}

TEST_F(TimeScopeParserTest, QuotedPhrasesAreLeftAlone) {
    auto result = parse("find \u201Clast week\u201D notes", "2026-11-18T10:00");
    EXPECT_TRUE(result.scope.isAll());
    EXPECT_EQ(result.strippedQuestion, "find \u201Clast week\u201D notes");
    // An unclosed quote protects nothing.
    expectDates(parse("find \"last week notes", "2026-11-18T10:00"), "2026-11-09", "2026-11-15");
}

TEST_F(TimeScopeParserTest, ScopesMergeIntoTheNarrowerRange) {
    auto result = parse("this week in the last 2 weeks", "2026-11-18T10:00");
    expectDates(result, "2026-11-16", "2026-11-18");
    EXPECT_EQ(result.matchedPhrases, (std::vector<std::string>{"last 2 weeks", "this week"}));
    EXPECT_EQ(result.strippedQuestion, "in the");
}

TEST_F(TimeScopeParserTest, LookAheadPhrasesGiveAHorizonAndWinOverScopes) {
    EXPECT_EQ(parse("what is due by end of month?", "2026-11-30T10:00").horizonDays, 0);
    EXPECT_EQ(parse("what is due by end of month?", "2026-11-22T10:00").horizonDays, 8);
    EXPECT_EQ(parse("before the end of this week", "2026-11-18T10:00").horizonDays, 4);
    EXPECT_EQ(parse("over the next 3 days", "2026-11-18T10:00").horizonDays, 3);
    EXPECT_EQ(parse("next two weeks", "2026-11-18T10:00").horizonDays, 14);
    EXPECT_EQ(parse("in the next 2 months", "2026-11-22T10:00").horizonDays, 61);
    EXPECT_EQ(parse("the coming month", "2026-01-31T10:00").horizonDays, 28);
    auto tomorrow = parse("what do I need by tomorrow?", "2026-11-18T10:00");
    EXPECT_EQ(tomorrow.horizonDays, 1);
    EXPECT_EQ(tomorrow.strippedQuestion, "what do I need?");
    EXPECT_TRUE(tomorrow.scope.isAll());
    // "this coming week" is a look-ahead; "this week" must not take its words as well.
    auto coming = parse("plans for this coming week", "2026-11-18T10:00");
    EXPECT_EQ(coming.horizonDays, 7);
    EXPECT_TRUE(coming.scope.isAll());
    EXPECT_EQ(coming.strippedQuestion, "plans");
}

TEST(ScopingPolicy, LookbackFollowsTheHorizonWithinBounds) {
    EXPECT_EQ(ScopingPolicy::lookbackDays(std::nullopt), 14);
    EXPECT_EQ(ScopingPolicy::lookbackDays(3), 7);
    EXPECT_EQ(ScopingPolicy::lookbackDays(20), 20);
    EXPECT_EQ(ScopingPolicy::lookbackDays(90), 30);
}

TEST(ScopingPolicy, WindowsEndTodayInTheCalendarsTimeZone) {
    auto berlin = calendarIn("Europe/Berlin");
    auto now = at("2026-11-22T23:30");
    auto fortnight = ScopingPolicy::window(std::nullopt, now, *berlin);
    EXPECT_EQ(fortnight, (ScopingPolicy::Window{"2026-11-10", "2026-11-23", 14, std::nullopt, std::nullopt}));
    auto single = ScopingPolicy::window(0, now, *berlin);
    EXPECT_EQ(single.from, single.to);
    EXPECT_EQ(single.days, 1);
    AnswerScope scope = fortnight.scope();
    EXPECT_EQ(scope.dateFrom, "2026-11-10");
    EXPECT_EQ(scope.dateTo, "2026-11-23");
    EXPECT_EQ(scope.lastN, std::nullopt);
}

TEST(ScopingPolicy, WideningKeepsPointingAtTheFirstWindow) {
    auto berlin = calendarIn("Europe/Berlin");
    auto now = at("2026-11-22T12:00");
    auto first = ScopingPolicy::window(14, now, *berlin);
    auto wider = ScopingPolicy::widen(first, 2, 3, {60, 30}, now, *berlin);
    ASSERT_TRUE(wider);
    EXPECT_EQ(wider->days, 30);
    EXPECT_EQ(wider->from, "2026-10-24");
    EXPECT_EQ(wider->widenedFrom, 14);
    EXPECT_EQ(wider->note, "Widened to 30 days \u2014 only 2 meetings in the last 14");
    auto widest = ScopingPolicy::widen(*wider, 1, 3, {30, 60}, now, *berlin);
    ASSERT_TRUE(widest);
    EXPECT_EQ(widest->days, 60);
    EXPECT_EQ(widest->widenedFrom, 14);
    EXPECT_EQ(widest->note, "Widened to 60 days \u2014 only 1 meeting in the last 30");
    EXPECT_FALSE(ScopingPolicy::widen(*widest, 0, 3, {30, 60}, now, *berlin));
    EXPECT_FALSE(ScopingPolicy::widen(first, 3, 3, {30, 60}, now, *berlin));
    EXPECT_EQ(ScopingPolicy::widen(first, 0, 3, {30}, now, *berlin)->note,
              "Widened to 30 days \u2014 only 0 meetings in the last 14");
}

} // namespace
} // namespace zelmor
