// The activity feed on a real support folder: exact lines, the age and count limits, damaged
// lines and timestamps. Racing writers are in ActivityFilesStress.
#include "ZelmorMarkdownKit/activity/AgentActivityFeed.h"
#include "ZelmorMarkdownKit/activity/AgentActivityLog.h"
#include "tests/kit/ActivityTestSupport.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace zelmor {
namespace {

using namespace AgentActivityFeed;
using test::readFile;
using test::utc;

class AgentActivityFeedTest : public testing::Test {
protected:
    /// A bare entry whose tool names its time, so orders read plainly.
    static Entry at(Instant ts, const std::string& tool) { return Entry{ts, tool, {}, {}, false, {}}; }
    static std::string line(const Entry& entry) { return encodedLine(entry).value_or("?") + "\n"; }
    void append(const Entry& entry) { AgentActivityFeed::append(entry, support.path(), now, *berlin); }

    std::unique_ptr<icu::Calendar> berlin = test::gregorianIn("Europe/Berlin");
    test::TempFolder support;
    std::string file = fileURL(support.path());
    Instant now = utc(2025, 3, 14, 11, 5, 9);
};

TEST_F(AgentActivityFeedTest, AppendingToAMissingFileWritesOneSortedLineAtWholeSeconds) {
    append(Entry{now + std::chrono::milliseconds(750), "read_meeting", "Q1 / Q2 \"plan\"",
                 "/Users/ana/Zelmor/m.md", true, "claude-ai"});
    EXPECT_EQ(readFile(file), "{\"client\":\"claude-ai\",\"detail\":\"Q1 \\/ Q2 \\\"plan\\\"\","
                              "\"path\":\"\\/Users\\/ana\\/Zelmor\\/m.md\",\"tool\":\"read_meeting\","
                              "\"triggered\":true,\"ts\":\"2025-03-14T11:05:09Z\"}\n");
    std::vector<Entry> back{
        {now, "read_meeting", "Q1 / Q2 \"plan\"", "/Users/ana/Zelmor/m.md", true, "claude-ai"}};
    EXPECT_EQ(load(support.path()), back);
}

TEST_F(AgentActivityFeedTest, AbsentMembersAreLeftOut) {
    EXPECT_EQ(encodedLine(at(now, "list_participants")),
              R"({"tool":"list_participants","triggered":false,"ts":"2025-03-14T11:05:09Z"})");
}

TEST_F(AgentActivityFeedTest, PostedNotesEntryNamesTheMeeting) {
    Entry notes = postNotesEntry("Follow-ups", "/m.md", now);
    EXPECT_EQ(notes, (Entry{now, "post_meeting_notes", "Follow-ups", "/m.md", false, std::nullopt}));
    EXPECT_EQ(encodedLine(notes), R"({"detail":"Follow-ups","path":"\/m.md","tool":"post_meeting_notes",)"
                                  R"("triggered":false,"ts":"2025-03-14T11:05:09Z"})");
}

TEST_F(AgentActivityFeedTest, EntriesPastSixtyCalendarDaysAreDroppedAtTheNextAppend) {
    // 00:30 on 10 May in Berlin; sixty calendar days back is 00:30 on 11 March, an hour later
    // in UTC than sixty times 24 hours because the clocks changed in between.
    now = utc(2025, 5, 9, 22, 30);
    Instant cutoff = utc(2025, 3, 10, 23, 30);
    support.write("agent-activity-log.jsonl", line(at(cutoff - std::chrono::seconds(1), "old")) +
                                                  line(at(cutoff, "edge")) + line(at(now, "recent")));
    append(at(now, "new"));
    EXPECT_EQ(readFile(file), line(at(cutoff, "edge")) + line(at(now, "recent")) + line(at(now, "new")));
}

TEST_F(AgentActivityFeedTest, AppendingToAFullFeedDropsTheOldest) {
    std::string full;
    for (int i = 0; i < 300; ++i) full += line(at(now - std::chrono::minutes(300 - i), std::to_string(i)));
    support.write("agent-activity-log.jsonl", full);
    append(at(now, "300"));
    std::vector<Entry> kept = load(support.path());
    ASSERT_EQ(kept.size(), 300u);
    EXPECT_EQ(kept.front().tool, "1");
    EXPECT_EQ(kept.back().tool, "300");
}

TEST_F(AgentActivityFeedTest, EntriesFromTheFutureNeverPushOutTheOneMadeNow) {
    std::string full;
    for (int i = 0; i < 300; ++i) full += line(at(now + std::chrono::hours(24 * 365), "future"));
    support.write("agent-activity-log.jsonl", full);
    append(at(now, "now"));
    std::vector<Entry> kept = load(support.path());
    ASSERT_EQ(kept.size(), 300u);
    EXPECT_EQ(kept.back().tool, "now");
}

TEST_F(AgentActivityFeedTest, LongTextsAreCutAtAThousandCharacters) {
    std::string query;
    for (int i = 0; i < 1500; ++i) query += "\u00e9"; // two bytes each: the cut counts characters
    Entry entry = at(now, "search_meetings");
    entry.detail = query;
    entry.path = "/m/" + std::string(5000, '.') + "/x.md";
    entry.client = "short";
    append(entry);
    Entry stored = load(support.path()).at(0);
    std::string kept;
    for (int i = 0; i < 1000; ++i) kept += "\u00e9";
    EXPECT_EQ(stored.detail, kept + "\u2026");
    EXPECT_EQ(stored.path, "/m/" + std::string(997, '.') + "\u2026");
    EXPECT_EQ(stored.client, "short");
}

TEST_F(AgentActivityFeedTest, LinesThatDoNotDecodeAreDroppedAndTheRestSortedByTime) {
    std::string text = "  " + line(at(now, "c")) + "not json\r\n\n";
    for (const char* bad :
         {R"({"tool":"x","triggered":true})", R"({"tool":"x","triggered":1,"ts":"2025-03-14T11:05:09Z"})",
          R"({"detail":5,"tool":"x","triggered":true,"ts":"2025-03-14T11:05:09Z"})",
          R"({"tool":"x","triggered":true,"ts":"2025-02-29T11:05:09Z"})"})
        text += std::string(bad) + "\n";
    text += R"({"client":null,"tool":"a","triggered":false,"ts":"2025-03-13T10:00:00Z","extra":1})";
    support.write("agent-activity-log.jsonl", text + "\r" + line(at(utc(2025, 3, 13, 12), "b")));
    append(at(now, "d"));
    EXPECT_EQ(readFile(file), line(at(utc(2025, 3, 13, 10), "a")) + line(at(utc(2025, 3, 13, 12), "b")) +
                                  line(at(now, "c")) + line(at(now, "d")));
}

TEST_F(AgentActivityFeedTest, TimestampsReadOnlyInTheirInternetForm) {
    EXPECT_EQ(parsedTimestamp("2025-03-04T14:05:09Z"), utc(2025, 3, 4, 14, 5, 9));
    EXPECT_EQ(parsedTimestamp("2025-03-04T16:05:09+02:00"), utc(2025, 3, 4, 14, 5, 9));
    EXPECT_EQ(parsedTimestamp("2024-02-29T23:30:00-01:00"), utc(2024, 3, 1, 0, 30));
    for (const char* bad : {"2025-03-04T14:05:09.250Z", "2025-03-04T14:05:09", "2025-03-04T14:05:09z",
                            "2025-03-04 14:05:09Z", "2025-3-04T14:05:09Z", "2025-02-29T14:05:09Z",
                            "2025-03-04T24:00:00Z", "2025-03-04T14:05:60Z", "2025-03-04T14:05:09+0200",
                            " 2025-03-04T14:05:09Z", "2025-03-04T14:05:09Zx", "9999-12-31T23:59:59Z", ""}) {
        EXPECT_EQ(parsedTimestamp(bad), std::nullopt) << bad;
    }
}

TEST_F(AgentActivityFeedTest, FeedWithIllFormedUTF8ReadsAsEmpty) {
    support.write("agent-activity-log.jsonl", line(at(now, "a")) + "\xff\n");
    EXPECT_TRUE(load(support.path()).empty());
}

TEST_F(AgentActivityFeedTest, MissingSupportFolderIsNeverCreatedByEitherWriter) {
    std::string missing = support / "Zelmor";
    EXPECT_EQ(AgentActivityLog::fileURL(missing + "/"), missing + "/agent-activity.json");
    AgentActivityFeed::append(at(now, "a"), missing, now, *berlin);
    AgentActivityLog::recordCall("a", AgentActivityLog::fileURL(missing), now, *berlin);
    EXPECT_TRUE(test::fileNames(support.path()).empty());
}

} // namespace
} // namespace zelmor
