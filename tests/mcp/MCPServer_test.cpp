// Dispatch behaviour that the wire alone does not show: the client name handed to the tools,
// the envelopes of tool outcomes, the exact edge of the nesting limit, and a request that runs
// out of memory.
#include "ZelmorMCP/MCPServer.h"

#include <gtest/gtest.h>

#include <new>

namespace zelmor {
namespace {

using nlohmann::json;

/// Tools that echo a call's params, refuse a call named "refused", and run out of memory on
/// one named "huge".
struct EchoTools final : MCPServer::Tools {
    std::optional<std::string> clientName;
    const json& definitions() const override {
        static const json none = json::array();
        return none;
    }
    Outcome call(const json& params) const override {
        if (params.value("name", "") == "huge") throw std::bad_alloc();
        if (params.value("name", "") == "refused") return {{}, "Invalid params: refused"};
        return {{{"echo", params}}, std::nullopt};
    }
    void clientNamed(std::string name) override { clientName = std::move(name); }
};

TEST(MCPServer, InitializeHandsTheTrimmedClientNameToTheToolsAndSkipsBlankOnes) {
    EchoTools tools;
    const MCPServer server(tools);
    server.initializeResult(json::parse(R"({"clientInfo":{"name":"  claude-code \n"}})"));
    EXPECT_EQ(tools.clientName, "claude-code");
    server.initializeResult(json::parse(R"({"clientInfo":{"name":"   "}})"));
    server.initializeResult(json::parse(R"({"clientInfo":{"name":42}})"));
    server.initializeResult(json::parse(R"({"clientInfo":"desktop"})"));
    EXPECT_EQ(tools.clientName, "claude-code");
    server.initializeResult(json::parse(R"({"clientInfo":{"name":"desktop"}})"));
    EXPECT_EQ(tools.clientName, "desktop");
}

TEST(MCPServer, ToolCallOutcomesBecomeEnvelopesAndOutOfMemoryFailsOnlyThatRequest) {
    EchoTools tools;
    const MCPServer server(tools);
    EXPECT_EQ(server.handle(R"({"id":2,"method":"tools/call"})"),
              R"({"id":2,"jsonrpc":"2.0","result":{"echo":{}}})");
    EXPECT_EQ(server.handle(R"({"id":3,"method":"tools/call","params":{"name":"refused"}})"),
              R"({"error":{"code":-32602,"message":"Invalid params: refused"},"id":3,"jsonrpc":"2.0"})");
    EXPECT_EQ(
        server.handle(R"({"jsonrpc":"2.0","id":7,"method":"tools/call","params":{"name":"huge"}})"),
        R"({"id":7,"jsonrpc":"2.0","result":{"content":[{"text":"Unexpected error: std::bad_alloc","type":"text"}],)"
        R"("isError":true}})");
    EXPECT_EQ(server.handle(R"({"jsonrpc":"2.0","method":"tools/call","params":{"name":"huge"}})"),
              std::nullopt)
        << "a notification";
    EXPECT_EQ(server.handle(R"({"jsonrpc":"2.0","id":8,"method":"ping"})"),
              R"({"id":8,"jsonrpc":"2.0","result":{}})");
}

TEST(MCPServer, NestingUpTo512LevelsIsServedOneMoreIsAParseError) {
    EchoTools tools;
    const MCPServer server(tools);
    auto pingWithParams = [](int depth) { // the request object itself is the first level
        return R"({"id":1,"method":"ping","params":{"x":)" + std::string(depth - 2, '[') +
               std::string(depth - 2, ']') + R"(,"s":"[[[[\"{{"}})";
    };
    EXPECT_EQ(server.handle(pingWithParams(512)), R"({"id":1,"jsonrpc":"2.0","result":{}})");
    EXPECT_EQ(server.handle(pingWithParams(513)), MCPServer::parseErrorReply());
    EXPECT_EQ(
        MCPServer::parseErrorReply(),
        R"({"error":{"code":-32700,"message":"Parse error: message is not valid JSON"},"id":null,"jsonrpc":"2.0"})");
}

} // namespace
} // namespace zelmor
