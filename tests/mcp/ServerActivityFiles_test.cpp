// The real zelmor-mcp binary when the activity files cannot be written: a support folder it may
// not write, and a disk where no file may grow. Every call is still answered as usual and the
// files are left untouched. (Two writers at once are covered by ActivityFilesStress.)
#include "ZelmorMarkdownKit/activity/AgentActivityFeed.h"
#include "ZelmorMarkdownKit/activity/AgentActivityLog.h"
#include "tests/kit/ActivityTestSupport.h"
#include "tests/support/Subprocess.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>

namespace zelmor {
namespace {

std::string calls(int count) {
    std::string lines;
    for (int id = 1; id <= count; ++id)
        lines +=
            R"({"jsonrpc":"2.0","id":)" + std::to_string(id) +
            R"(,"method":"tools/call","params":{"name":"search_meetings","arguments":{"query":"budget"}}})"
            "\n";
    return lines;
}

class ServerActivityFiles : public testing::Test {
protected:
    test::TempFolder home;
    std::string support;

    void SetUp() override {
        ASSERT_EQ(::chmod(home.path().c_str(), 0755), 0); // some calls run as "nobody"
        home.write("Meetings/2026-10-15.md",
                   "---\ntitle: Budget\ndate: 2026-10-15\nparticipants:\n  - Ana\n"
                   "source: Zelmor\n---\n\n## Transcript\n\n**Ana:** The budget holds.\n");
        support = home.makeFolder("Library/Application Support/Zelmor");
    }

    std::string serve(const std::string& homeFolder, const std::string& server = ZELMOR_MCP_BINARY) const {
        test::ProcessOptions options;
        options.arguments = {"--transcripts-folder", home / "Meetings"};
        options.environment = std::map<std::string, std::string>{{"HOME", homeFolder}};
        options.input = calls(20);
        auto result = test::runProcess(server, options);
        return result.exitStatus == 0
                   ? result.out
                   : "exit status " + std::to_string(result.exitStatus) + ": " + result.err;
    }

    /// The replies of a server whose activity files work, and the files left as they were.
    void expectAnsweredAndUntouched(const std::optional<std::string>& served, const std::string& log,
                                    const std::string& feed) const {
        test::TempFolder otherHome;
        std::string expected = serve(otherHome.path());
        EXPECT_NE(expected.find(R"("isError":false)"), std::string::npos) << expected;
        EXPECT_EQ(served, expected);
        EXPECT_EQ(test::fileNames(support),
                  (std::vector<std::string>{"agent-activity-log.jsonl", "agent-activity.json"}));
        EXPECT_EQ(test::readFile(AgentActivityLog::fileURL(support)), log);
        EXPECT_EQ(test::readFile(AgentActivityFeed::fileURL(support)), feed);
    }
};

TEST_F(ServerActivityFiles, ReadOnlySupportFolder) {
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
    auto served = test::runInChild([&] { return serve(home.path(), server); }, /*unprivileged=*/true);
    ::chmod(support.c_str(), 0755);
    expectAnsweredAndUntouched(served, log, feed);
}

// A file size limit of zero refuses every byte written, as a full disk does, without mounting a
// small file system. Its signal is ignored so that a write fails with an error instead.
TEST_F(ServerActivityFiles, SupportFolderThatCannotGrow) {
    serve(home.path());
    std::string log = test::readFile(AgentActivityLog::fileURL(support));
    std::string feed = test::readFile(AgentActivityFeed::fileURL(support));
    ASSERT_NE(log, "");
    ASSERT_NE(feed, "");
    auto served = test::runInChild([&] {
        rlimit none{0, 0};
        if (::setrlimit(RLIMIT_FSIZE, &none) != 0) return std::string("setrlimit failed");
        std::signal(SIGXFSZ, SIG_IGN);
        return serve(home.path());
    });
    expectAnsweredAndUntouched(served, log, feed);
}

// Sparse files of a terabyte where the activity files and the settings file belong: reading one
// whole would end the server. The activity files count as damaged and are replaced; the
// settings file counts as unreadable, so the defaults apply.
TEST_F(ServerActivityFiles, FilesTooLargeToBeRealAreReplacedOrIgnored) {
    for (const char* name : {"agent-activity.json", "agent-activity-log.jsonl", "config.json"}) {
        std::string path = home.write("Library/Application Support/Zelmor/" + std::string(name), "");
        ASSERT_EQ(::truncate(path.c_str(), off_t{1} << 40), 0) << path;
    }
    std::string replies = serve(home.path());
    size_t answered = 0;
    for (size_t at = 0; (at = replies.find(R"("isError":false)", at)) != std::string::npos; ++at) ++answered;
    EXPECT_EQ(answered, 20u) << replies;
    EXPECT_NE(test::readFile(AgentActivityLog::fileURL(support)).find(R"("search_meetings":20)"),
              std::string::npos);
    std::string feed = test::readFile(AgentActivityFeed::fileURL(support));
    EXPECT_EQ(std::count(feed.begin(), feed.end(), '\n'), 20);
}

} // namespace
} // namespace zelmor
