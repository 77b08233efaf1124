// The real zelmor-mcp binary with its standard input held open, as a client keeps it: every
// reply must be written and flushed as its request is handled, not when the input ends.
#include "tests/support/Subprocess.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sstream>

namespace zelmor {
namespace {

// Only a guard against hanging forever when a reply never comes; no test measures time.
constexpr std::chrono::seconds patience{60};

std::vector<nlohmann::json> repliesIn(const std::string& lines) {
    std::vector<nlohmann::json> replies;
    std::istringstream stream(lines);
    for (std::string line; std::getline(stream, line);)
        replies.push_back(nlohmann::json::parse(line, nullptr, false));
    return replies;
}

TEST(OpenInput, ABurstWrittenAtOnceIsAnsweredInFullBeforeTheInputCloses) {
    test::TempFolder home;
    home.write("Meetings/a.md",
               "---\ntitle: Sync\ndate: 2026-10-01\nparticipants:\n  - Ana\nsource: Zelmor\n---\n\n"
               "## Transcript\n\n**Ana:** Pricing first.\n");
    test::ProcessOptions options;
    options.arguments = {"--transcripts-folder", home / "Meetings"};
    options.environment = std::map<std::string, std::string>{{"HOME", home.path()}};
    test::RunningProcess server(ZELMOR_MCP_BINARY, options);

    ASSERT_TRUE(server.write(
        R"({"jsonrpc":"2.0","id":1,"method":"initialize","params":{"protocolVersion":"2025-06-18"}})"
        "\n"
        R"({"jsonrpc":"2.0","method":"notifications/initialized"})"
        "\n"
        R"({"jsonrpc":"2.0","id":2,"method":"ping"})"
        "\n"
        R"({"jsonrpc":"2.0","id":3,"method":"tools/list"})"
        "\n"
        R"({"jsonrpc":"2.0","id":4,"method":"tools/call","params":{"name":"list_participants","arguments":{}}})"
        "\n"));
    auto replies = repliesIn(server.takeLines(4, patience));
    ASSERT_EQ(replies.size(), 4u) << "replies must not wait for the end of input";
    std::vector<nlohmann::json> ids;
    for (const auto& reply : replies) ids.push_back(reply.value("id", nlohmann::json()));
    EXPECT_EQ(ids, (std::vector<nlohmann::json>{1, 2, 3, 4}));
    EXPECT_EQ(replies[1].dump(), R"({"id":2,"jsonrpc":"2.0","result":{}})");
    EXPECT_EQ(replies[3]["result"]["structuredContent"]["participants"][0]["name"], "Ana");

    // The loop is still reading: a later request gets its own reply at once, too.
    ASSERT_TRUE(server.write(R"({"jsonrpc":"2.0","id":5,"method":"ping"})"
                             "\n"));
    EXPECT_EQ(server.takeLines(1, patience), "{\"id\":5,\"jsonrpc\":\"2.0\",\"result\":{}}\n");

    test::ProcessResult end = server.finish();
    EXPECT_EQ(end.out, "") << "nothing was held back for the end of input";
    EXPECT_EQ(end.exitStatus, 0);
    EXPECT_EQ(end.err, "zelmor-mcp 0.2.0 serving " + home.path() + "/Meetings\n");
}

} // namespace
} // namespace zelmor
