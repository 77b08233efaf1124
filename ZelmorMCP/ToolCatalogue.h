// The tool catalogue: the tools' definitions, built once and reused unchanged.
#pragma once

#include <nlohmann/json.hpp>
#include <string_view>
#include <vector>

namespace zelmor::ToolCatalogue {

/// The "tools" array of "tools/list": search_meetings, read_meeting, list_participants, in that
/// order, and ask_meetings last when the server was started with --ask-tool.
const nlohmann::json& toolDefinitions(bool withAskTool = false);

/// The annotations every tool carries: read-only, not destructive, idempotent, closed world.
const nlohmann::json& readOnlyAnnotations();

/// True for the tool names that "tools/call" accepts.
bool isKnownTool(std::string_view name, bool withAskTool = false);

/// The offered tools' names, in the order of `toolDefinitions`.
std::vector<std::string_view> toolNames(bool withAskTool = false);

} // namespace zelmor::ToolCatalogue
