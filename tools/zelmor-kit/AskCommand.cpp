// zelmor-kit ask: answers a question from the meetings — time phrases become a date scope, the
// rest is ranked by keyword rarity, frequency and recency, and the best meetings are shown with
// snippets. Without dates in the question it looks back a short window and widens it when thin.
#include "Commands.h"

#include "ZelmorMCP/MeetingStore.h"
#include "ZelmorMCP/TranscriptFolderResolver.h"
#include "ZelmorMarkdownKit/AgentActivityFeed.h"
#include "ZelmorMarkdownKit/AnswerRanking.h"
#include "ZelmorMarkdownKit/JSONWriter.h"
#include "ZelmorMarkdownKit/QueryTokenizer.h"
#include "ZelmorMarkdownKit/ScopingPolicy.h"
#include "ZelmorMarkdownKit/SpeakerIdentity.h"
#include "ZelmorMarkdownKit/TimeScopeParser.h"
#include "platform/FileSystem.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>

namespace zelmor::kitcli {

namespace {

// Defaults chosen for a personal meeting history: a month's half-life keeps recent meetings
// ahead without hiding older ones; refusing when half the question's weight is on words no
// meeting holds avoids confident answers about things never discussed.
constexpr double saturationK = 1.2;
constexpr double halfLifeDays = 30;
constexpr double unmatchedMassLimit = 0.5;
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
    "limit the meetings searched; the rest of the question is matched as keywords (rarer words\n"
    "weigh more, recent meetings rank higher). A question without dates looks back 14 days (or as\n"
    "far as a look-ahead phrase such as \"next week\" suggests, 7 to 30 days) and widens to 30, 90,\n"
    "365 and 3650 days while fewer than 3 meetings fall inside. With --as NAME, meetings where NAME\n"
    "(or \"Me\") spoke at least twice in substance rank a quarter higher. No meeting is shown when\n"
    "more than half of the keywords' weight lies on keywords no meeting in the range holds.\n"
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
    if (scope.lastN) return "the last " + std::to_string(*scope.lastN) + (*scope.lastN == 1 ? " meeting" : " meetings");
    std::string from = scope.dateFrom.value_or(""), to = scope.dateTo.value_or("");
    if (!from.empty() && !to.empty()) return from == to ? from : from + " to " + to;
    if (!from.empty()) return "meetings since " + from;
    if (!to.empty()) return "meetings up to " + to;
    return "all meetings";
}

/// The keywords that none of the meetings holds in any field the ranking reads (title,
/// participants, turns, notes, summary, action items, key moments).
std::vector<std::string> keywordsHeldNowhere(const std::vector<std::string>& keywords,
                                             const std::vector<std::pair<std::string, TranscriptDocument>>& meetings) {
    std::vector<std::vector<std::string>> phrases;
    for (const auto& keyword : keywords) phrases.push_back(RankedTranscriptSearch::splitStems(keyword));
    std::vector<bool> held(keywords.size(), false);
    auto look = [&](std::string_view text) {
        const auto tokens = QueryTokenizer::tokens(text);
        for (size_t k = 0; k < phrases.size(); ++k)
            if (!held[k] && QueryTokenizer::count(phrases[k], tokens) > 0) held[k] = true;
    };
    for (const auto& [path, doc] : meetings) {
        look(doc.title);
        for (const auto& name : doc.participants) look(name);
        for (const auto& turn : doc.turns) look(turn.text);
        for (const std::string* body : {&doc.notes, &doc.summary, &doc.actionItems, &doc.keyMoments}) look(*body);
    }
    std::vector<std::string> nowhere;
    for (size_t k = 0; k < keywords.size(); ++k)
        if (!held[k]) nowhere.push_back(keywords[k]);
    return nowhere;
}

std::string formatted(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3f", value);
    return text;
}

int runAsk(const AskSettings& settings) {
    std::string question = joined(settings.words, " ");
    std::string home = platform::homeDirectory();
    TranscriptFolderResolver resolver{home, std::nullopt};
    if (!settings.folder.empty()) resolver.overrideFolder = platform::absolutePath(platform::expandTilde(settings.folder, home));
    MeetingStore store(resolver.resolve(), resolver.memoryFolderName());

    std::vector<std::pair<std::string, TranscriptDocument>> items;
    try {
        for (auto& meeting : store.scan()) items.emplace_back(std::move(meeting.path), std::move(meeting.doc));
    } catch (const MeetingStore::StoreError& error) {
        std::cerr << "zelmor-kit ask: no transcripts folder at " << error.path << "\n";
        return 1;
    }

    const auto now = currentTime();
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Calendar> calendar(icu::Calendar::createInstance(status));
    if (U_FAILURE(status) || !calendar) {
        std::cerr << "zelmor-kit ask: the system calendar is unavailable\n";
        return 1;
    }

    auto parse = TimeScopeParser::parse(question, now, *calendar);
    RankedTranscriptSearch::AnswerRankOptions options;
    options.tfSaturationK = saturationK;
    options.recencyHalfLifeDays = halfLifeDays;
    options.unmatchedMassLimit = unmatchedMassLimit;
    options.now = now;
    if (!settings.userName.empty())
        options.participation = RankedTranscriptSearch::ParticipationBoost{
            SpeakerIdentity::fromUserName(settings.userName).aliases, participationBoost, participationMinTurns};

    // Dates or a meeting count in the question are taken as asked; otherwise a look-back window.
    const bool scoped = parse.scope.dateFrom || parse.scope.dateTo || parse.scope.lastN;
    std::optional<ScopingPolicy::Window> window;
    if (!scoped) window = ScopingPolicy::window(parse.horizonDays, now, *calendar);
    AnswerScope scope = window ? parse.scope.merging(window->scope()) : parse.scope;
    auto result = RankedTranscriptSearch::answerRank(items, parse.strippedQuestion, scope, options);
    while (window) {
        auto wider = ScopingPolicy::widen(*window, static_cast<int>(result.scannedCount), thinBelow, wideningSteps, now, *calendar);
        if (!wider) break;
        window = std::move(wider);
        scope = parse.scope.merging(window->scope());
        result = RankedTranscriptSearch::answerRank(items, parse.strippedQuestion, scope, options);
    }
    if (result.hits.size() > static_cast<size_t>(std::max(settings.limit, 0))) result.hits.resize(static_cast<size_t>(std::max(settings.limit, 0)));

    const auto keywords = QueryTokenizer::keywords(parse.strippedQuestion);
    if (settings.json) {
        nlohmann::json hits = nlohmann::json::array();
        for (const auto& hit : result.hits)
            hits.push_back({{"path", hit.id},
                            {"title", hit.document.title},
                            {"date", hit.document.date},
                            {"relevance", hit.relevance},
                            {"matched_keywords", hit.matchedKeywords},
                            {"snippets", hit.match.snippets}});
        nlohmann::json answer = {{"question", question},
                                 {"keywords", keywords},
                                 {"scope", scope},
                                 {"scanned", result.scannedCount},
                                 {"hits", std::move(hits)}};
        if (!parse.matchedPhrases.empty()) answer["time_phrases"] = parse.matchedPhrases;
        if (window && window->note) answer["note"] = *window->note;
        std::cout << JSONWriter::pretty(answer).value_or("{}") << "\n";
        return 0;
    }

    if (window && window->note) std::cout << *window->note << "\n";
    const std::string range = rangeText(scope);
    if (keywords.empty()) {
        std::cout << "The question has no words to look for beyond its time phrases.\n";
        return 0;
    }
    const std::string searched = " (" + std::to_string(result.scannedCount) +
                                 (result.scannedCount == 1 ? " meeting" : " meetings") + " searched)";
    if (result.hits.empty()) {
        // Either no keyword occurs at all, or the ranking refused because the keywords that occur
        // nowhere weigh too much; only the second names a subset.
        auto nowhere = keywordsHeldNowhere(keywords, scope.apply(items));
        if (nowhere.empty() || nowhere.size() == keywords.size())
            std::cout << "No meeting in " << range << " mentions " << joined(keywords, ", ") << searched << ".\n";
        else
            std::cout << "No answer in " << range << ": no meeting mentions " << joined(nowhere, ", ") << ", and "
                      << (nowhere.size() == 1 ? "that keyword carries" : "those keywords carry")
                      << " too much of the question's weight" << searched << ".\n";
        return 0;
    }
    std::cout << "Best matches in " << range << searched << ":\n";
    int rank = 0;
    for (const auto& hit : result.hits) {
        std::string title = hit.document.title.empty() ? "(untitled)" : hit.document.title;
        std::cout << "\n" << ++rank << ". " << title << " \u2014 " << hit.document.date << "\n"
                  << "   " << hit.id << "\n"
                  << "   relevance " << formatted(hit.relevance) << ", " << hit.matchedKeywords << " of " << keywords.size()
                  << (keywords.size() == 1 ? " keyword" : " keywords") << "\n";
        for (const auto& snippet : hit.match.snippets) std::cout << "   " << snippet << "\n";
    }
    return 0;
}

} // namespace

void registerAskCommand(CLI::App& app, int& exitStatus) {
    auto settings = std::make_shared<AskSettings>();
    CLI::App* command = app.add_subcommand("ask", "Find the meetings that answer a question, with snippets.");
    command->add_option("question", settings->words, "The question, e.g. \"what did we decide about pricing last month?\"")
        ->required();
    command->add_option("--folder", settings->folder, "Transcripts folder (default: the folder zelmor-mcp serves)");
    command->add_option("--as", settings->userName, "Your name as it appears in transcripts, to favour meetings you spoke in");
    command->add_option("--limit", settings->limit, "Most meetings to show (default 5)");
    command->add_flag("--json", settings->json, "Print one JSON object instead of text");
    command->footer(askFooter);
    command->callback([settings, &exitStatus] { exitStatus = runAsk(*settings); });
}

} // namespace zelmor::kitcli
