// Tool execution: argument reading, result shapes and messages are part of what agents rely on,
// so they are kept exactly; activity recording never lets a failure reach the client.
#include "ZelmorMCP/ToolExecutor.h"

#include "ZelmorMCP/ToolCatalogue.h"
#include "ZelmorMarkdownKit/activity/AgentActivityFeed.h"
#include "ZelmorMarkdownKit/activity/AgentActivityLog.h"
#include "ZelmorMarkdownKit/answer/QuestionRanking.h"
#include "ZelmorMarkdownKit/answer/TimeScopeParser.h"
#include "ZelmorMarkdownKit/format/MarkdownTranscriptParser.h"
#include "ZelmorMarkdownKit/text/JSONWriter.h"
#include "ZelmorMarkdownKit/text/Whitespace.h"
#include "ZelmorMarkdownKit/text/Workers.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace zelmor {

namespace {

using json = nlohmann::json;

std::optional<std::string> stringArgument(const json& arguments, const char* key) {
    auto found = arguments.find(key);
    if (found == arguments.end() || !found->is_string()) return std::nullopt;
    return found->get<std::string>();
}

/// Numbers are truncated toward zero and booleans read as 1 or 0; anything else is absent.
std::optional<long long> integerArgument(const json& arguments, const char* key) {
    auto found = arguments.find(key);
    if (found == arguments.end()) return std::nullopt;
    if (found->is_boolean()) return found->get<bool>() ? 1 : 0;
    if (found->is_number_unsigned()) {
        auto value = found->get<std::uint64_t>();
        return value > static_cast<std::uint64_t>(std::numeric_limits<long long>::max())
                   ? std::numeric_limits<long long>::max()
                   : static_cast<long long>(value);
    }
    if (found->is_number_integer()) return found->get<long long>();
    if (found->is_number_float()) {
        double value = std::trunc(found->get<double>());
        if (std::isnan(value)) return 0;
        if (value >= 9.2e18) return std::numeric_limits<long long>::max();
        if (value <= -9.2e18) return std::numeric_limits<long long>::min();
        return static_cast<long long>(value);
    }
    return std::nullopt;
}

/// JSON true, or a number equal to 1, as a boolean bridged from a number reads.
bool flagArgument(const json& arguments, const char* key) {
    auto found = arguments.find(key);
    if (found == arguments.end()) return false;
    if (found->is_boolean()) return found->get<bool>();
    if (found->is_number()) return found->get<double>() == 1.0;
    return false;
}

/// The last path component without its extension, as a path library names a file.
std::string fileStem(std::string path) {
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    size_t slash = path.rfind('/');
    std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    size_t dot = name.rfind('.');
    if (dot != std::string::npos && dot > 0) name.erase(dot);
    return name;
}

} // namespace

ToolExecutor::ActivityAttribution
ToolExecutor::attribution(const std::map<std::string, std::string>& environment) {
    auto isOne = [&](const char* name) {
        auto found = environment.find(name);
        return found != environment.end() && found->second == "1";
    };
    if (isOne("ZELMOR_CONNECT_PROBE")) return ActivityAttribution::probe;
    if (isOne("ZELMOR_TRIGGERED_RUN")) return ActivityAttribution::zelmorTriggered;
    return ActivityAttribution::user;
}

ToolExecutor::ToolExecutor(TranscriptFolderResolver resolver, ActivityAttribution attribution, Clock now,
                           CalendarFactory calendar)
    : resolver_(std::move(resolver)), attribution_(attribution), now_(std::move(now)),
      calendar_(std::move(calendar)) {}

const json& ToolExecutor::definitions() const {
    return ToolCatalogue::toolDefinitions(askTool_);
}

std::string ToolExecutor::describe(const MeetingStore::StoreError& error) {
    using Kind = MeetingStore::StoreError::Kind;
    const std::string& path = error.path;
    switch (error.kind) {
    case Kind::folderMissing:
        return "Transcript folder not found at " + path +
               ". Zelmor may not have recorded any meetings yet, or the folder moved — check "
               "output_folder_display_path in ~/Library/Application Support/Zelmor/config.json.";
    case Kind::outsideFolder:
        return "Refused: " + path +
               " is outside the transcript folder. Pass a path exactly as returned by search_meetings.";
    case Kind::notMarkdown:
        return "Refused: " + path +
               " is not a .md transcript file. Pass a path exactly as returned by search_meetings.";
    case Kind::notFound:
        return "No transcript at " + path +
               ". It may have been renamed or filed into a subfolder — re-run search_meetings for a fresh "
               "path.";
    case Kind::notZelmorTranscript:
        return "Refused: " + path + " is not a Zelmor transcript (no 'source: Zelmor').";
    case Kind::skillFile:
        return "Refused: " + path +
               " is one of the user's skills, not a meeting. Pass a path exactly as returned by "
               "search_meetings.";
    }
    return "Unexpected error: " + path;
}

json ToolExecutor::jsonToolResult(const json& data) {
    return {{"content", json::array({{{"type", "text"}, {"text", JSONWriter::pretty(data).value_or("{}")}}})},
            {"structuredContent", data},
            {"isError", false}};
}

json ToolExecutor::textToolResult(const std::string& text) {
    return {{"content", json::array({{{"type", "text"}, {"text", text}}})}, {"isError", false}};
}

ToolExecutor::Outcome ToolExecutor::call(const json& params) const {
    auto nameMember = params.find("name");
    if (nameMember == params.end() || !nameMember->is_string())
        return {{}, "Invalid params: missing tool name"};
    const std::string& name = nameMember->get_ref<const std::string&>();
    const ToolCatalogue::Tool* tool = ToolCatalogue::find(name, askTool_);
    if (!tool) {
        std::string available;
        for (const ToolCatalogue::Tool& offered : ToolCatalogue::tools(askTool_))
            available += (available.empty() ? "" : ", ") + std::string(offered.name);
        return {{}, "Unknown tool: " + name + ". Available tools: " + available};
    }
    static const json emptyArguments = json::object();
    auto argumentsMember = params.find("arguments");
    const json& arguments =
        argumentsMember != params.end() && argumentsMember->is_object() ? *argumentsMember : emptyArguments;

    auto folders = resolver_.folders();
    MeetingStore store(std::move(folders.transcripts), std::move(folders.memoryFolderName));
    const std::string support = resolver_.supportDirectory();
    const bool probe = attribution_ == ActivityAttribution::probe;

    // Counted before the tool runs, so failed calls count too. The activity files are the app's
    // business: no failure there (not even running out of memory) may fail the call.
    if (!probe) {
        try {
            if (auto calendar = calendar_())
                AgentActivityLog::recordCall(name, AgentActivityLog::fileURL(support), now_(), *calendar);
        } catch (...) {
        }
    }

    json result;
    try {
        result = (this->*tool->run)(store, arguments);
    } catch (const MeetingStore::StoreError& error) {
        result = MCPServer::toolErrorResult(describe(error));
    } catch (const std::exception& error) {
        result = MCPServer::toolErrorResult(std::string("Unexpected error: ") + error.what());
    }

    if (!probe && !result.value("isError", false)) {
        try {
            recordFeedEntry(tool->name, tool->feedDetail, arguments, result, support);
        } catch (...) {
        }
    }
    return {std::move(result), std::nullopt};
}

void ToolExecutor::recordFeedEntry(std::string_view tool, const char* feedDetail, const json& arguments,
                                   const json& result, const std::string& supportDirectory) const {
    AgentActivityFeed::Entry entry;
    entry.ts = now_();
    entry.tool = std::string(tool);
    if (feedDetail) {
        if (auto asked = stringArgument(arguments, feedDetail)) {
            std::string trimmed(Whitespace::trim(*asked));
            if (!trimmed.empty()) entry.detail = trimmed;
        }
    } else if (tool == "read_meeting") {
        auto path = stringArgument(arguments, "path");
        if (!path || path->empty()) return;
        entry.path = *path;
        entry.detail = titleFromReadResult(result).value_or(fileStem(*path));
    }
    entry.triggered = attribution_ == ActivityAttribution::zelmorTriggered;
    entry.client = clientContext_.name;
    if (auto calendar = calendar_()) AgentActivityFeed::append(entry, supportDirectory, now_(), *calendar);
}

json ToolExecutor::searchMeetings(const MeetingStore& store, const json& arguments) const {
    MeetingStore::SearchFilters filters;
    filters.query = stringArgument(arguments, "query");
    filters.participant = stringArgument(arguments, "participant");
    filters.dateFrom = stringArgument(arguments, "date_from");
    filters.dateTo = stringArgument(arguments, "date_to");
    filters.sort = stringArgument(arguments, "sort");
    if (auto limit = integerArgument(arguments, "limit")) filters.limit = *limit;
    if (auto offset = integerArgument(arguments, "offset")) filters.offset = *offset;
    const bool includeContent = flagArgument(arguments, "include_content");
    const bool hasQuery = filters.query && !filters.query->empty();

    auto found = store.search(filters);
    auto rows = json::array();
    for (const auto& hit : found.hits) rows.push_back(searchRow(store, hit, hasQuery, includeContent));
    const auto count = static_cast<long long>(rows.size());
    const bool relevance = filters.ordersByRelevance();
    return jsonToolResult({{"total", found.total},
                           {"count", count},
                           {"offset", found.offset},
                           {"has_more", found.offset + count < found.total},
                           {"sort", relevance ? "relevance" : "newest"},
                           {"meetings", std::move(rows)}});
}

json ToolExecutor::searchRow(const MeetingStore& store, const MeetingStore::SearchHit& hit, bool hasQuery,
                             bool includeContent) {
    const auto& doc = hit.meeting.doc;
    json row = {{"path", hit.meeting.path},
                {"title", doc.title},
                {"date", doc.date},
                {"participants", doc.participants},
                {"duration_min", doc.durationMin}};
    if (!doc.startedAt.empty()) row["started_at"] = doc.startedAt;
    if (!doc.asr.empty()) row["asr"] = doc.asr;
    if (!hit.snippets.empty()) {
        row["snippet"] = hit.snippets.front();
        row["snippets"] = hit.snippets;
    }
    if (hasQuery) row["match_count"] = hit.matchCount;
    if (includeContent) row["content"] = store.readInsideFolder(hit.meeting.path);
    return row;
}

json ToolExecutor::readMeeting(const MeetingStore& store, const json& arguments) const {
    auto path = stringArgument(arguments, "path");
    if (!path || path->empty())
        return MCPServer::toolErrorResult("Missing required argument 'path'. Pass the transcript path "
                                          "exactly as returned by search_meetings.");
    return textToolResult(store.readInsideFolder(*path));
}

json ToolExecutor::askMeetings(const MeetingStore& store, const json& arguments) const {
    auto question = stringArgument(arguments, "question");
    if (!question || Whitespace::trim(*question).empty())
        return MCPServer::toolErrorResult("Missing required argument 'question'. Ask in plain words, e.g. "
                                          "\"what did we decide about pricing?\"");
    auto calendar = calendar_();
    if (!calendar) return MCPServer::toolErrorResult("Unexpected error: the calendar is unavailable");
    // Time phrases narrow the dates and leave the rest of the question to rank by.
    TimeScopeParser::Parse parsed = TimeScopeParser::parse(*question, now_(), *calendar);
    AnswerScope filters;
    filters.participant = stringArgument(arguments, "participant");
    filters.dateFrom = stringArgument(arguments, "date_from");
    filters.dateTo = stringArgument(arguments, "date_to");
    AnswerScope scope = parsed.scope.merging(filters);
    const long long limit = std::clamp(integerArgument(arguments, "limit").value_or(5), 1LL, 20LL);

    // Each meeting is weighed as it is read and only its frontmatter and what ranks it are kept,
    // so that memory stays small for a large folder; the few rows shown are read again for their
    // answer turns and snippets.
    const QuestionRanking::Question asked(parsed.strippedQuestion);
    struct Weighed {
        MeetingStore::Meeting meeting;
        QuestionRanking::Evidence evidence;
    };
    auto weighed = store.collect([&](MeetingStore::FileVisit& file) -> std::optional<Weighed> {
        // Dates and participant need only the frontmatter (the scope here never restricts the
        // speaker): a meeting outside them is never parsed.
        if (!scope.admits(file.path, file.header)) return std::nullopt;
        Weighed found{{file.path, {}},
                      asked.evidence(file.text, file.header, QuestionRanking::Question::Keep::counts)};
        TranscriptDocument& kept = found.meeting.doc;
        kept.title = std::move(file.header.title);
        kept.date = std::move(file.header.date);
        kept.startedAt = std::move(file.header.startedAt);
        kept.participants = std::move(file.header.participants);
        kept.durationMin = file.header.durationMin;
        return found;
    });
    if (scope.lastN)
        weighed.resize(std::min(weighed.size(), static_cast<size_t>(std::max(*scope.lastN, 0LL))));
    std::vector<QuestionRanking::Evidence> evidence;
    for (auto& one : weighed) evidence.push_back(std::move(one.evidence));
    auto hits = asked.rank(evidence);
    const auto weights = asked.weights(evidence);

    // The rows shown are read again side by side: long meetings take a while each.
    const size_t shown = std::min(hits.size(), static_cast<size_t>(limit));
    std::vector<std::vector<std::string>> snippets(shown);
    Workers::forEachIndex(shown, Workers::count(0, shown), [&](size_t i, unsigned) {
        try {
            if (auto text = MeetingStore::readTextAgain(weighed[hits[i].index].meeting.path))
                snippets[i] = asked.snippets(*text, hits[i], weights);
        } catch (...) {
            // A file that cannot be read again (gone, out of memory) shows no snippets.
        }
    });
    auto rows = json::array();
    for (size_t i = 0; i < shown; ++i) {
        const QuestionRanking::Hit& hit = hits[i];
        const MeetingStore::Meeting& meeting = weighed[hit.index].meeting;
        const TranscriptDocument& doc = meeting.doc;
        json row = {{"path", meeting.path},
                    {"title", doc.title},
                    {"date", doc.date},
                    {"participants", doc.participants},
                    {"duration_min", doc.durationMin},
                    {"relevance", std::round(hit.relevance * 1000) / 1000},
                    {"matched_keywords", hit.matchedKeywords}};
        if (!doc.startedAt.empty()) row["started_at"] = doc.startedAt;
        row["snippets"] = std::move(snippets[i]);
        rows.push_back(std::move(row));
    }
    json data = {{"question", *question},
                 {"total", hits.size()},
                 {"count", rows.size()},
                 {"meetings", std::move(rows)}};
    if (!parsed.matchedPhrases.empty()) {
        json scoped = json::object();
        if (parsed.scope.dateFrom) scoped["date_from"] = *parsed.scope.dateFrom;
        if (parsed.scope.dateTo) scoped["date_to"] = *parsed.scope.dateTo;
        if (parsed.scope.lastN) scoped["last_meetings"] = *parsed.scope.lastN;
        scoped["phrases"] = parsed.matchedPhrases;
        data["time_scope"] = std::move(scoped);
    }
    return jsonToolResult(data);
}

json ToolExecutor::listParticipants(const MeetingStore& store, const json&) const {
    auto rows = json::array();
    for (const auto& summary : store.participants()) {
        rows.push_back({{"name", summary.name},
                        {"meeting_count", summary.meetingCount},
                        {"last_meeting_date", summary.lastMeetingDate},
                        {"last_meeting_title", summary.lastMeetingTitle},
                        {"is_generic_label", summary.isGenericLabel}});
    }
    return jsonToolResult({{"total", rows.size()}, {"participants", std::move(rows)}});
}

std::optional<std::string> ToolExecutor::titleFromReadResult(const json& result) {
    auto content = result.find("content");
    if (content == result.end() || !content->is_array() || content->empty()) return std::nullopt;
    const json& first = content->front();
    if (!first.is_object()) return std::nullopt;
    auto text = first.find("text");
    if (text == first.end() || !text->is_string()) return std::nullopt;
    auto doc = MarkdownTranscriptParser::parse(text->get_ref<const std::string&>());
    if (!doc || doc->title.empty()) return std::nullopt;
    return doc->title;
}

} // namespace zelmor
