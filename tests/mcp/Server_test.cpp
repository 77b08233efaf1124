// zelmor-mcp where the protocol case files do not reach: dispatch, activity files and the line loop
// in-process; the real binary's command line, its input held open, and input no client should send.
#include "ZelmorMCP/CommandLine.h"
#include "ZelmorMCP/LineLoop.h"
#include "ZelmorMCP/MCPServer.h"
#include "ZelmorMCP/ToolExecutor.h"
#include "ZelmorMCP/TranscriptFolderResolver.h"
#include "ZelmorMarkdownKit/activity/AgentActivityFeed.h"
#include "tests/kit/ActivityTestSupport.h"
#include "tests/support/Subprocess.h"
#include "tests/support/TempFolder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <new>
#include <thread>
#include <tuple>

namespace zelmor::test {
namespace {

using nlohmann::json;

/// Tools that echo a call's params, and run out of memory on one named "huge".
struct EchoTools final : MCPServer::Tools {
    std::optional<std::string> clientName;
    const json& definitions() const override {
        static const json none = json::array();
        return none;
    }
    Outcome call(const json& params) const override {
        if (params.value("name", "") == "huge") throw std::bad_alloc();
        return {{{"echo", params}}, std::nullopt};
    }
    void clientNamed(std::string name) override { clientName = std::move(name); }
};

TEST(MCPServer, ClientNameIsTrimmedToolOutcomesBecomeEnvelopesOutOfMemoryFailsOneRequestNestingIsBounded) {
    EchoTools tools;
    const MCPServer server(tools);
    // A blank name, or one that is no string, leaves the last one standing.
    for (auto [clientInfo, name] :
         std::vector<std::pair<const char*, const char*>>{{R"({"name":"  claude-code \n"})", "claude-code"},
                                                          {R"({"name":"   "})", "claude-code"},
                                                          {R"({"name":42})", "claude-code"},
                                                          {R"({"name":"desktop"})", "desktop"}}) {
        server.initializeResult(json{{"clientInfo", json::parse(clientInfo)}});
        EXPECT_EQ(tools.clientName, name) << clientInfo;
    }
    EXPECT_EQ(server.handle(R"({"id":2,"method":"tools/call"})"),
              R"({"id":2,"jsonrpc":"2.0","result":{"echo":{}}})");
    EXPECT_EQ(
        server.handle(R"({"jsonrpc":"2.0","id":7,"method":"tools/call","params":{"name":"huge"}})"),
        R"({"id":7,"jsonrpc":"2.0","result":{"content":[{"text":"Unexpected error: std::bad_alloc","type":"text"}],)"
        R"("isError":true}})");
    EXPECT_EQ(server.handle(R"({"jsonrpc":"2.0","method":"tools/call","params":{"name":"huge"}})"),
              std::nullopt)
        << "a notification";
    // 512 levels are served, the request object itself the first; one more, or far more, is a
    // parse error and not a stack overflow.
    auto ping = [](int depth) {
        return R"({"id":1,"method":"ping","params":{"x":)" + std::string(depth - 2, '[') +
               std::string(depth - 2, ']') + R"(,"s":"[[[[\"{{"}})";
    };
    EXPECT_EQ(server.handle(ping(512)), R"({"id":1,"jsonrpc":"2.0","result":{}})");
    std::string objects;
    for (int i = 0; i < 100000; ++i) objects += R"({"a":)";
    for (const std::string& message :
         {ping(513), ping(100000), objects + "1" + std::string(100000, '}'), std::string(100000, '[')})
        EXPECT_EQ(server.handle(message), MCPServer::parseErrorReply()) << message.substr(0, 20);
}

using Attribution = ToolExecutor::ActivityAttribution;

constexpr const char* transcript =
    "---\ntitle: Pricing review, round two\ndate: 2026-10-01\nparticipants:\n  - Ana\nsource: Zelmor\n---\n\n"
    "## Transcript\n\n**Ana:** The pricing page ships in November.\n";
constexpr const char* untitled =
    "---\ndate: 2026-10-02\nsource: Zelmor\n---\n\n## Transcript\n\n**Me:** Pricing again.\n";

class ToolExecutorTest : public testing::Test {
protected:
    TempFolder home;
    std::string folder = home.makeFolder("meetings");
    std::string support = home.makeFolder("Library/Application Support/Zelmor");
    std::string countsFile = support + "/agent-activity.json";
    std::string feedFile = AgentActivityFeed::fileURL(support);

    void SetUp() override {
        home.write("meetings/2026/Pricing review.md", transcript);
        home.write("meetings/2026-10-02.md", untitled);
    }

    /// One call to an executor whose clock stands at 2026-11-22T10:00:00Z, in Berlin.
    json call(const json& params, Attribution attribution = Attribution::user,
              std::optional<std::string> client = "test-client") {
        ToolExecutor executor(
            TranscriptFolderResolver{home.path(), folder}, attribution, [] { return utc(2026, 11, 22, 10); },
            [] { return gregorianIn("Europe/Berlin"); });
        executor.enableAskTool();
        if (client) executor.clientNamed(*client);
        return MCPServer(executor)
            .handleMessage({{"id", 7}, {"method", "tools/call"}, {"params", params}})
            .value();
    }
};

TEST_F(ToolExecutorTest, UnknownToolsNamelessCallsAndProbeRunsRecordNothing) {
    call({{"name", "drop_meetings"}});
    call({{"arguments", {{"query", "x"}}}});
    json probed =
        call({{"name", "search_meetings"}, {"arguments", {{"query", "pricing"}}}}, Attribution::probe);
    EXPECT_EQ(probed["result"]["structuredContent"]["total"], 2) << "answered all the same";
    EXPECT_FALSE(std::filesystem::exists(countsFile));
    EXPECT_FALSE(std::filesystem::exists(feedFile));
}

TEST_F(ToolExecutorTest, EveryKnownCallIsCountedOnTheUsersDayAndSuccessfulOnesAreDescribedInTheFeed) {
    call({{"name", "search_meetings"}, {"arguments", {{"query", "  pricing \n"}}}});
    call({{"name", "search_meetings"}, {"arguments", {{"query", " \t"}}}}, Attribution::zelmorTriggered);
    call({{"name", "read_meeting"}, {"arguments", {{"path", folder + "/2026/Pricing review.md"}}}},
         Attribution::user, std::nullopt);
    call({{"name", "read_meeting"}, {"arguments", {{"path", folder + "/2026/../2026-10-02.md"}}}});
    call({{"name", "read_meeting"}, {"arguments", {{"path", folder + "/missing.md"}}}});
    call({{"name", "list_participants"}, {"arguments", {{"path", "ignored"}}}});
    // The clock stands at 2026-11-22: "last month" is October.
    EXPECT_EQ(call({{"name", "ask_meetings"},
                    {"arguments",
                     {{"question", "Pricing last month?"}}}})["result"]["structuredContent"]["time_scope"],
              json::parse(R"({"date_from":"2026-10-01","date_to":"2026-10-31","phrases":["last month"]})"));

    // Failed calls are counted but not described. Without a title, the file's name stands in; the
    // path is kept exactly as the agent sent it.
    const auto at = utc(2026, 11, 22, 10);
    const std::string client = "test-client";
    EXPECT_EQ(
        AgentActivityFeed::load(support),
        (std::vector<AgentActivityFeed::Entry>{
            {at, "search_meetings", "pricing", {}, false, client},
            {at, "search_meetings", {}, {}, true, client},
            {at, "read_meeting", "Pricing review, round two", folder + "/2026/Pricing review.md", false, {}},
            {at, "read_meeting", "2026-10-02", folder + "/2026/../2026-10-02.md", false, client},
            {at, "list_participants", {}, {}, false, client},
            {at, "ask_meetings", "Pricing last month?", {}, false, client}}));
    EXPECT_EQ(
        readFile(countsFile),
        R"({"2026-11-22":{"ask_meetings":1,"list_participants":1,"read_meeting":3,"search_meetings":2}})");
}

TEST_F(ToolExecutorTest, ArgumentsAreReadLeniently) {
    // A number 1 is true, a string is no number, and a huge offset is past every meeting.
    json data = call(
        {{"name", "search_meetings"},
         {"arguments",
          {{"query", "pricing"}, {"limit", "1"}, {"include_content", 1}}}})["result"]["structuredContent"];
    EXPECT_EQ(data["count"], 2);
    EXPECT_EQ(data["meetings"][0]["content"], untitled);
    data = call({{"name", "search_meetings"},
                 {"arguments", {{"limit", -3.7}, {"offset", 1e300}}}})["result"]["structuredContent"];
    EXPECT_EQ(data["count"], 0);
    EXPECT_EQ(data["total"], 2);
}

// A title that is there is read in the feed above.
TEST(ToolExecutor, ReadResultWithoutFrontmatterOrTextHasNoTitle) {
    for (const json& result : {ToolExecutor::textToolResult("no frontmatter"), json::object()})
        EXPECT_EQ(ToolExecutor::titleFromReadResult(result), std::nullopt) << result;
    // The one refusal no tool raises today keeps its words for callers that check the marker.
    EXPECT_EQ(ToolExecutor::describe(MeetingStore::StoreError::notZelmorTranscript("/m/a.md")),
              "Refused: /m/a.md is not a Zelmor transcript (no 'source: Zelmor').");
}

/// Feeds `input` to the loop (limit 10) and gives what it wrote. Each line is answered with its
/// length, but "big" with 300,000 times "x". With `nonBlocking`, both ends the loop uses are
/// non-blocking and the other side comes late: the input only after the loop has started, the
/// reading of the output only after a while.
std::string loop(const std::string& input, bool answerOversized = true, bool nonBlocking = false) {
    int in[2], out[2];
    if (::pipe(in) != 0 || ::pipe(out) != 0) return "pipe failed";
    if (nonBlocking)
        for (int end : {in[0], out[1]}) ::fcntl(end, F_SETFL, O_NONBLOCK);
    auto late = [&] {
        if (nonBlocking) std::this_thread::sleep_for(std::chrono::milliseconds(100));
    };
    std::thread feeder([&] {
        late();
        std::string_view rest = input;
        for (ssize_t n; !rest.empty() && (n = ::write(in[1], rest.data(), rest.size())) > 0;)
            rest.remove_prefix(static_cast<size_t>(n));
        ::close(in[1]);
    });
    std::string written;
    std::thread reader([&] {
        late();
        char buffer[4096];
        for (ssize_t n; (n = ::read(out[0], buffer, sizeof buffer)) > 0;)
            written.append(buffer, static_cast<size_t>(n));
    });
    LineLoop::OversizedHandler oversized;
    if (answerOversized) oversized = [] { return std::optional<std::string>("too long"); };
    LineLoop::run(
        in[0], out[1],
        [&](std::string_view line) {
            return std::optional<std::string>(line == "big" ? std::string(300000, 'x')
                                                            : std::to_string(line.size()));
        },
        oversized, 10);
    ::close(out[1]);
    feeder.join();
    reader.join();
    ::close(in[0]);
    ::close(out[0]);
    return written;
}

TEST(LineLoop, LinesPastTheLimitAreDroppedWholeAndAnsweredAsOversized) {
    std::string big(300000, 'x'); // several reads of the loop's buffer
    // At the limit, one past it, across many reads, and a last line without its end.
    EXPECT_EQ(loop("abcdefghij\nabcdefghijk\nxy\n"), "10\ntoo long\n2\n");
    EXPECT_EQ(loop("a\n" + big + "\nbc\n" + big + "\n"), "1\ntoo long\n2\ntoo long\n");
    EXPECT_EQ(loop("a\n" + std::string(50, 'x')), "1\ntoo long\n");
    // Many short lines: some are cut in two by the end of a read.
    std::string many, lengths;
    for (int i = 0; i < 7000; ++i) many += "123456789\n", lengths += "9\n";
    EXPECT_EQ(loop(many), lengths);
    EXPECT_EQ(loop(std::string(50, 'x') + "\nab\n", false), "2\n") << "without a handler, dropped silently";
}

TEST(LineLoop, NonBlockingEndsAreWaitedOnNotTakenForClosed) {
    // Input that arrives after the first read found none is read, not taken for the end.
    EXPECT_EQ(loop("ab\ncde\n", true, true), "2\n3\n");
    // A reply larger than the pipe holds, to a reader that comes late, arrives whole.
    EXPECT_EQ(loop("big\n", true, true), std::string(300000, 'x') + "\n");
}

TEST(CommandLine, StreamsAndExitStatusFollowTheOptions) {
    test::TempFolder home;
    ProcessOptions options;
    options.environment = {{"HOME", home.path()}};
    const std::string help = CommandLine::helpText() + "\n";
    EXPECT_TRUE(
        help.starts_with("zelmor-mcp 0.2.0 — MCP server (stdio) over the Zelmor transcript folder.\n"));
    const std::string serving = "zelmor-mcp 0.2.0 serving " + home.path();
    struct Row {
        std::vector<std::string> arguments;
        std::string out, err;
        int exitStatus;
    };
    for (const Row& row : std::vector<Row>{
             {{"--version", "--help"}, help, "", 0}, // help wins
             {{"-h"}, help, "", 0},
             {{"--bogus", "--version"}, "0.2.0\n", "", 0},
             {{"--transcripts-folder"}, "", "zelmor-mcp: --transcripts-folder requires a path\n", 2},
             // The first folder option counts, with "~" expanded.
             {{"--transcripts-folder", "~/x", "--transcripts-folder", "/y"}, "", serving + "/x\n", 0}}) {
        options.arguments = row.arguments;
        auto result = test::runProcess(ZELMOR_MCP_BINARY, options);
        EXPECT_EQ(std::tie(result.out, result.err, result.exitStatus),
                  std::tie(row.out, row.err, row.exitStatus))
            << row.arguments[0];
    }
}

TEST(CommandLine, FolderAndMemoryNameComeFromTheSettingsReadAfreshOnEveryCallUnlessGiven) {
    test::TempFolder home;
    const std::string byDefault = home / "Documents/Zelmor";
    auto expectFolders = [&](const TranscriptFolderResolver& resolver, const std::string& folder,
                             const std::string& memory, const std::string& label) {
        auto folders = resolver.folders();
        EXPECT_EQ(std::make_tuple(resolver.resolve(), resolver.memoryFolderName(), folders.transcripts,
                                  folders.memoryFolderName),
                  std::make_tuple(folder, memory, folder, memory))
            << label;
    };
    TranscriptFolderResolver resolver{home.path(), std::nullopt};
    struct Row {
        std::string settings, folder, memory;
    };
    for (const Row& row : std::vector<Row>{
             {R"({"output_folder_display_path": "/Volumes/Data/../Calls/./"})", "/Volumes/Calls", "Memory"},
             {R"({"output_folder_display_path": 42, "engine_folder_name": 7})", byDefault, "Memory"},
             {R"({"output_folder_display_path": "~", "engine_folder_name": " Brain "})", home.path(),
              "Brain"}}) {
        home.write("Library/Application Support/Zelmor/config.json", row.settings);
        expectFolders(resolver, row.folder, row.memory, row.settings);
    }
    // Given on the command line, the folder wins; the settings still name the memory folder.
    expectFolders(TranscriptFolderResolver{home.path(), "/served/./here/"}, "/served/here", "Brain", "given");
}

TEST(CommandLine, AttributionFromEnvironment) {
    EXPECT_EQ(ToolExecutor::attribution({}), Attribution::user);
    EXPECT_EQ(ToolExecutor::attribution({{"ZELMOR_CONNECT_PROBE", "1"}, {"ZELMOR_TRIGGERED_RUN", "1"}}),
              Attribution::probe);
    EXPECT_EQ(ToolExecutor::attribution({{"ZELMOR_CONNECT_PROBE", "true"}, {"ZELMOR_TRIGGERED_RUN", "1"}}),
              Attribution::zelmorTriggered);
}

class HostileProtocol : public testing::Test {
protected:
    test::TempFolder home;
    std::map<std::string, std::string> environment{{"HOME", home.path()}};
    std::string run(std::string input, bool closeOutputEarly = false) {
        ProcessOptions options;
        options.arguments = {"--transcripts-folder", home / "Meetings"};
        options.environment = environment;
        options.input = std::move(input);
        options.closeOutputEarly = closeOutputEarly;
        return expectCleanExit(test::runProcess(ZELMOR_MCP_BINARY, options));
    }
    std::string expectCleanExit(const ProcessResult& result) {
        EXPECT_EQ(std::make_tuple(result.signal, result.exitStatus, result.err),
                  std::make_tuple(0, 0, "zelmor-mcp 0.2.0 serving " + home.path() + "/Meetings\n"));
        return result.out;
    }
};

TEST_F(HostileProtocol, HundredMegabyteLineIsAnsweredWithTheParseErrorInBoundedMemory) {
    // Made by a pipeline, so that only the server could ever hold the line and the peak size
    // measured below is the server's.
    ProcessOptions options;
    options.arguments = {"-c",
                         "{ printf '{\"jsonrpc\":\"2.0\",\"id\":1,\"method\":\"'; "
                         "head -c 104857600 /dev/zero | tr '\\0' x; printf '\"}\\n"
                         R"({"jsonrpc":"2.0","id":2,"method":"ping"})"
                         "\\n'; } | exec \"$0\" --transcripts-folder \"$1\"",
                         ZELMOR_MCP_BINARY, home / "Meetings"};
    options.environment = {{"HOME", home.path()}, {"PATH", "/usr/bin:/bin"}};
    EXPECT_EQ(expectCleanExit(test::runProcess("/bin/sh", options)),
              *MCPServer::parseErrorReply() + "\n" + R"({"id":2,"jsonrpc":"2.0","result":{}})" + "\n");
    // At most 64 MB of the line are held; kept whole, the line and its copies would take 300 MB.
    // The headroom is for the sanitizers' own memory.
    rusage usage{};
    ASSERT_EQ(::getrusage(RUSAGE_CHILDREN, &usage), 0);
    EXPECT_LT(usage.ru_maxrss, 150L * 1024) << "peak resident size of a child, in kilobytes";
}

TEST_F(HostileProtocol, OutputClosedByTheClientEndsQuietly) {
    std::string input;
    for (int i = 0; i < 2000; ++i) input += "{\"id\":1,\"method\":\"tools/list\"}\n";
    EXPECT_EQ(run(input, /*closeOutputEarly=*/true), "");
}

// Sparse files of a terabyte where the activity files and the settings file belong: reading one
// whole would end the server. The activity files count as damaged and are replaced; the settings
// file counts as unreadable, so the defaults apply.
TEST_F(HostileProtocol, ActivityAndSettingsFilesTooLargeToBeRealAreReplacedOrIgnored) {
    home.write("Meetings/a.md",
               "---\ndate: 2026-10-15\nsource: Zelmor\n---\n\n## Transcript\n\n**Ana:** The budget holds.\n");
    const std::string support = "Library/Application Support/Zelmor/";
    for (const char* name : {"agent-activity.json", "agent-activity-log.jsonl", "config.json"})
        ASSERT_EQ(::truncate(home.write(support + name, "").c_str(), off_t{1} << 40), 0) << name;
    const std::string search =
        R"({"id":1,"method":"tools/call","params":{"name":"search_meetings","arguments":{"query":"budget"}}})";
    std::string input;
    for (int i = 0; i < 20; ++i) input += search + "\n";
    environment["ZELMOR_TRIGGERED_RUN"] = "1"; // the app's own run, marked in the feed
    std::string replies = run(input);
    size_t answered = 0;
    for (size_t at = 0; (at = replies.find(R"("total":1)", at)) != std::string::npos; ++at) ++answered;
    EXPECT_EQ(answered, 20u) << replies;
    // One day's counts, the day being today: {"yyyy-MM-dd":{...}}
    EXPECT_EQ(test::readFile(home / (support + "agent-activity.json")).substr(14),
              R"({"search_meetings":20}})");
    std::string feed = test::readFile(home / (support + "agent-activity-log.jsonl"));
    EXPECT_EQ(std::count(feed.begin(), feed.end(), '\n'), 20);
    EXPECT_EQ(AgentActivityFeed::entries(feed).back().triggered, true);
}

} // namespace
} // namespace zelmor::test
