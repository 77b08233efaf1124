// "tools/call": runs one of the tools over a fresh store (one row per tool), shapes the MCP tool result,
// turns store failures into messages for the agent, and records the call in the activity files.
#pragma once

#include "ZelmorMCP/MCPServer.h"
#include "ZelmorMCP/MeetingStore.h"

#include <chrono>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <unicode/calendar.h>

namespace zelmor {

class ToolExecutor {
public:
    using Clock = std::function<std::chrono::system_clock::time_point()>;
    /// The user's calendar and time zone, made afresh for each call so that a change of time
    /// zone while the server runs is seen.
    using CalendarFactory = std::function<std::unique_ptr<icu::Calendar>()>;

    ToolExecutor(const MCPServer& server, Clock now, CalendarFactory calendar);

    /// The complete JSON-RPC reply to a "tools/call" request.
    nlohmann::json toolCall(const nlohmann::json& id, const nlohmann::json& params) const;

    /// The one place where store failures become text for the agent.
    static std::string describe(const MeetingStore::StoreError& error);

    static nlohmann::json jsonToolResult(const nlohmann::json& data);
    static nlohmann::json textToolResult(const std::string& text);

    static nlohmann::json searchMeetings(const MeetingStore& store, const nlohmann::json& arguments);
    /// One row of a search page. With `includeContent` the file is read here, after the scan, so
    /// a file gone since then throws `notFound` and fails the whole call.
    static nlohmann::json searchRow(const MeetingStore& store, const MeetingStore::SearchHit& hit,
                                    bool hasQuery, bool includeContent);
    static nlohmann::json readMeeting(const MeetingStore& store, const nlohmann::json& arguments);
    static nlohmann::json listParticipants(const MeetingStore& store);
    /// ask_meetings: the meetings that answer a question, best first, within the scope of its
    /// time phrases and the filters.
    nlohmann::json askMeetings(const MeetingStore& store, const nlohmann::json& arguments) const;

    /// The title of the transcript in a read_meeting result, or nothing.
    static std::optional<std::string> titleFromReadResult(const nlohmann::json& result);

private:
    void recordFeedEntry(const std::string& tool, const nlohmann::json& arguments,
                         const nlohmann::json& result, const std::string& supportDirectory) const;

    const MCPServer& server_;
    Clock now_;
    CalendarFactory calendar_;
};

} // namespace zelmor
