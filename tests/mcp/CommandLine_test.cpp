// The executable's command line: output streams, exit status and the folder it serves.
#include "ZelmorMCP/CommandLine.h"
#include "ZelmorMCP/MCPServer.h"
#include "tests/support/Subprocess.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

namespace zelmor {
namespace {

using test::ProcessOptions;
using test::runProcess;

ProcessOptions withHome(const std::string& home, std::vector<std::string> arguments, std::string input = "") {
    ProcessOptions options;
    options.arguments = std::move(arguments);
    options.environment = std::map<std::string, std::string>{{"HOME", home}};
    options.input = std::move(input);
    return options;
}

class CommandLineTest : public testing::Test {
protected:
    test::TempFolder home;
};

TEST_F(CommandLineTest, HelpTextByteForByte) {
    auto result = runProcess(ZELMOR_MCP_BINARY, withHome(home.path(), {"--help"}));
    EXPECT_EQ(result.out,
              "zelmor-mcp 0.2.0 — MCP server (stdio) over the Zelmor transcript folder.\n"
              "\n"
              "Tools: search_meetings, read_meeting, list_participants — read-only over the speaker-labeled\n"
              ".md files Zelmor writes. The folder is resolved from output_folder_display_path in\n"
              "~/Library/Application Support/Zelmor/config.json (default: ~/Documents/Zelmor).\n"
              "\n"
              "Usage: zelmor-mcp [--transcripts-folder <path>]\n"
              "  --transcripts-folder <path>  Serve this folder instead of resolving Zelmor's config.\n"
              "  --version                    Print the server version and exit.\n"
              "\n"
              "Register with an MCP client, e.g. in .mcp.json:\n"
              "  { \"mcpServers\": { \"zelmor\": { \"command\": "
              "\"/Applications/Zelmor.app/Contents/MacOS/zelmor-mcp\" } } }\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(CommandLineTest, HelpWinsOverVersionAndShortFlagWorks) {
    auto both = runProcess(ZELMOR_MCP_BINARY, withHome(home.path(), {"--version", "--help"}));
    auto shortFlag = runProcess(ZELMOR_MCP_BINARY, withHome(home.path(), {"-h"}));
    EXPECT_EQ(both.out.rfind("zelmor-mcp 0.2.0 — ", 0), 0u);
    EXPECT_EQ(shortFlag.out, both.out);
    EXPECT_EQ(shortFlag.exitStatus, 0);
}

TEST_F(CommandLineTest, VersionPrintsVersionOnly) {
    auto result = runProcess(ZELMOR_MCP_BINARY, withHome(home.path(), {"--bogus", "--version"}));
    EXPECT_EQ(result.out, "0.2.0\n");
    EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(CommandLineTest, MissingFolderPathExitsTwo) {
    auto result = runProcess(ZELMOR_MCP_BINARY, withHome(home.path(), {"--transcripts-folder"}));
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "zelmor-mcp: --transcripts-folder requires a path\n");
    EXPECT_EQ(result.exitStatus, 2);
}

TEST_F(CommandLineTest, StartupLineNamesFirstFolderOptionWithTildeExpanded) {
    auto result = runProcess(ZELMOR_MCP_BINARY,
                             withHome(home.path(), {"--transcripts-folder", "~/x", "--transcripts-folder", "/y"}));
    EXPECT_EQ(result.err, "zelmor-mcp 0.2.0 serving " + home.path() + "/x\n");
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(CommandLineTest, StartupLineNamesResolvedDefaultAndUnknownFlagsAreIgnored) {
    auto result = runProcess(ZELMOR_MCP_BINARY, withHome(home.path(), {"--bogus"}));
    EXPECT_EQ(result.err, "zelmor-mcp 0.2.0 serving " + home.path() + "/Documents/Zelmor\n");
    EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(CommandLineTest, ClosedOutputEndsQuietly) {
    ProcessOptions options = withHome(home.path(), {});
    options.closeOutputEarly = true;
    for (int i = 0; i < 2000; ++i) options.input += R"({"jsonrpc":"2.0","id":1,"method":"tools/list"})" "\n";
    auto result = runProcess(ZELMOR_MCP_BINARY, options);
    EXPECT_EQ(result.signal, 0);
    EXPECT_EQ(result.exitStatus, 0);
}

TEST(CommandLineParse, AttributionFromEnvironment) {
    using A = MCPServer::ActivityAttribution;
    EXPECT_EQ(MCPServer::attribution({}), A::user);
    EXPECT_EQ(MCPServer::attribution({{"ZELMOR_CONNECT_PROBE", "1"}, {"ZELMOR_TRIGGERED_RUN", "1"}}), A::probe);
    EXPECT_EQ(MCPServer::attribution({{"ZELMOR_CONNECT_PROBE", "true"}, {"ZELMOR_TRIGGERED_RUN", "1"}}),
              A::zelmorTriggered);
    EXPECT_EQ(MCPServer::attribution({{"ZELMOR_TRIGGERED_RUN", "yes"}}), A::user);
    EXPECT_EQ(MCPServer::attribution({{"ZELMOR_TRIGGERED_RUN", ""}}), A::user);
}

} // namespace
} // namespace zelmor
