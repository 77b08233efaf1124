// The server with its tools attached, as the executable runs it: the one place where the
// JSON-RPC side and the tools are wired together (the stdio fuzzer builds the same).
#pragma once

#include "ZelmorMCP/MCPServer.h"
#include "ZelmorMCP/ToolExecutor.h"

namespace zelmor {

struct ServedFolder {
    ServedFolder(TranscriptFolderResolver resolver, MCPServer::ActivityAttribution attribution,
                 ToolExecutor::Clock now, ToolExecutor::CalendarFactory calendar);
    // The tools hold the server by reference, and the server calls the tools.
    ServedFolder(const ServedFolder&) = delete;
    ServedFolder& operator=(const ServedFolder&) = delete;

    MCPServer server;
    ToolExecutor tools;
};

} // namespace zelmor
