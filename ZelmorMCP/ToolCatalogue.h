// The tool catalogue: the three tools' definitions, built once and reused unchanged.
#pragma once

#include <nlohmann/json.hpp>
#include <string_view>

namespace zelmor::ToolCatalogue {

/// The "tools" array of "tools/list": search_meetings, read_meeting, list_participants, in that order.
const nlohmann::json& toolDefinitions();

/// The annotations every tool carries: read-only, not destructive, idempotent, closed world.
const nlohmann::json& readOnlyAnnotations();

/// True for the three tool names that "tools/call" accepts.
bool isKnownTool(std::string_view name);

} // namespace zelmor::ToolCatalogue
