// The tool catalogue: one row per tool, holding everything about it (its definition for
// "tools/list", what runs a call, what the activity feed shows), built once and reused unchanged.
#pragma once

#include <nlohmann/json.hpp>
#include <span>
#include <string_view>
#include <vector>

namespace zelmor {

struct MeetingStore;
class ToolExecutor;

namespace ToolCatalogue {

struct Property {
    std::string_view name;
    std::string_view type;
    std::vector<std::string_view> enumValues;
    std::string_view description;
};

struct Tool {
    std::string_view name;
    std::string_view title;
    std::string_view description;
    std::vector<Property> properties;
    std::vector<std::string_view> required;
    /// Runs a call over a fresh store and returns the MCP tool result.
    nlohmann::json (ToolExecutor::*run)(const MeetingStore& store, const nlohmann::json& arguments) const;
    /// The string argument the activity feed shows as the call's detail, or null when the tool
    /// makes its detail otherwise (read_meeting: the meeting's title) or has none.
    const char* feedDetail;
};

/// search_meetings, read_meeting, list_participants, in that order, and ask_meetings last when
/// the server was started with --ask-tool.
std::span<const Tool> tools(bool withAskTool = false);

/// The offered tool of that name, or null.
const Tool* find(std::string_view name, bool withAskTool = false);

/// The "tools" array of "tools/list".
const nlohmann::json& toolDefinitions(bool withAskTool = false);

/// The annotations every tool carries: read-only, not destructive, idempotent, closed world.
const nlohmann::json& readOnlyAnnotations();

} // namespace ToolCatalogue
} // namespace zelmor
