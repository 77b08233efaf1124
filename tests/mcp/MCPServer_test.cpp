// Dispatch behaviour that the wire alone does not show: the captured client name.
#include "ZelmorMCP/MCPServer.h"

#include <gtest/gtest.h>

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
    EXPECT_EQ(server.handle(R"({"jsonrpc":"2.0","id":1,"method":"tools/call","params":{"name":"read_meeting"}})"),
              R"({"error":{"code":-32601,"message":"Method not found: tools\/call"},"id":1,"jsonrpc":"2.0"})");
    server.setToolCallHandler([](const json& id, const json& params) {
        return MCPServer::successResponse(id, {{"echo", params}});
    });
    EXPECT_EQ(server.handle(R"({"id":2,"method":"tools/call"})"), R"({"id":2,"jsonrpc":"2.0","result":{"echo":{}}})");
}

} // namespace
} // namespace zelmor
