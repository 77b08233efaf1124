// What a tool call leaves in the app's two activity files, and the failures that end a whole
// call. Replies themselves are checked byte for byte by the protocol case files.
#include "ZelmorMCP/ToolExecutor.h"
#include "tests/mcp/StoreErrorPrinting.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>
#include <unicode/gregocal.h>
#include <unicode/timezone.h>

#include <filesystem>

namespace zelmor::test {
namespace {

using json = nlohmann::json;

constexpr const char* transcript =
    "---\ntitle: Pricing review\ndate: 2026-10-01\nparticipants:\n  - Ana\nsource: Zelmor\n---\n\n"
    "## Transcript\n\n**Ana:** The pricing page ships in November.\n";
constexpr const char* untitled =
    "---\ndate: 2026-10-02\nsource: Zelmor\n---\n\n## Transcript\n\n**Me:** Pricing again.\n";

class ToolExecutorTest : public testing::Test {
protected:
    TempFolder home;
    std::string folder = home.makeFolder("meetings");
    std::string support = home.makeFolder("Library/Application Support/Zelmor");
    std::string countsFile = support + "/agent-activity.json";
    std::string feedFile = support + "/agent-activity-log.jsonl";

    void SetUp() override {
        home.write("meetings/2026/Pricing review.md", transcript);
        home.write("meetings/2026-10-02.md", untitled);
    }

    json call(const json& params,
              ToolExecutor::ActivityAttribution attribution = ToolExecutor::ActivityAttribution::user,
              std::optional<std::string> client = "test-client") {
        ToolExecutor executor(
            TranscriptFolderResolver{home.path(), folder}, attribution,
            [] {
                return std::chrono::system_clock::time_point(std::chrono::seconds(1795341600));
            }, // 2026-11-22T10:00:00Z
            [] {
                UErrorCode status = U_ZERO_ERROR;
                return std::unique_ptr<icu::Calendar>(
                    new icu::GregorianCalendar(icu::TimeZone::createTimeZone("Europe/Berlin"), status));
            });
        executor.enableAskTool();
        if (client) executor.clientNamed(*client);
        const MCPServer server(executor);
        return server.handleMessage({{"id", 7}, {"method", "tools/call"}, {"params", params}}).value();
    }

    std::vector<json> feed() const {
        std::vector<json> lines;
        std::string text = readFile(feedFile);
        for (size_t start = 0, end; start < text.size(); start = end + 1) {
            end = text.find('\n', start);
            if (end == std::string::npos) end = text.size();
            lines.push_back(json::parse(text.substr(start, end - start)));
        }
        return lines;
    }
};

TEST_F(ToolExecutorTest, EveryKnownCallIsCountedOnTheUsersDayEvenWhenItFails) {
    call({{"name", "search_meetings"}, {"arguments", {{"query", "pricing"}}}});
    call({{"name", "read_meeting"}, {"arguments", {{"path", "/etc/passwd"}}}});
    call({{"name", "list_participants"}});
    EXPECT_EQ(readFile(countsFile),
              R"({"2026-11-22":{"list_participants":1,"read_meeting":1,"search_meetings":1}})");
}

TEST_F(ToolExecutorTest, UnknownToolsAndNamelessCallsRecordNothing) {
    json reply = call({{"name", "drop_meetings"}});
    EXPECT_EQ(reply["error"]["code"], -32602);
    reply = call({{"arguments", {{"query", "x"}}}});
    EXPECT_EQ(reply["error"]["message"], "Invalid params: missing tool name");
    EXPECT_FALSE(std::filesystem::exists(countsFile));
    EXPECT_FALSE(std::filesystem::exists(feedFile));
}

TEST_F(ToolExecutorTest, ProbeRunsAreAnsweredButNotRecorded) {
    json reply = call({{"name", "search_meetings"}, {"arguments", {{"query", "pricing"}}}},
                      ToolExecutor::ActivityAttribution::probe);
    EXPECT_EQ(reply["result"]["structuredContent"]["total"], 2);
    EXPECT_FALSE(std::filesystem::exists(countsFile));
    EXPECT_FALSE(std::filesystem::exists(feedFile));
}

TEST_F(ToolExecutorTest, FeedEntriesDescribeSuccessfulCalls) {
    call({{"name", "search_meetings"}, {"arguments", {{"query", "  pricing \n"}}}});
    call({{"name", "search_meetings"}, {"arguments", {{"query", " \t"}}}},
         ToolExecutor::ActivityAttribution::zelmorTriggered);
    call({{"name", "read_meeting"}, {"arguments", {{"path", folder + "/2026/Pricing review.md"}}}},
         ToolExecutor::ActivityAttribution::user, std::nullopt);
    call({{"name", "read_meeting"}, {"arguments", {{"path", folder + "/2026/../2026-10-02.md"}}}});
    call({{"name", "read_meeting"}, {"arguments", {{"path", folder + "/missing.md"}}}});
    call({{"name", "list_participants"}, {"arguments", {{"path", "ignored"}}}});

    auto entries = feed();
    ASSERT_EQ(entries.size(), 5u);
    EXPECT_EQ(entries[0], json::parse(R"({"client":"test-client","detail":"pricing","tool":"search_meetings",
                                          "triggered":false,"ts":"2026-11-22T10:00:00Z"})"));
    EXPECT_EQ(entries[1], json::parse(R"({"client":"test-client","tool":"search_meetings","triggered":true,
                                          "ts":"2026-11-22T10:00:00Z"})"));
    EXPECT_EQ(entries[2]["detail"], "Pricing review");
    EXPECT_EQ(entries[2]["path"], folder + "/2026/Pricing review.md");
    EXPECT_FALSE(entries[2].contains("client"));
    // Without a title, the file's name stands in; the path is kept exactly as the agent sent it.
    EXPECT_EQ(entries[3]["detail"], "2026-10-02");
    EXPECT_EQ(entries[3]["path"], folder + "/2026/../2026-10-02.md");
    EXPECT_EQ(entries[4], json::parse(R"({"client":"test-client","tool":"list_participants","triggered":false,
                                          "ts":"2026-11-22T10:00:00Z"})"));
    EXPECT_EQ(readFile(countsFile),
              R"({"2026-11-22":{"list_participants":1,"read_meeting":3,"search_meetings":2}})");
}

TEST_F(ToolExecutorTest, AskMeetingsReadsTimePhrasesAgainstTheClockAndFeedsTheQuestion) {
    // The clock stands at 2026-11-22: "last month" is October, which holds only the pricing review.
    json asked =
        call({{"name", "ask_meetings"}, {"arguments", {{"question", "What about pricing last month?"}}}});
    const json& data = asked["result"]["structuredContent"];
    EXPECT_EQ(data["time_scope"],
              json::parse(R"({"date_from":"2026-10-01","date_to":"2026-10-31","phrases":["last month"]})"));
    ASSERT_EQ(data["count"], 2);
    EXPECT_EQ(data["meetings"][0]["title"], "Pricing review");
    json earlier =
        call({{"name", "ask_meetings"}, {"arguments", {{"question", "What about pricing in September?"}}}});
    EXPECT_EQ(earlier["result"]["structuredContent"]["count"], 0);
    EXPECT_EQ(feed().back()["detail"], "What about pricing in September?");
    EXPECT_EQ(feed().back()["tool"], "ask_meetings");
}

TEST_F(ToolExecutorTest, NoActivityFileAppearsWithoutTheSupportFolder) {
    std::filesystem::remove_all(home / "Library");
    json reply = call({{"name", "list_participants"}});
    EXPECT_EQ(reply["result"]["isError"], false);
    EXPECT_FALSE(std::filesystem::exists(home / "Library"));
}

TEST_F(ToolExecutorTest, ALinkLeadingOutsideIsNeitherListedNorRead) {
    // What read_meeting refuses, no tool shows: the folder's boundary is the same for all.
    home.write("outside/Leak.md",
               "---\ntitle: Leak\ndate: 2026-10-03\nparticipants:\n  - Mallory\nsource: Zelmor\n"
               "---\n\n## Notes\n\npricing\n");
    std::filesystem::create_symlink(home / "outside/Leak.md", folder + "/Leak.md");
    json listed =
        call({{"name", "search_meetings"}, {"arguments", {{"query", "pricing"}, {"include_content", true}}}});
    EXPECT_EQ(listed["result"]["isError"], false);
    EXPECT_EQ(listed["result"]["structuredContent"]["total"], 2);
    json people = call({{"name", "list_participants"}});
    EXPECT_EQ(people["result"]["structuredContent"].dump().find("Mallory"), std::string::npos);
    json read = call({{"name", "read_meeting"}, {"arguments", {{"path", folder + "/Leak.md"}}}});
    EXPECT_EQ(
        read["result"]["content"][0]["text"],
        "Refused: " + folder +
            "/Leak.md is outside the transcript folder. Pass a path exactly as returned by search_meetings.");
}

TEST_F(ToolExecutorTest, IncludeContentOfAFileGoneSinceTheSearchIsNotFound) {
    // The page is built after the scan; the file goes in between, as when the app renames it.
    MeetingStore store(folder);
    MeetingStore::SearchFilters filters;
    filters.query = "pricing";
    auto found = store.search(filters);
    ASSERT_EQ(found.hits.size(), 2u);
    const MeetingStore::SearchHit& hit = found.hits[0];
    ASSERT_EQ(hit.meeting.path, folder + "/2026-10-02.md");
    std::filesystem::remove(hit.meeting.path);

    json row = ToolExecutor::searchRow(store, hit, true, false);
    EXPECT_EQ(row["path"], hit.meeting.path) << "without content the row needs only the scan";
    EXPECT_FALSE(row.contains("content"));

    std::optional<MeetingStore::StoreError> refusal;
    try {
        ToolExecutor::searchRow(store, hit, true, true);
    } catch (const MeetingStore::StoreError& error) {
        refusal = error;
    }
    EXPECT_EQ(refusal, MeetingStore::StoreError::notFound(hit.meeting.path));
    // A store error from any row ends the whole call with its message, as the outside link shows.
    EXPECT_EQ(ToolExecutor::describe(*refusal), "No transcript at " + hit.meeting.path +
                                                    ". It may have been renamed or filed into a subfolder "
                                                    "\u2014 re-run search_meetings for a fresh path.");
}

TEST_F(ToolExecutorTest, ArgumentsOfTheWrongTypeFallBackToDefaults) {
    json reply = call(
        {{"name", "search_meetings"},
         {"arguments", {{"query", "pricing"}, {"limit", "1"}, {"offset", "1"}, {"include_content", 1}}}});
    const json& data = reply["result"]["structuredContent"];
    EXPECT_EQ(data["count"], 2);
    EXPECT_EQ(data["offset"], 0);
    EXPECT_EQ(data["meetings"][0]["content"], untitled);
    reply = call({{"name", "search_meetings"}, {"arguments", {{"limit", -3.7}, {"offset", 1e300}}}});
    EXPECT_EQ(reply["result"]["structuredContent"]["count"], 0);
    EXPECT_EQ(reply["result"]["structuredContent"]["total"], 2);
}

TEST(ToolExecutor, TitleOfAReadResultComesFromItsFrontmatter) {
    EXPECT_EQ(ToolExecutor::titleFromReadResult(ToolExecutor::textToolResult(transcript)), "Pricing review");
    EXPECT_EQ(ToolExecutor::titleFromReadResult(ToolExecutor::textToolResult(untitled)), std::nullopt);
    EXPECT_EQ(ToolExecutor::titleFromReadResult(ToolExecutor::textToolResult("no frontmatter")),
              std::nullopt);
    EXPECT_EQ(ToolExecutor::titleFromReadResult(json::object()), std::nullopt);
    EXPECT_EQ(ToolExecutor::titleFromReadResult({{"content", {{{"text", 3}}}}}), std::nullopt);
}

} // namespace
} // namespace zelmor::test
