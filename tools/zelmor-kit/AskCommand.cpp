// zelmor-kit ask: answers a question from the meetings — time phrases become a date scope, the
// rest is ranked by the question ranking (rare words, words side by side, named speakers), and
// the best meetings are shown with the turns that carry the answer. Without dates in the
// question it looks back a short window and widens it while too few meetings match.
#include "Commands.h"
#include "Printable.h"

#include "ZelmorMCP/MeetingStore.h"
#include "ZelmorMCP/TranscriptFolderResolver.h"
#include "ZelmorMarkdownKit/activity/AgentActivityFeed.h"
#include "ZelmorMarkdownKit/answer/Participation.h"
#include "ZelmorMarkdownKit/answer/QuestionRanking.h"
#include "ZelmorMarkdownKit/answer/ScopingPolicy.h"
#include "ZelmorMarkdownKit/answer/SpeakerIdentity.h"
#include "ZelmorMarkdownKit/answer/TimeScopeParser.h"
#include "ZelmorMarkdownKit/text/JSONWriter.h"
#include "platform/FileSystem.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>

namespace zelmor::kitcli {

namespace {

// A meeting where the user spoke in substance (twice at least) ranks a quarter higher. A window
// is thin while fewer than 3 meetings in it match the question: a busy calendar fills any
// window with meetings, but only matching ones answer.
constexpr double participationBoost = 0.25;
constexpr long long participationMinTurns = 2;
constexpr int thinBelow = 3;
const std::vector<int> wideningSteps{30, 90, 365, 3650};

struct AskSettings {
    std::vector<std::string> words;
    std::string folder;
    std::string userName;
    int limit = 5;
    bool json = false;
};

constexpr const char* askFooter =
    "Time phrases such as \"last week\", \"in March\", \"since 2025-01-01\" or \"the last 3 meetings\"\n"
    "limit the meetings searched. The rest of the question is ranked: rarer words weigh more, a\n"
    "meeting need not hold every word, words that only say what answer is wanted (\"discuss\",\n"
    "\"summarize\", \"decide\") weigh nothing, and words side by side as in the question, the title\n"
    "and a speaker the question names count more. A question without dates looks back 14 days (or\n"
    "as far as a look-ahead phrase such as \"next week\" suggests, 7 to 30 days) and widens to 30,\n"
    "90, 365 and 3650 days while fewer than 3 meetings in the range match. With --as NAME, meetings\n"
    "where NAME (or \"Me\") spoke at least twice in substance rank a quarter higher. No meeting is\n"
    "shown when no meeting in the range holds any of the question's words.\n"
    "For tests, ZELMOR_NOW=<ISO 8601 UTC time, e.g. 2026-11-22T12:00:00Z> replaces the clock.\n"
    "Exit status: 0 with or without answers, 1 when the folder cannot be read.";

/// ZELMOR_NOW (an ISO 8601 UTC time) stands in for the clock, so that tests can ask about
/// "last month" against fixed example meetings.
std::chrono::system_clock::time_point currentTime() {
    if (const char* fixed = std::getenv("ZELMOR_NOW"))
        if (auto parsed = AgentActivityFeed::parsedTimestamp(fixed)) return *parsed;
    return std::chrono::system_clock::now();
}

std::string joined(const std::vector<std::string>& words, const char* separator) {
    std::string text;
    for (const auto& word : words) text += (text.empty() ? "" : separator) + word;
    return text;
}

std::string rangeText(const AnswerScope& scope) {
    if (scope.lastN)
        return "the last " + std::to_string(*scope.lastN) + (*scope.lastN == 1 ? " meeting" : " meetings");
    std::string from = scope.dateFrom.value_or(""), to = scope.dateTo.value_or("");
    if (!from.empty() && !to.empty()) return from == to ? from : from + " to " + to;
    if (!from.empty()) return "meetings since " + from;
    if (!to.empty()) return "meetings up to " + to;
    return "all meetings";
}

std::string formatted(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3f", value);
    return text;
}

/// One ranking over the meetings a scope admits.
struct Answer {
    std::vector<const MeetingStore::Meeting*> scanned;
    std::vector<QuestionRanking::Hit> hits;
};

Answer answer(const std::vector<MeetingStore::Meeting>& meetings, const AnswerScope& scope,
              const std::string& question, const std::optional<SpeakerIdentity>& user) {
    Answer result;
    result.scanned = MeetingStore::admitted(meetings, scope);
    std::vector<const TranscriptDocument*> documents;
    for (const auto* meeting : result.scanned) documents.push_back(&meeting->doc);
    result.hits = QuestionRanking::rank(documents, question);
    if (user) {
        for (auto& hit : result.hits)
            if (Participation::spoke(*documents[hit.index], *user, participationMinTurns))
                hit.relevance *= 1 + participationBoost;
        std::stable_sort(result.hits.begin(), result.hits.end(),
                         [](const auto& a, const auto& b) { return a.relevance > b.relevance; });
    }
    return result;
}

int runAsk(const AskSettings& settings) {
    std::string question = joined(settings.words, " ");
    std::string home = platform::homeDirectory();
    TranscriptFolderResolver resolver{home, std::nullopt};
    if (!settings.folder.empty())
        resolver.overrideFolder = platform::absolutePath(platform::expandTilde(settings.folder, home));
    MeetingStore store(resolver.resolve(), resolver.memoryFolderName());

    std::vector<MeetingStore::Meeting> meetings;
    try {
        meetings = store.scan();
    } catch (const MeetingStore::StoreError& error) {
        std::cerr << "zelmor-kit ask: no transcripts folder at " << printable(error.path) << "\n";
        return 1;
    }

    const auto now = currentTime();
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Calendar> calendar(icu::Calendar::createInstance(status));
    if (U_FAILURE(status) || !calendar) {
        std::cerr << "zelmor-kit ask: the system calendar is unavailable\n";
        return 1;
    }
    std::optional<SpeakerIdentity> user;
    if (!settings.userName.empty()) user = SpeakerIdentity::fromUserName(settings.userName);

    auto parse = TimeScopeParser::parse(question, now, *calendar);
    // Dates or a meeting count in the question are taken as asked; otherwise a look-back window.
    const bool scoped = parse.scope.dateFrom || parse.scope.dateTo || parse.scope.lastN;
    std::optional<ScopingPolicy::Window> window;
    if (!scoped) window = ScopingPolicy::window(parse.horizonDays, now, *calendar);
    AnswerScope scope = window ? parse.scope.merging(window->scope()) : parse.scope;
    Answer result = answer(meetings, scope, parse.strippedQuestion, user);
    while (window) {
        auto wider = ScopingPolicy::widen(*window, static_cast<int>(result.hits.size()), thinBelow,
                                          wideningSteps, now, *calendar);
        if (!wider) break;
        window = std::move(wider);
        scope = parse.scope.merging(window->scope());
        result = answer(meetings, scope, parse.strippedQuestion, user);
    }
    if (result.hits.size() > static_cast<size_t>(std::max(settings.limit, 0)))
        result.hits.resize(static_cast<size_t>(std::max(settings.limit, 0)));
    const long long scanned = static_cast<long long>(result.scanned.size());

    const auto keywords = QuestionRanking::keywords(parse.strippedQuestion);
    if (settings.json) {
        nlohmann::json hits = nlohmann::json::array();
        for (const auto& hit : result.hits) {
            const auto& meeting = *result.scanned[hit.index];
            hits.push_back({{"path", meeting.path},
                            {"title", meeting.doc.title},
                            {"date", meeting.doc.date},
                            {"relevance", hit.relevance},
                            {"matched_keywords", hit.matchedKeywords},
                            {"snippets", QuestionRanking::snippets(meeting.doc, hit)}});
        }
        nlohmann::json reply = {{"question", question},
                                {"keywords", keywords},
                                {"scope", scope},
                                {"scanned", scanned},
                                {"hits", std::move(hits)}};
        if (!parse.matchedPhrases.empty()) reply["time_phrases"] = parse.matchedPhrases;
        if (window && window->note) reply["note"] = *window->note;
        std::cout << JSONWriter::pretty(reply).value_or("{}") << "\n";
        return 0;
    }

    if (window && window->note) std::cout << *window->note << "\n";
    const std::string range = rangeText(scope);
    if (keywords.empty()) {
        std::cout << "The question has no words to look for beyond its time phrases.\n";
        return 0;
    }
    const std::string searched =
        " (" + std::to_string(scanned) + (scanned == 1 ? " meeting" : " meetings") + " searched)";
    if (result.hits.empty()) {
        std::cout << "No meeting in " << range << " mentions " << joined(keywords, ", ") << searched << ".\n";
        return 0;
    }
    std::cout << "Best matches in " << range << searched << ":\n";
    int rank = 0;
    for (const auto& hit : result.hits) {
        const auto& meeting = *result.scanned[hit.index];
        std::string title = meeting.doc.title.empty() ? "(untitled)" : meeting.doc.title;
        std::cout << "\n"
                  << ++rank << ". " << printable(title) << " \u2014 " << meeting.doc.date << "\n"
                  << "   " << printable(meeting.path) << "\n"
                  << "   relevance " << formatted(hit.relevance) << ", " << hit.matchedKeywords.size()
                  << " of " << keywords.size() << (keywords.size() == 1 ? " keyword" : " keywords") << "\n";
        for (const auto& snippet : QuestionRanking::snippets(meeting.doc, hit))
            std::cout << "   " << printable(snippet) << "\n";
    }
    return 0;
}

} // namespace

void registerAskCommand(CLI::App& app, int& exitStatus) {
    auto settings = std::make_shared<AskSettings>();
    CLI::App* command = app.add_subcommand("ask", "Find the meetings that answer a question, with snippets.");
    command
        ->add_option("question", settings->words,
                     "The question, e.g. \"what did we decide about pricing last month?\"")
        ->required();
    command->add_option("--folder", settings->folder,
                        "Transcripts folder (default: the folder zelmor-mcp serves)");
    command->add_option("--as", settings->userName,
                        "Your name as it appears in transcripts, to favour meetings you spoke in");
    command->add_option("--limit", settings->limit, "Most meetings to show (default 5)");
    command->add_flag("--json", settings->json, "Print one JSON object instead of text");
    command->footer(askFooter);
    command->callback([settings, &exitStatus] { exitStatus = runAsk(*settings); });
}

} // namespace zelmor::kitcli
