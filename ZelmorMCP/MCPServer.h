// The server side of MCP over JSON-RPC 2.0: one input line in, at most one reply line out.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace zelmor {

class MCPServer {
public:
    /// What the server offers under "tools/list" and "tools/call", and hears of the client.
    /// `ToolExecutor` is the one the executable serves.
    class Tools {
    public:
        /// A call's MCP tool result, or the message of the invalid-params error that refuses it.
        struct Outcome {
            nlohmann::json result;
            std::optional<std::string> invalidParams;
        };
        virtual ~Tools() = default;
        virtual const nlohmann::json& definitions() const = 0;
        virtual Outcome call(const nlohmann::json& params) const = 0;
        /// The name the client gave in "initialize", trimmed and not empty.
        virtual void clientNamed(std::string name) = 0;
    };

    static constexpr const char* latestProtocolVersion = "2025-06-18";
    static bool isSupportedProtocolVersion(std::string_view version);

    explicit MCPServer(Tools& tools) : tools_(tools) {}

    /// The serialised reply to one line, or nothing (notifications, unserialisable replies).
    std::optional<std::string> handle(std::string_view line) const;

    /// The serialised parse error; also the answer to a line too long to read whole.
    static std::optional<std::string> parseErrorReply();

    /// Dispatch of one parsed object; nothing means no reply is sent.
    std::optional<nlohmann::json> handleMessage(const nlohmann::json& message) const;

    /// The "initialize" result; hands the client's name to the tools as a side effect.
    nlohmann::json initializeResult(const nlohmann::json& params) const;

    /// A tool result that failed: the message for the agent, `isError` true.
    static nlohmann::json toolErrorResult(const std::string& message);

private:
    /// The reply to a request that ran out of memory; nothing for a notification or when even
    /// that cannot be made.
    static std::optional<std::string> outOfMemoryReply(const nlohmann::json& message);

    nlohmann::json onInitialize(const nlohmann::json& id, const nlohmann::json& params) const;
    nlohmann::json onPing(const nlohmann::json& id, const nlohmann::json& params) const;
    nlohmann::json onToolsList(const nlohmann::json& id, const nlohmann::json& params) const;
    nlohmann::json onToolsCall(const nlohmann::json& id, const nlohmann::json& params) const;

    static nlohmann::json successResponse(const nlohmann::json& id, nlohmann::json result);
    static nlohmann::json errorResponse(const nlohmann::json& id, int code, const std::string& message);

    Tools& tools_;
};

} // namespace zelmor
