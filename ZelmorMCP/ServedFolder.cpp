#include "ZelmorMCP/ServedFolder.h"

namespace zelmor {

ServedFolder::ServedFolder(TranscriptFolderResolver resolver, MCPServer::ActivityAttribution attribution,
                           ToolExecutor::Clock now, ToolExecutor::CalendarFactory calendar)
    : server(std::move(resolver), attribution, std::make_shared<MCPClientContext>()),
      tools(server, std::move(now), std::move(calendar)) {
    server.setToolCallHandler([this](const nlohmann::json& id, const nlohmann::json& params) {
        return tools.toolCall(id, params);
    });
}

} // namespace zelmor
