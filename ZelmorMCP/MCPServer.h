// The server side of MCP over JSON-RPC 2.0: one input line in, at most one reply line out.
#pragma once

#include "ZelmorMCP/MCPClientContext.h"
#include "ZelmorMCP/TranscriptFolderResolver.h"

#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace zelmor {

class MCPServer {
public:
    /// Who started the agent run; decides what the activity files record.
    enum class ActivityAttribution { user, zelmorTriggered, probe };

    /// Answers "tools/call": takes the request id and params, returns the whole reply object.
    using ToolCallHandler =
        std::function<nlohmann::json(const nlohmann::json& id, const nlohmann::json& params)>;

    static constexpr const char* latestProtocolVersion = "2025-06-18";
    static bool isSupportedProtocolVersion(std::string_view version);

    /// ZELMOR_CONNECT_PROBE=1 wins over ZELMOR_TRIGGERED_RUN=1; any other value counts as unset.
    static ActivityAttribution attribution(const std::map<std::string, std::string>& environment);

    MCPServer(TranscriptFolderResolver resolver, ActivityAttribution attribution,
              std::shared_ptr<MCPClientContext> clientContext);

    /// Plugs in the tool executor; until then "tools/call" is an unknown method.
    void setToolCallHandler(ToolCallHandler handler) { toolCall_ = std::move(handler); }
    /// Offers ask_meetings beside the three tools (--ask-tool).
    void enableAskTool() { askTool_ = true; }
    bool askToolEnabled() const { return askTool_; }

    const TranscriptFolderResolver& resolver() const { return resolver_; }
    ActivityAttribution activityAttribution() const { return attribution_; }
    const std::shared_ptr<MCPClientContext>& clientContext() const { return clientContext_; }

    /// The serialised reply to one line, or nothing (notifications, unserialisable replies).
    std::optional<std::string> handle(std::string_view line) const;

    /// The serialised parse error; also the answer to a line too long to read whole.
    static std::optional<std::string> parseErrorReply();

    /// Dispatch of one parsed object; nothing means no reply is sent.
    std::optional<nlohmann::json> handleMessage(const nlohmann::json& message) const;

    /// The "initialize" result; captures the client's name as a side effect.
    nlohmann::json initializeResult(const nlohmann::json& params) const;

    static nlohmann::json successResponse(const nlohmann::json& id, nlohmann::json result);
    /// A tool result that failed: the message for the agent, `isError` true.
    static nlohmann::json toolErrorResult(const std::string& message);
    static nlohmann::json errorResponse(const nlohmann::json& id, int code, const std::string& message);

private:
    /// The reply to a request that ran out of memory; nothing for a notification or when even
    /// that cannot be made.
    static std::optional<std::string> outOfMemoryReply(const nlohmann::json& message);

    nlohmann::json onInitialize(const nlohmann::json& id, const nlohmann::json& params) const;
    nlohmann::json onPing(const nlohmann::json& id, const nlohmann::json& params) const;
    nlohmann::json onToolsList(const nlohmann::json& id, const nlohmann::json& params) const;
    nlohmann::json onToolsCall(const nlohmann::json& id, const nlohmann::json& params) const;

    TranscriptFolderResolver resolver_;
    ActivityAttribution attribution_;
    std::shared_ptr<MCPClientContext> clientContext_;
    ToolCallHandler toolCall_;
    bool askTool_ = false;
};

} // namespace zelmor
