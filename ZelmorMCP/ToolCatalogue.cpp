// The read-only tools as data: what "tools/list" returns and what "tools/call" accepts.
// The descriptions steer how agents search, read and cite, so every character matters.
#include "ZelmorMCP/ToolCatalogue.h"

#include "ZelmorMCP/ToolExecutor.h"

#include <array>

namespace zelmor::ToolCatalogue {

namespace {

// The filters search_meetings and ask_meetings share.
Property participantFilter() {
    return {
        "participant",
        "string",
        {},
        R"(Only meetings whose participants list contains this name (case-insensitive substring, e.g. 'halden').)"};
}
Property dateFromFilter() {
    return {
        "date_from", "string", {}, R"(Earliest meeting date to include, inclusive, formatted yyyy-MM-dd.)"};
}
Property dateToFilter() {
    return {"date_to", "string", {}, R"(Latest meeting date to include, inclusive, formatted yyyy-MM-dd.)"};
}

/// The three tools every client gets, then ask_meetings, offered only with --ask-tool.
const std::array<Tool, 4>& table() {
    static const std::array<Tool, 4> table = {
        {
            {"search_meetings",
             "Search meeting transcripts",
             R"(Search the user's Zelmor meeting transcripts (speaker-labeled markdown files). Multi-term queries AND together — every space-separated term must match somewhere in a meeting (title, participants, notes, AI sections, or any transcript turn); wrap an exact phrase in "double quotes". Filters combine: query, participant name, inclusive date range. Results are newest-first by default (one row per meeting, with the absolute path to pass to read_meeting); for cross-history recall asks ('every decision about pricing', 'what do I owe Wenna') pass sort: 'relevance' — it ranks by match density (matching turns, plus title and participant hits), the response echoes the applied sort, and rows carry match_count plus up to three speaker-labeled snippets where terms matched the body (a hit in only the title or participants has match_count 0 and no snippet — still a real match). Recall flow: search (sort 'relevance') → shortlist 2–5 meetings from the snippets → read_meeting each → answer with citations (title + date). If nothing matches, say so honestly — never invent a meeting or a citation. Call with no arguments to list the most recent meetings. To summarize or act on the meetings you find WITHOUT a separate read_meeting call, pass include_content: true — each result then carries the full transcript. Pair that with a small limit (e.g. 1–3); transcripts are large.)",
             {
                 {"query",
                  "string",
                  {},
                  R"(Case-insensitive terms matched against title, participants, notes, AI sections, and every transcript turn. Space-separated terms must ALL match (AND); "double quotes" match an exact phrase. Body matches include speaker-labeled snippets.)"},
                 participantFilter(),
                 dateFromFilter(),
                 dateToFilter(),
                 {"sort",
                  "string",
                  {"newest", "relevance"},
                  R"(Result order. 'newest' (default) is chronological; 'relevance' ranks by match density (matching turns, title, participants; recency breaks ties) — use it for cross-history recall questions.)"},
                 {"limit", "integer", {}, R"(Maximum meetings to return (default 20, max 100).)"},
                 {"offset", "integer", {}, R"(Skip this many meetings for pagination (default 0).)"},
                 {"include_content",
                  "boolean",
                  {},
                  R"(When true, each result includes the meeting's full verbatim .md content, so you can summarize or act on it without a separate read_meeting call (one fewer tool-approval prompt). Pair with a small limit (1–3) — transcripts are large. Default false.)"},
             },
             {},
             &ToolExecutor::searchMeetings,
             "query"},
            {"read_meeting",
             "Read one meeting transcript",
             R"(Return one meeting's .md file verbatim: YAML frontmatter (title, date, started_at, participants, duration), the user's notes, the speaker-labeled transcript, and any AI summary sections. Only paths inside the transcript folder are readable.)",
             {{"path",
               "string",
               {},
               "Absolute path of the transcript, exactly as returned by search_meetings."}},
             {"path"},
             &ToolExecutor::readMeeting,
             nullptr},
            {"list_participants", "List meeting participants", R"(Aggregate everyone who appears in the user's meetings: name, number of meetings attended, and the most recent meeting's date and title. Entries with is_generic_label true are unrenamed 'Speaker N' diarization placeholders — per-meeting labels, not one person across meetings.)", {}, {}, &ToolExecutor::listParticipants, nullptr},
            {"ask_meetings",
             "Find the meetings that answer a question",
             R"(Find the meetings that answer a question asked in plain words ('what did Ana say about the pricing roadmap?', 'why did we drop the annual discount last month?'), best first. Prefer it over search_meetings when you have a question rather than exact words: it weighs every word of the question by how rare it is, so a meeting need not hold them all, favours meetings where the question's words stand together and where a speaker it names talks, and reads time phrases ('last week', 'in March', 'the last 3 meetings') as a date scope. Rows carry the path for read_meeting, relevance, the question's words each meeting holds, and up to three speaker-labeled snippets from the turns that carry the answer. Then read_meeting the best one or two and answer with citations (title + date); if nothing comes back, say so honestly — never invent a meeting or a citation. Use search_meetings to list meetings or to match exact words and phrases.)",
             {
                 {"question",
                  "string",
                  {},
                  R"(The question as the user asked it, in plain words. Time phrases in it ('last week', 'in October') narrow the dates.)"},
                 participantFilter(),
                 dateFromFilter(),
                 dateToFilter(),
                 {"limit", "integer", {}, R"(Maximum meetings to return (default 5, max 20).)"},
             },
             {"question"},
             &ToolExecutor::askMeetings,
             "question"},
        }};
    return table;
}

nlohmann::json schemaFor(const Tool& tool) {
    auto properties = nlohmann::json::object();
    for (const auto& property : tool.properties) {
        nlohmann::json schema = {{"type", property.type}, {"description", property.description}};
        if (!property.enumValues.empty()) schema["enum"] = property.enumValues;
        properties[std::string(property.name)] = std::move(schema);
    }
    nlohmann::json schema = {{"type", "object"}, {"properties", std::move(properties)}};
    if (!tool.required.empty()) schema["required"] = tool.required;
    return schema;
}

} // namespace

const nlohmann::json& readOnlyAnnotations() {
    static const nlohmann::json annotations = {{"readOnlyHint", true},
                                               {"destructiveHint", false},
                                               {"idempotentHint", true},
                                               {"openWorldHint", false}};
    return annotations;
}

std::span<const Tool> tools(bool withAskTool) {
    return std::span<const Tool>(table()).first(withAskTool ? 4 : 3);
}

const Tool* find(std::string_view name, bool withAskTool) {
    for (const Tool& tool : tools(withAskTool))
        if (tool.name == name) return &tool;
    return nullptr;
}

const nlohmann::json& toolDefinitions(bool withAskTool) {
    auto build = [](bool ask) {
        auto array = nlohmann::json::array();
        for (const Tool& tool : tools(ask)) {
            array.push_back({{"name", tool.name},
                             {"title", tool.title},
                             {"description", tool.description},
                             {"inputSchema", schemaFor(tool)},
                             {"annotations", readOnlyAnnotations()}});
        }
        return array;
    };
    static const nlohmann::json three = build(false), four = build(true);
    return withAskTool ? four : three;
}

} // namespace zelmor::ToolCatalogue
