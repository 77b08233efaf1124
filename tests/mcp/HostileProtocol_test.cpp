// The real zelmor-mcp binary under input no client should send: huge, deep, binary, endless or
// cut-off streams, and a client that stops reading. It must answer or refuse, and never die.
#include "tests/support/Subprocess.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <string>

namespace zelmor {
namespace {

using test::ProcessOptions;
using test::ProcessResult;

const std::string parseError =
    R"({"error":{"code":-32700,"message":"Parse error: message is not valid JSON"},"id":null,"jsonrpc":"2.0"})"
    "\n";

std::string ping(long long id) {
    return R"({"jsonrpc":"2.0","id":)" + std::to_string(id) + R"(,"method":"ping"})";
}
std::string pong(long long id) {
    return R"({"id":)" + std::to_string(id) +
           R"(,"jsonrpc":"2.0","result":{}})"
           "\n";
}

class HostileProtocol : public testing::Test {
protected:
    test::TempFolder home;
    ProcessResult run(std::string input, bool closeOutputEarly = false) {
        ProcessOptions options;
        options.arguments = {"--transcripts-folder", home / "Meetings"};
        options.environment = std::map<std::string, std::string>{{"HOME", home.path()}};
        options.input = std::move(input);
        options.closeOutputEarly = closeOutputEarly;
        return test::runProcess(ZELMOR_MCP_BINARY, options);
    }
    void expectCleanExit(const ProcessResult& result) {
        EXPECT_EQ(result.signal, 0);
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_EQ(result.err, "zelmor-mcp 0.2.0 serving " + home.path() + "/Meetings\n");
    }
};

TEST_F(HostileProtocol, HundredMegabyteLineIsAnsweredWithTheParseErrorInBoundedMemory) {
    // Made by a pipeline, so that only the server could ever hold the line and the peak size
    // measured below is the server's.
    ProcessOptions options;
    options.arguments = {"-c",
                         "{ printf '{\"jsonrpc\":\"2.0\",\"id\":1,\"method\":\"'; "
                         "head -c 104857600 /dev/zero | tr '\\0' x; printf '\"}\\n" +
                             ping(2) +
                             "\\n'; } | "
                             "exec \"$0\" --transcripts-folder \"$1\"",
                         ZELMOR_MCP_BINARY, home / "Meetings"};
    options.environment =
        std::map<std::string, std::string>{{"HOME", home.path()}, {"PATH", "/usr/bin:/bin"}};
    ProcessResult result = test::runProcess("/bin/sh", options);
    expectCleanExit(result);
    EXPECT_EQ(result.out, parseError + pong(2));
    // At most 64 MB of the line are held; kept whole, the line and its copies would take 300 MB.
    // The headroom is for the sanitizers' own memory.
    rusage usage{};
    ASSERT_EQ(::getrusage(RUSAGE_CHILDREN, &usage), 0);
    EXPECT_LT(usage.ru_maxrss, 150L * 1024) << "peak resident size of a child, in kilobytes";
}

TEST_F(HostileProtocol, DeepNestingIsAParseErrorNotAStackOverflow) {
    const size_t depth = 100000;
    std::string arrays = std::string(depth, '[') + std::string(depth, ']');
    std::string objects;
    for (size_t i = 0; i < depth; ++i) objects += R"({"a":)";
    objects += "1" + std::string(depth, '}');
    std::string input = arrays + "\n" + objects + "\n" + R"({"jsonrpc":"2.0","method":"ping","id":)" +
                        arrays + "}\n" +                 // as the echoed id
                        std::string(depth, '[') + "\n" + // never closed
                        ping(4) + "\n";
    ProcessResult result = run(input);
    expectCleanExit(result);
    EXPECT_EQ(result.out, parseError + parseError + parseError + parseError + pong(4));
}

TEST_F(HostileProtocol, NulBytesAndALineCutOffByTheEndOfInputAreParseErrorsAndTheStreamGoesOn) {
    std::string nul(1, '\0');
    ProcessResult result =
        run(R"({"jsonrpc":"2.0","id":1,"method":"pi)" + nul +
            R"(ng"})"
            "\n" +
            ping(2) + nul + "\n" + nul + "\n" + ping(3) + "\n" + R"({"jsonrpc":"2.0","id":4,"meth)");
    expectCleanExit(result);
    EXPECT_EQ(result.out, parseError + parseError + parseError + pong(3) + parseError);
}

TEST_F(HostileProtocol, OutputClosedByTheClientEndsQuietly) {
    std::string input;
    for (int id = 0; id < 2000; ++id)
        input += R"({"jsonrpc":"2.0","id":1,"method":"tools/list"})"
                 "\n";
    ProcessResult result = run(input, /*closeOutputEarly=*/true);
    expectCleanExit(result);
    EXPECT_EQ(result.out, "");
}

} // namespace
} // namespace zelmor
