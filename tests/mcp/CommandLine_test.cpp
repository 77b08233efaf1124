// The executable's command line: output streams, exit status and the folder it serves.
#include "ZelmorMCP/ToolExecutor.h"
#include "tests/support/Subprocess.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

namespace zelmor {
namespace {

TEST(CommandLine, StreamsAndExitStatusFollowTheOptions) {
    test::TempFolder home;
    test::ProcessOptions options;
    options.environment = std::map<std::string, std::string>{{"HOME", home.path()}};
    options.arguments = {"--help"};
    const std::string help = test::runProcess(ZELMOR_MCP_BINARY, options).out;
    EXPECT_EQ(help.rfind("zelmor-mcp 0.2.0 — MCP server (stdio) over the Zelmor transcript folder.\n", 0),
              0u);
    EXPECT_NE(help.find("\nUsage: zelmor-mcp [--transcripts-folder <path>]\n"), std::string::npos) << help;
    const std::string serving = "zelmor-mcp 0.2.0 serving " + home.path();
    struct Row {
        std::vector<std::string> arguments;
        std::string out, err;
        int exitStatus;
    };
    for (const Row& row : std::vector<Row>{
             {{"--help"}, help, "", 0},
             {{"--version", "--help"}, help, "", 0}, // help wins
             {{"-h"}, help, "", 0},
             {{"--bogus", "--version"}, "0.2.0\n", "", 0},
             {{"--transcripts-folder"}, "", "zelmor-mcp: --transcripts-folder requires a path\n", 2},
             // The first folder option counts, with "~" expanded; unknown flags are ignored.
             {{"--transcripts-folder", "~/x", "--transcripts-folder", "/y"}, "", serving + "/x\n", 0},
             {{"--bogus"}, "", serving + "/Documents/Zelmor\n", 0}}) {
        options.arguments = row.arguments;
        auto result = test::runProcess(ZELMOR_MCP_BINARY, options);
        EXPECT_EQ(result.out, row.out) << row.arguments[0];
        EXPECT_EQ(result.err, row.err) << row.arguments[0];
        EXPECT_EQ(result.exitStatus, row.exitStatus) << row.arguments[0];
    }
}

TEST(CommandLine, AttributionFromEnvironment) {
    using A = ToolExecutor::ActivityAttribution;
    EXPECT_EQ(ToolExecutor::attribution({}), A::user);
    EXPECT_EQ(ToolExecutor::attribution({{"ZELMOR_CONNECT_PROBE", "1"}, {"ZELMOR_TRIGGERED_RUN", "1"}}),
              A::probe);
    EXPECT_EQ(ToolExecutor::attribution({{"ZELMOR_CONNECT_PROBE", "true"}, {"ZELMOR_TRIGGERED_RUN", "1"}}),
              A::zelmorTriggered);
    EXPECT_EQ(ToolExecutor::attribution({{"ZELMOR_TRIGGERED_RUN", "yes"}}), A::user);
    EXPECT_EQ(ToolExecutor::attribution({{"ZELMOR_TRIGGERED_RUN", ""}}), A::user);
}

} // namespace
} // namespace zelmor
