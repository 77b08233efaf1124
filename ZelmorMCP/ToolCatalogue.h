// The tool catalogue: the three tools' definitions, built once and reused unchanged.
#pragma once

#include <nlohmann/json.hpp>
#include <string_view>

namespace zelmor::ToolCatalogue {

/// The "tools" array of "tools/list": search_meetings, read_meeting, list_participants, in that
/// order, and ask_meetings last when the server was started with --ask-tool.
const nlohmann::json& toolDefinitions(bool withAskTool = false);

/// The annotations every tool carries: read-only, not destructive, idempotent, closed world.
const nlohmann::json& readOnlyAnnotations();

/// True for the tool names that "tools/call" accepts.
bool isKnownTool(std::string_view name, bool withAskTool = false);

} // namespace zelmor::ToolCatalogue
