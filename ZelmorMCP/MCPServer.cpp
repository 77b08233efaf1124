// JSON-RPC envelope, dispatch table and the protocol errors: the one place that builds them.
// Features live elsewhere; the handlers here only adapt them to the wire.
#include "ZelmorMCP/MCPServer.h"

#include "ZelmorMCP/CommandLine.h"
#include "ZelmorMarkdownKit/text/JSONWriter.h"
#include "ZelmorMarkdownKit/text/Whitespace.h"

#include <new>

namespace zelmor {

namespace {

using json = nlohmann::json;

constexpr int parseErrorCode = -32700;
constexpr int invalidRequestCode = -32600;
constexpr int methodNotFoundCode = -32601;
constexpr int invalidParamsCode = -32602;
constexpr int internalErrorCode = -32603;

constexpr const char* instructions =
    R"(Access to the user's Zelmor meeting transcripts — the speaker-labeled markdown files Zelmor writes into a folder the user owns. Typical flow: search_meetings to shortlist by keyword/participant/date (multi-term queries AND together, "double quotes" match a phrase, sort: 'relevance' ranks by match density for asks that span the whole history), read_meeting for a full transcript, list_participants to see who the user meets with. Cite meetings by title + date when answering from them; when a search comes back empty, say so honestly — never invent a meeting or a citation. These tools READ; Zelmor itself writes the notes into each meeting file after the call.)";

/// Deeper than any real request. Copying and writing a JSON value recurse once per level, so a
/// line nested 100,000 deep would overflow the stack long after the parser accepted it.
constexpr size_t maxNestingDepth = 512;

/// True when brackets outside strings open deeper than `limit`. Only a bound: the parser still
/// judges whether the line is JSON at all.
bool nestsDeeperThan(std::string_view line, size_t limit) {
    size_t depth = 0;
    bool inString = false;
    for (size_t i = 0; i < line.size(); ++i) {
        char c = line[i];
        if (inString) {
            if (c == '\\')
                ++i;
            else if (c == '"')
                inString = false;
        } else if (c == '"') {
            inString = true;
        } else if (c == '[' || c == '{') {
            if (++depth > limit) return true;
        } else if ((c == ']' || c == '}') && depth > 0) {
            --depth;
        }
    }
    return false;
}

struct MethodBinding {
    std::string_view method;
    json (MCPServer::*handler)(const json& id, const json& params) const;
};

} // namespace

bool MCPServer::isSupportedProtocolVersion(std::string_view version) {
    return version == "2024-11-05" || version == "2025-03-26" || version == "2025-06-18";
}

std::optional<std::string> MCPServer::handle(std::string_view line) const {
    json message;
    try {
        // A raw NUL is never valid JSON, but the parser takes it for the end of the input and
        // would accept whatever came before it.
        bool refused = line.find('\0') != std::string_view::npos || nestsDeeperThan(line, maxNestingDepth);
        message = refused ? json(json::value_t::discarded)
                          : json::parse(line.begin(), line.end(), nullptr, /*allow_exceptions=*/false);
        if (message.is_discarded() || !(message.is_object() || message.is_array())) return parseErrorReply();
        if (!message.is_object())
            return JSONWriter::compact(errorResponse(
                nullptr, invalidRequestCode,
                "Invalid request: expected a single JSON-RPC object (batches are not supported)"));
        auto reply = handleMessage(message);
        if (!reply) return std::nullopt;
        return JSONWriter::compact(*reply);
    } catch (const std::bad_alloc&) {
        // Out of memory for this request (a page of huge files, say): it fails alone, as a tool
        // call's error where it was one, and the server goes on with the next line.
        return outOfMemoryReply(message);
    }
}

std::optional<std::string> MCPServer::outOfMemoryReply(const json& message) {
    try {
        if (!message.is_object() || !message.contains("id")) return std::nullopt;
        const json& id = message["id"];
        auto method = message.find("method");
        if (method != message.end() && *method == "tools/call")
            return JSONWriter::compact(
                successResponse(id, toolErrorResult("Unexpected error: std::bad_alloc")));
        return JSONWriter::compact(errorResponse(id, internalErrorCode, "Internal error: out of memory"));
    } catch (...) {
        return std::nullopt;
    }
}

std::optional<std::string> MCPServer::parseErrorReply() {
    return JSONWriter::compact(
        errorResponse(nullptr, parseErrorCode, "Parse error: message is not valid JSON"));
}

std::optional<json> MCPServer::handleMessage(const json& message) const {
    if (message.empty()) return std::nullopt;
    auto idMember = message.find("id");
    if (idMember == message.end()) return std::nullopt; // a notification: never answered
    const json& id = *idMember;

    auto methodMember = message.find("method");
    if (methodMember == message.end() || !methodMember->is_string())
        return errorResponse(id, invalidRequestCode, "Invalid request: missing method");
    const auto& method = methodMember->get_ref<const std::string&>();

    static const json emptyParams = json::object();
    auto paramsMember = message.find("params");
    const json& params =
        paramsMember != message.end() && paramsMember->is_object() ? *paramsMember : emptyParams;

    static constexpr MethodBinding methods[] = {
        {"initialize", &MCPServer::onInitialize},
        {"ping", &MCPServer::onPing},
        {"tools/list", &MCPServer::onToolsList},
        {"tools/call", &MCPServer::onToolsCall},
    };
    for (const auto& binding : methods) {
        if (binding.method != method) continue;
        return (this->*binding.handler)(id, params);
    }
    return errorResponse(id, methodNotFoundCode, "Method not found: " + method);
}

json MCPServer::initializeResult(const json& params) const {
    if (auto info = params.find("clientInfo"); info != params.end() && info->is_object()) {
        if (auto name = info->find("name"); name != info->end() && name->is_string()) {
            std::string_view trimmed = Whitespace::trim(name->get_ref<const std::string&>());
            if (!trimmed.empty()) tools_.clientNamed(std::string(trimmed));
        }
    }
    std::string version = latestProtocolVersion;
    if (auto requested = params.find("protocolVersion");
        requested != params.end() && requested->is_string()) {
        if (isSupportedProtocolVersion(requested->get_ref<const std::string&>())) version = *requested;
    }
    return {{"protocolVersion", version},
            {"capabilities", {{"tools", json::object()}}},
            {"serverInfo",
             {{"name", "zelmor-mcp"},
              {"title", "Zelmor meeting transcripts"},
              {"version", CommandLine::version}}},
            {"instructions", instructions}};
}

json MCPServer::onInitialize(const json& id, const json& params) const {
    return successResponse(id, initializeResult(params));
}

json MCPServer::onPing(const json& id, const json&) const {
    return successResponse(id, json::object());
}

json MCPServer::onToolsList(const json& id, const json&) const {
    return successResponse(id, {{"tools", tools_.definitions()}});
}

json MCPServer::onToolsCall(const json& id, const json& params) const {
    Tools::Outcome outcome = tools_.call(params);
    if (outcome.invalidParams) return errorResponse(id, invalidParamsCode, *outcome.invalidParams);
    return successResponse(id, std::move(outcome.result));
}

json MCPServer::successResponse(const json& id, json result) {
    return {{"jsonrpc", "2.0"}, {"id", id}, {"result", std::move(result)}};
}

json MCPServer::toolErrorResult(const std::string& message) {
    return {{"content", json::array({{{"type", "text"}, {"text", message}}})}, {"isError", true}};
}

json MCPServer::errorResponse(const json& id, int code, const std::string& message) {
    return {{"jsonrpc", "2.0"}, {"id", id}, {"error", {{"code", code}, {"message", message}}}};
}

} // namespace zelmor
