// "tools/call": runs one of the catalogue's tools over a fresh store, shapes the MCP tool result,
// turns store failures into messages for the agent, and records the call in the activity files.
#pragma once

#include "ZelmorMCP/MCPClientContext.h"
#include "ZelmorMCP/MCPServer.h"
#include "ZelmorMCP/MeetingStore.h"
#include "ZelmorMCP/TranscriptFolderResolver.h"

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <unicode/calendar.h>

namespace zelmor {

class ToolExecutor final : public MCPServer::Tools {
public:
    /// Who started the agent run; decides what the activity files record.
    enum class ActivityAttribution { user, zelmorTriggered, probe };
    using Clock = std::function<std::chrono::system_clock::time_point()>;
    /// The user's calendar and time zone, made afresh for each call so that a change of time
    /// zone while the server runs is seen.
    using CalendarFactory = std::function<std::unique_ptr<icu::Calendar>()>;

    /// ZELMOR_CONNECT_PROBE=1 wins over ZELMOR_TRIGGERED_RUN=1; any other value counts as unset.
    static ActivityAttribution attribution(const std::map<std::string, std::string>& environment);

    ToolExecutor(TranscriptFolderResolver resolver, ActivityAttribution attribution, Clock now,
                 CalendarFactory calendar);

    /// Offers ask_meetings beside the three tools (--ask-tool).
    void enableAskTool() { askTool_ = true; }
    const TranscriptFolderResolver& resolver() const { return resolver_; }

    const nlohmann::json& definitions() const override;
    Outcome call(const nlohmann::json& params) const override;
    void clientNamed(std::string name) override { clientContext_.name = std::move(name); }

    /// The one place where store failures become text for the agent.
    static std::string describe(const MeetingStore::StoreError& error);

    static nlohmann::json jsonToolResult(const nlohmann::json& data);
    static nlohmann::json textToolResult(const std::string& text);

    // The tools, each returning its MCP tool result.
    nlohmann::json searchMeetings(const MeetingStore& store, const nlohmann::json& arguments) const;
    nlohmann::json readMeeting(const MeetingStore& store, const nlohmann::json& arguments) const;
    nlohmann::json listParticipants(const MeetingStore& store, const nlohmann::json& arguments) const;
    /// ask_meetings: the meetings that answer a question, best first, within the scope of its
    /// time phrases and the filters.
    nlohmann::json askMeetings(const MeetingStore& store, const nlohmann::json& arguments) const;

    /// One row of a search page. With `includeContent` the file is read here, after the scan, so
    /// a file gone since then throws `notFound` and fails the whole call.
    static nlohmann::json searchRow(const MeetingStore& store, const MeetingStore::SearchHit& hit,
                                    bool hasQuery, bool includeContent);

    /// The title of the transcript in a read_meeting result, or nothing.
    static std::optional<std::string> titleFromReadResult(const nlohmann::json& result);

private:
    void recordFeedEntry(std::string_view tool, const char* feedDetail, const nlohmann::json& arguments,
                         const nlohmann::json& result, const std::string& supportDirectory) const;

    TranscriptFolderResolver resolver_;
    ActivityAttribution attribution_;
    Clock now_;
    CalendarFactory calendar_;
    MCPClientContext clientContext_;
    bool askTool_ = false;
};

} // namespace zelmor
