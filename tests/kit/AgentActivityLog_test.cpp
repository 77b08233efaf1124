// Per-day call counts on a real support folder: day keys at local midnight, pruning at the
// 60-day edge, recovery from damaged files, and totals over trailing days.
#include "ZelmorMarkdownKit/activity/AgentActivityLog.h"
#include "tests/kit/ActivityTestSupport.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <climits>

namespace zelmor {
namespace {

using namespace AgentActivityLog;
using test::readFile;
using test::utc;

class AgentActivityLogTest : public testing::Test {
protected:
    std::unique_ptr<icu::Calendar> berlin = test::gregorianIn("Europe/Berlin");
    std::unique_ptr<icu::Calendar> losAngeles = test::gregorianIn("America/Los_Angeles");
    test::TempFolder support;
    std::string file = fileURL(support.path());
};

TEST_F(AgentActivityLogTest, FirstCallOfADayAddsTheDayWithCountOneThenCounts) {
    support.write("agent-activity.json", R"({"2025-03-13":{"read_meeting":2}})");
    recordCall("search_meetings", file, utc(2025, 3, 14, 9), *berlin);
    EXPECT_EQ(readFile(file), R"({"2025-03-13":{"read_meeting":2},"2025-03-14":{"search_meetings":1}})");
    recordCall("search_meetings", file, utc(2025, 3, 14, 10), *berlin);
    recordCall("read_meeting", file, utc(2025, 3, 14, 11), *berlin);
    EXPECT_EQ(load(file), (CountTable{{"2025-03-13", {{"read_meeting", 2}}},
                                      {"2025-03-14", {{"read_meeting", 1}, {"search_meetings", 2}}}}));
}

TEST_F(AgentActivityLogTest, CallsEitherSideOfLocalMidnightLandUnderTwoDays) {
    // Berlin is UTC+1 in March; Los Angeles is UTC-7 after its clocks changed on 9 March.
    recordCall("search_meetings", file, utc(2025, 3, 14, 22, 59, 59), *berlin);
    recordCall("search_meetings", file, utc(2025, 3, 14, 23), *berlin);
    EXPECT_EQ(readFile(file), R"({"2025-03-14":{"search_meetings":1},"2025-03-15":{"search_meetings":1}})");
    EXPECT_EQ(dayKey(utc(2025, 3, 15, 6, 59, 59), *losAngeles), "2025-03-14");
    EXPECT_EQ(dayKey(utc(2025, 3, 15, 7), *losAngeles), "2025-03-15");
}

TEST_F(AgentActivityLogTest, FileNotShapedAsTheTableIsTreatedAsEmptyAndOverwritten) {
    for (const char* damaged :
         {"[1,2]", "garbage", "", R"({"2025-03-14":[1]})", R"({"2025-03-14":{"x":"1"}})",
          R"({"2025-03-14":{"x":1.5}})", R"({"2025-03-14":{"x":null}})",
          R"({"2025-03-14":{"x":18446744073709551615}})", R"({"a":{"x":1}} trailing)"}) {
        support.write("agent-activity.json", damaged);
        EXPECT_TRUE(load(file).empty()) << damaged;
        recordCall("read_meeting", file, utc(2025, 3, 14, 12), *berlin);
        EXPECT_EQ(readFile(file), R"({"2025-03-14":{"read_meeting":1}})") << damaged;
    }
}

TEST_F(AgentActivityLogTest, PruningKeepsTheDaySixtyCalendarDaysBackAndDropsTheOneBefore) {
    CountTable table{{"2025-01-12", {{"a", 1}}}, {"2025-01-13", {{"a", 2}}}, {"2025-03-14", {{"a", 3}}}};
    EXPECT_EQ(pruned(table, utc(2025, 3, 14, 12), *berlin),
              (CountTable{{"2025-01-13", {{"a", 2}}}, {"2025-03-14", {{"a", 3}}}}));
    // 00:30 on 10 May in Berlin (summer time): sixty calendar days back is 11 March, while
    // sixty times 24 hours would reach 23:30 on 10 March.
    CountTable acrossClockChange{{"2025-03-10", {{"a", 1}}}, {"2025-03-11", {{"a", 1}}}};
    EXPECT_EQ(pruned(acrossClockChange, utc(2025, 5, 9, 22, 30), *berlin),
              (CountTable{{"2025-03-11", {{"a", 1}}}}));
}

TEST_F(AgentActivityLogTest, RecordingDropsDaysPastTheKeepLimit) {
    support.write("agent-activity.json", R"({"2025-01-12":{"a":1},"2025-01-13":{"b":1}})");
    recordCall("a", file, utc(2025, 3, 14, 12), *berlin);
    EXPECT_EQ(readFile(file), R"({"2025-01-13":{"b":1},"2025-03-14":{"a":1}})");
}

TEST_F(AgentActivityLogTest, TotalCallsCountsTrailingDaysIncludingToday) {
    CountTable table{{"2025-03-07", {{"search_meetings", 100}}},
                     {"2025-03-08", {{"search_meetings", 10}}},
                     {"2025-03-13", {{"read_meeting", 4}}},
                     {"2025-03-14", {{"search_meetings", 2}, {"read_meeting", 1}}},
                     {"2025-03-15", {{"search_meetings", 1000}}}};
    auto now = utc(2025, 3, 14, 23, 30); // already 15 March in Berlin, still 14 March in Los Angeles
    EXPECT_EQ(totalCalls(table, 0, now, *losAngeles), 0);
    EXPECT_EQ(totalCalls(table, -7, now, *losAngeles), 0);
    EXPECT_EQ(totalCalls(table, 1, now, *losAngeles), 3);
    EXPECT_EQ(totalCalls(table, 1, now, *berlin), 1000);
    EXPECT_EQ(totalCalls(table, 7, now, *losAngeles), 17);
    auto searches = [](const std::string& tool) { return tool == "search_meetings"; };
    EXPECT_EQ(totalCalls(table, 7, now, *losAngeles, searches), 12);
    EXPECT_EQ(totalCalls(table, 1, now, *losAngeles, searches), 2);
}

TEST_F(AgentActivityLogTest, CountsSaturateInsteadOfOverflowing) {
    CountTable table = bumped({{"2025-03-14", {{"a", LLONG_MAX}}}}, "a", "2025-03-14");
    EXPECT_EQ(table["2025-03-14"]["a"], LLONG_MAX);
    table["2025-03-14"]["b"] = LLONG_MAX;
    EXPECT_EQ(totalCalls(table, 1, utc(2025, 3, 14, 12), *berlin), LLONG_MAX);
}

} // namespace
} // namespace zelmor
