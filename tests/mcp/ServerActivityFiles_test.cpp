// The real zelmor-mcp binary keeping the activity files in bad conditions: a second server on the
// same support folder, a support folder it may not write, and a disk where no file may grow. The
// agent's calls are answered the same in every case; the files stay whole or untouched.
#include "ZelmorMarkdownKit/AgentActivityFeed.h"
#include "ZelmorMarkdownKit/AgentActivityLog.h"
#include "tests/kit/ActivityTestSupport.h"
#include "tests/support/Subprocess.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace zelmor {
namespace {

using test::ProcessOptions;
using test::ProcessResult;

std::string call(long long id, const std::string& tool) {
    std::string arguments = tool == "search_meetings" ? R"({"query":"budget"})" : "{}";
    return R"({"jsonrpc":"2.0","id":)" + std::to_string(id) + R"(,"method":"tools/call","params":{"name":")" +
           tool + R"(","arguments":)" + arguments + "}}\n";
}

std::string calls(long long count, const std::string& tool) {
    std::string lines;
    for (long long id = 1; id <= count; ++id) lines += call(id, tool);
    return lines;
}

class ServerActivityFiles : public testing::Test {
protected:
    test::TempFolder home;
    std::string support;
    std::string logFile;
    std::string feedFile;

    void SetUp() override {
        // Open to others: some calls run as "nobody".
        ASSERT_EQ(::chmod(home.path().c_str(), 0755), 0);
        home.write("Meetings/2026-10-15.md",
                   "---\ntitle: Budget\ndate: 2026-10-15\nparticipants:\n  - Ana\n"
                   "source: Zelmor\n---\n\n## Transcript\n\n**Ana:** The budget holds.\n");
        support = home.makeFolder("Library/Application Support/Zelmor");
        logFile = AgentActivityLog::fileURL(support);
        feedFile = AgentActivityFeed::fileURL(support);
    }

    ProcessResult serve(std::string input, const std::string& server = ZELMOR_MCP_BINARY) const {
        ProcessOptions options;
        options.arguments = {"--transcripts-folder", home / "Meetings"};
        options.environment = std::map<std::string, std::string>{{"HOME", home.path()}};
        options.input = std::move(input);
        return test::runProcess(server, options);
    }

    /// What a server answers to the calls, one per line, each the same reply but for its id.
    std::string expectedReplies(long long count, const std::string& tool) const {
        test::TempFolder otherHome;
        ProcessOptions options;
        options.arguments = {"--transcripts-folder", home / "Meetings"};
        options.environment = std::map<std::string, std::string>{{"HOME", otherHome.path()}};
        options.input = call(1, tool);
        std::string reply = test::runProcess(ZELMOR_MCP_BINARY, options).out;
        EXPECT_EQ(reply.rfind(R"({"id":1,"jsonrpc":"2.0","result":{"content":)", 0), 0u) << reply;
        EXPECT_NE(reply.find(R"("isError":false)"), std::string::npos) << reply;
        std::string replies;
        for (long long id = 1; id <= count; ++id)
            replies += R"({"id":)" + std::to_string(id) + reply.substr(std::string_view(R"({"id":1)").size());
        return replies;
    }
};

TEST_F(ServerActivityFiles, TwoServersMakingAThousandCallsEachAnswerAllAndLeaveWholeFiles) {
    const std::string tools[2] = {"search_meetings", "list_participants"};
    test::TempFolder exchange;
    exchange.write("0.in", calls(1000, tools[0]));
    exchange.write("1.in", calls(1000, tools[1]));
    // Both servers start at once from one shell, each with its own input and output files.
    ProcessOptions options;
    options.arguments = {"-c",
                         "cd \"$2\" || exit 1; \"$0\" --transcripts-folder \"$1\" <0.in >0.out & first=$!; "
                         "\"$0\" --transcripts-folder \"$1\" <1.in >1.out; second=$?; "
                         "wait $first && exit $second",
                         ZELMOR_MCP_BINARY, home / "Meetings", exchange.path()};
    options.environment = std::map<std::string, std::string>{{"HOME", home.path()}};
    ProcessResult result = test::runProcess("/bin/sh", options);
    EXPECT_EQ(result.exitStatus, 0);
    for (int k = 0; k < 2; ++k)
        EXPECT_EQ(test::readFile(exchange / (std::to_string(k) + ".out")), expectedReplies(1000, tools[k]))
            << tools[k];

    EXPECT_EQ(test::fileNames(support),
              (std::vector<std::string>{"agent-activity-log.jsonl", "agent-activity.json"}));
    // The feed is whole lines that all decode, full to its cap and no fuller, from both servers.
    std::string feed = test::readFile(feedFile);
    auto entries = AgentActivityFeed::entries(feed);
    EXPECT_EQ(entries.size(), size_t(std::count(feed.begin(), feed.end(), '\n')));
    EXPECT_EQ(entries.size(), AgentActivityFeed::maxEntries);
    // Without a lock between the processes a count may be lost, never the table's shape. A
    // run across midnight spreads the calls over two days.
    auto table = AgentActivityLog::load(logFile);
    ASSERT_FALSE(table.empty());
    EXPECT_LE(table.size(), 2u);
    long long total = 0;
    for (const auto& [day, counts] : table) {
        for (const auto& [tool, count] : counts) {
            EXPECT_TRUE(tool == tools[0] || tool == tools[1]) << tool;
            total += count;
        }
    }
    EXPECT_GE(total, 1000);
    EXPECT_LE(total, 2000);
}

TEST_F(ServerActivityFiles, ReadOnlySupportFolderStillAnswersEveryCallAndIsLeftAsItWas) {
    std::string log = R"({"2025-03-14":{"read_meeting":2}})";
    std::string feed = R"({"tool":"read_meeting","triggered":false,"ts":"2025-03-14T10:00:00Z"})"
                       "\n";
    home.write("Library/Application Support/Zelmor/agent-activity.json", log);
    home.write("Library/Application Support/Zelmor/agent-activity-log.jsonl", feed);
    ASSERT_EQ(::chmod(support.c_str(), 0555), 0);

    // Permissions do not stop the super-user, so the server runs as "nobody", from a copy that
    // "nobody" may run wherever the build tree lies.
    std::string server = home.makeFolder("bin") + "/zelmor-mcp";
    std::filesystem::copy_file(ZELMOR_MCP_BINARY, server);
    ASSERT_EQ(::chmod((home / "bin").c_str(), 0755), 0);
    ASSERT_EQ(::chmod(server.c_str(), 0755), 0);
    auto served = test::runInChild(
        [&] {
            ProcessResult result = serve(calls(20, "search_meetings"), server);
            return result.exitStatus == 0
                       ? result.out
                       : "exit status " + std::to_string(result.exitStatus) + ": " + result.err;
        },
        /*unprivileged=*/true);
    ::chmod(support.c_str(), 0755);
    EXPECT_EQ(served, expectedReplies(20, "search_meetings"));
    EXPECT_EQ(test::fileNames(support),
              (std::vector<std::string>{"agent-activity-log.jsonl", "agent-activity.json"}));
    EXPECT_EQ(test::readFile(logFile), log);
    EXPECT_EQ(test::readFile(feedFile), feed);
}

// A full disk refuses every byte written; a file size limit of zero does the same without a
// small file system, which needs privileges to mount. The limit's signal is ignored so that a
// write fails with an error, as it does on a full disk, instead of ending the process.
TEST_F(ServerActivityFiles, SupportFolderThatCannotGrowStillAnswersEveryCallAndKeepsItsFiles) {
    serve(call(1, "search_meetings"));
    std::string log = test::readFile(logFile);
    std::string feed = test::readFile(feedFile);
    ASSERT_NE(log, "");
    ASSERT_NE(feed, "");

    auto served = test::runInChild([&] {
        rlimit none{0, 0};
        if (::setrlimit(RLIMIT_FSIZE, &none) != 0) return std::string("setrlimit failed");
        std::signal(SIGXFSZ, SIG_IGN);
        return serve(calls(20, "search_meetings")).out;
    });
    EXPECT_EQ(served, expectedReplies(20, "search_meetings"));
    EXPECT_EQ(test::fileNames(support),
              (std::vector<std::string>{"agent-activity-log.jsonl", "agent-activity.json"}));
    EXPECT_EQ(test::readFile(logFile), log);
    EXPECT_EQ(test::readFile(feedFile), feed);
}

} // namespace
} // namespace zelmor
