// The activity feed and per-day call counts on a real support folder: exact lines, age and count
// limits, local midnight, damaged files, timestamps. Racing writers are in ActivityFilesStress.
#include "ZelmorMarkdownKit/activity/AgentActivityFeed.h"
#include "ZelmorMarkdownKit/activity/AgentActivityLog.h"
#include "tests/kit/ActivityTestSupport.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <climits>

namespace zelmor {
namespace {

namespace Feed = AgentActivityFeed;
namespace Log = AgentActivityLog;
using Feed::Entry;
using test::readFile;
using test::utc;

class AgentActivity : public testing::Test {
protected:
    /// A bare entry whose tool names its time, so orders read plainly.
    static Entry at(Feed::Instant ts, const std::string& tool) { return Entry{ts, tool, {}, {}, false, {}}; }
    static std::string line(const Entry& entry) { return Feed::encodedLine(entry).value_or("?") + "\n"; }
    void append(const Entry& entry) { Feed::append(entry, support.path(), now, *berlin); }
    void write(const std::string& feed) { support.write("agent-activity-log.jsonl", feed); }
    void record(const char* tool, Log::Instant when) { Log::recordCall(tool, log, when, *berlin); }

    std::unique_ptr<icu::Calendar> berlin = test::gregorianIn("Europe/Berlin");
    std::unique_ptr<icu::Calendar> losAngeles = test::gregorianIn("America/Los_Angeles");
    test::TempFolder support;
    std::string feed = Feed::fileURL(support.path()), log = Log::fileURL(support.path());
    Feed::Instant now = utc(2025, 3, 14, 11, 5, 9);
};

TEST_F(AgentActivity, AFeedLineIsSortedAtWholeSecondsWithAbsentMembersLeftOut) {
    Entry entry{now, "read_meeting", "Q1 / Q2 \"plan\"", "/Users/ana/Zelmor/m.md", true, "claude-ai"},
        late = entry;
    late.ts += std::chrono::milliseconds(750);
    append(late);
    EXPECT_EQ(readFile(feed), "{\"client\":\"claude-ai\",\"detail\":\"Q1 \\/ Q2 \\\"plan\\\"\","
                              "\"path\":\"\\/Users\\/ana\\/Zelmor\\/m.md\",\"tool\":\"read_meeting\","
                              "\"triggered\":true,\"ts\":\"2025-03-14T11:05:09Z\"}\n");
    EXPECT_EQ(Feed::load(support.path()), std::vector<Entry>{entry});
    EXPECT_EQ(Feed::postNotesEntry("Follow-ups", "/m.md", now),
              (Entry{now, "post_meeting_notes", "Follow-ups", "/m.md", false, std::nullopt}));
}

TEST_F(AgentActivity, FeedEntriesPastSixtyCalendarDaysOrThreeHundredAreDroppedButNeverTheOneMadeNow) {
    // 00:30 on 10 May in Berlin; sixty calendar days back is 00:30 on 11 March, an hour later
    // in UTC than sixty times 24 hours because the clocks changed in between.
    Feed::Instant later = utc(2025, 5, 9, 22, 30), cutoff = utc(2025, 3, 10, 23, 30);
    write(line(at(cutoff - std::chrono::seconds(1), "old")) + line(at(cutoff, "edge")) +
          line(at(later, "recent")));
    Feed::append(at(later, "new"), support.path(), later, *berlin);
    EXPECT_EQ(readFile(feed), line(at(cutoff, "edge")) + line(at(later, "recent")) + line(at(later, "new")));

    std::string full, future;
    for (int i = 0; i < 300; ++i) {
        full += line(at(now - std::chrono::minutes(300 - i), std::to_string(i)));
        future += line(at(now + std::chrono::hours(24 * 365), "future"));
    }
    write(full);
    append(at(now, "300"));
    std::vector<Entry> kept = Feed::load(support.path());
    ASSERT_EQ(kept.size(), 300u);
    EXPECT_EQ(kept.front().tool, "1");
    EXPECT_EQ(kept.back().tool, "300");
    write(future);
    append(at(now, "now"));
    kept = Feed::load(support.path());
    ASSERT_EQ(kept.size(), 300u);
    EXPECT_EQ(kept.back().tool, "now");
}

TEST_F(AgentActivity, LongFeedTextsAreCutAtAThousandCharacters) {
    std::string query;
    for (int i = 0; i < 1500; ++i) query += "\u00e9"; // two bytes each: the cut counts characters
    append(Entry{now, "search_meetings", query, "/m/" + std::string(5000, '.') + "/x.md", false, "short"});
    EXPECT_EQ(Feed::load(support.path()).at(0),
              (Entry{now, "search_meetings", query.substr(0, 2000) + "\u2026",
                     "/m/" + std::string(997, '.') + "\u2026", false, "short"}));
}

TEST_F(AgentActivity, FeedLinesThatDoNotDecodeAreDroppedAndTheRestSortedByTime) {
    std::string text = "  " + line(at(now, "c")) + "not json\r\n\n";
    for (const char* bad :
         {R"({"tool":"x","triggered":true})", R"({"tool":"x","triggered":1,"ts":"2025-03-14T11:05:09Z"})",
          R"({"detail":5,"tool":"x","triggered":true,"ts":"2025-03-14T11:05:09Z"})",
          R"({"tool":"x","triggered":true,"ts":"2025-02-29T11:05:09Z"})"})
        text += std::string(bad) + "\n";
    text += R"({"client":null,"tool":"a","triggered":false,"ts":"2025-03-13T10:00:00Z","extra":1})";
    write(text + "\r" + line(at(utc(2025, 3, 13, 12), "b")));
    append(at(now, "d"));
    EXPECT_EQ(readFile(feed), line(at(utc(2025, 3, 13, 10), "a")) + line(at(utc(2025, 3, 13, 12), "b")) +
                                  line(at(now, "c")) + line(at(now, "d")));
    write(line(at(now, "a")) + "\xff\n");
    EXPECT_TRUE(Feed::load(support.path()).empty()) << "a feed with ill-formed UTF-8 reads as empty";
}

TEST_F(AgentActivity, FeedTimestampsReadOnlyInTheirInternetForm) {
    EXPECT_EQ(Feed::parsedTimestamp("2025-03-04T14:05:09Z"), utc(2025, 3, 4, 14, 5, 9));
    EXPECT_EQ(Feed::parsedTimestamp("2025-03-04T19:35:09+05:30"), utc(2025, 3, 4, 14, 5, 9));
    EXPECT_EQ(Feed::parsedTimestamp("2025-03-04T23:59:09+23:59"), utc(2025, 3, 4, 0, 0, 9));
    EXPECT_EQ(Feed::parsedTimestamp("2024-02-29T23:30:00-01:00"), utc(2024, 3, 1, 0, 30));
    for (const char* bad :
         {"2025-03-04T14:05:09.250Z", "2025-03-04T14:05:09", "2025-03-04T14:05:09z", "2025-03-04 14:05:09Z",
          "2025-3-04T14:05:09Z", "2025-02-29T14:05:09Z", "2025-03-04T24:00:00Z", "2025-03-04T14:05:60Z",
          "2025-03-04T14:05:09+0200", "2025-03-04T14:05:09+24:00", " 2025-03-04T14:05:09Z",
          "2025-03-04T14:05:09Zx", "9999-12-31T23:59:59Z", ""})
        EXPECT_EQ(Feed::parsedTimestamp(bad), std::nullopt) << bad;
}

TEST_F(AgentActivity, MissingSupportFolderIsNeverCreatedByEitherWriter) {
    std::string missing = support / "Zelmor";
    EXPECT_EQ(Log::fileURL(missing + "/"), missing + "/agent-activity.json");
    Feed::append(at(now, "a"), missing, now, *berlin);
    Log::recordCall("a", Log::fileURL(missing), now, *berlin);
    EXPECT_TRUE(test::fileNames(support.path()).empty());
}

TEST_F(AgentActivity, TheFirstCallOfADayCountsOneDaysTurnAtLocalMidnightAndTheDaySixtyDaysBackIsKept) {
    support.write("agent-activity.json",
                  R"({"2025-01-12":{"a":1},"2025-01-13":{"b":1},"2025-03-13":{"read_meeting":2}})");
    record("search_meetings", utc(2025, 3, 14, 9));
    // The day sixty calendar days back stays, the one before goes.
    EXPECT_EQ(readFile(log),
              R"({"2025-01-13":{"b":1},"2025-03-13":{"read_meeting":2},"2025-03-14":{"search_meetings":1}})");
    record("search_meetings", utc(2025, 3, 14, 10));
    record("read_meeting", utc(2025, 3, 14, 11));
    // Berlin is UTC+1 in March; Los Angeles is UTC-7 after its clocks changed on 9 March. At
    // midnight in Berlin the count day and the day kept sixty days back both move on.
    record("read_meeting", utc(2025, 3, 14, 22, 59, 59));
    record("read_meeting", utc(2025, 3, 14, 23));
    EXPECT_EQ(Log::load(log), (Log::CountTable{{"2025-03-13", {{"read_meeting", 2}}},
                                               {"2025-03-14", {{"read_meeting", 2}, {"search_meetings", 2}}},
                                               {"2025-03-15", {{"read_meeting", 1}}}}));
    EXPECT_EQ(Log::dayKey(utc(2025, 3, 15, 6, 59, 59), *losAngeles), "2025-03-14");
    // Without a calendar from the caller, the system's own counts the call.
    Log::recordCall("list_participants", log, utc(2025, 3, 15, 12));
    EXPECT_NE(readFile(log).find(R"("list_participants":1)"), std::string::npos) << readFile(log);
}

TEST_F(AgentActivity, ACountFileNotShapedAsTheTableIsTreatedAsEmptyAndOverwritten) {
    for (const char* damaged :
         {"[1,2]", "garbage", "", R"({"2025-03-14":[1]})", R"({"2025-03-14":{"x":"1"}})",
          R"({"2025-03-14":{"x":1.5}})", R"({"2025-03-14":{"x":null}})",
          R"({"2025-03-14":{"x":18446744073709551615}})", R"({"a":{"x":1}} trailing)"}) {
        support.write("agent-activity.json", damaged);
        EXPECT_TRUE(Log::load(log).empty()) << damaged;
        record("read_meeting", utc(2025, 3, 14, 12));
        EXPECT_EQ(readFile(log), R"({"2025-03-14":{"read_meeting":1}})") << damaged;
    }
}

TEST_F(AgentActivity, TotalCallsCountTrailingDaysIncludingTodayAndSaturate) {
    Log::CountTable table{{"2025-03-07", {{"search_meetings", 100}}},
                          {"2025-03-08", {{"search_meetings", 10}}},
                          {"2025-03-13", {{"read_meeting", 4}}},
                          {"2025-03-14", {{"search_meetings", 2}, {"read_meeting", 1}}},
                          {"2025-03-15", {{"search_meetings", 1000}}}};
    auto late = utc(2025, 3, 14, 23, 30); // already 15 March in Berlin, still 14 March in Los Angeles
    auto searches = [](const std::string& tool) { return tool == "search_meetings"; };
    EXPECT_EQ(Log::totalCalls(table, 0, late, *losAngeles), 0);
    EXPECT_EQ(Log::totalCalls(table, 1, late, *berlin), 1000);
    EXPECT_EQ(Log::totalCalls(table, 7, late, *losAngeles), 17);
    EXPECT_EQ(Log::totalCalls(table, 7, late, *losAngeles, searches), 12);
    table = Log::bumped({{"2025-03-14", {{"a", LLONG_MAX}}}}, "a", "2025-03-14");
    EXPECT_EQ(table["2025-03-14"]["a"], LLONG_MAX) << "counts saturate instead of overflowing";
    table["2025-03-14"]["b"] = LLONG_MAX;
    EXPECT_EQ(Log::totalCalls(table, 1, utc(2025, 3, 14, 12), *berlin), LLONG_MAX);
}

} // namespace
} // namespace zelmor
