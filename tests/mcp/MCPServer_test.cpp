// Dispatch behaviour that the wire alone does not show: the captured client name, the exact
// edge of the nesting limit, and a request that runs out of memory.
#include "ZelmorMCP/MCPServer.h"

#include <gtest/gtest.h>

#include <new>

namespace zelmor {
namespace {

using nlohmann::json;

MCPServer makeServer(std::shared_ptr<MCPClientContext> context) {
    return MCPServer(TranscriptFolderResolver{"/nonexistent-home", std::nullopt},
                     MCPServer::ActivityAttribution::user, std::move(context));
}

TEST(MCPServer, InitializeCapturesTrimmedClientNameAndKeepsItOverBlankOnes) {
    auto context = std::make_shared<MCPClientContext>();
    auto server = makeServer(context);
    server.initializeResult(json::parse(R"({"clientInfo":{"name":"  claude-code \n"}})"));
    EXPECT_EQ(context->name, "claude-code");
    server.initializeResult(json::parse(R"({"clientInfo":{"name":"   "}})"));
    server.initializeResult(json::parse(R"({"clientInfo":{"name":42}})"));
    server.initializeResult(json::parse(R"({"clientInfo":"desktop"})"));
    EXPECT_EQ(context->name, "claude-code");
    server.initializeResult(json::parse(R"({"clientInfo":{"name":"desktop"}})"));
    EXPECT_EQ(context->name, "desktop");
}

TEST(MCPServer, ToolsCallIsUnknownUntilAnExecutorIsPlugged) {
    auto server = makeServer(std::make_shared<MCPClientContext>());
    EXPECT_EQ(
        server.handle(R"({"jsonrpc":"2.0","id":1,"method":"tools/call","params":{"name":"read_meeting"}})"),
        R"({"error":{"code":-32601,"message":"Method not found: tools\/call"},"id":1,"jsonrpc":"2.0"})");
    server.setToolCallHandler([](const json& id, const json& params) {
        return MCPServer::successResponse(id, {{"echo", params}});
    });
    EXPECT_EQ(server.handle(R"({"id":2,"method":"tools/call"})"),
              R"({"id":2,"jsonrpc":"2.0","result":{"echo":{}}})");
}

TEST(MCPServer, RunningOutOfMemoryFailsOnlyThatRequest) {
    auto server = makeServer(std::make_shared<MCPClientContext>());
    server.setToolCallHandler([](const json&, const json&) -> json { throw std::bad_alloc(); });
    EXPECT_EQ(
        server.handle(R"({"jsonrpc":"2.0","id":7,"method":"tools/call","params":{"name":"read_meeting"}})"),
        R"({"id":7,"jsonrpc":"2.0","result":{"content":[{"text":"Unexpected error: std::bad_alloc","type":"text"}],)"
        R"("isError":true}})");
    EXPECT_EQ(server.handle(R"({"jsonrpc":"2.0","method":"tools/call"})"), std::nullopt) << "a notification";
    EXPECT_EQ(server.handle(R"({"jsonrpc":"2.0","id":8,"method":"ping"})"),
              R"({"id":8,"jsonrpc":"2.0","result":{}})");
}

TEST(MCPServer, NestingUpTo512LevelsIsServedOneMoreIsAParseError) {
    auto server = makeServer(std::make_shared<MCPClientContext>());
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
