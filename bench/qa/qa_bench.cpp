// qa_bench: how well a question finds the meeting that answers it, over a folder of meetings
// and a file of questions with the meeting (and turns) that answer each, one JSON object a line:
// {"question": ..., "meeting": file name, "relevant_turns": [[first, last], ...]}. Prints, for
// each way of asking, Recall@1, Recall@5, mean reciprocal rank, the share of questions whose
// best answer turn (first snippet) lies in the relevant turns, and the median time per
// question: the question ranking in-process, and plain Okapi BM25 over the same tokens (the
// yardstick, computed in the same run); with SERVER, also a live zelmor-mcp --ask-tool asked
// through ask_meetings (limit 20) and through search_meetings with the question's content words
// (sort "relevance", limit 100), as an agent would, and, for its time only, through
// search_meetings with the question's rarest word alone (the one-word search to compare with)
// and through ask_meetings at its default limit.
//
//   qa_bench MEETINGS_FOLDER QUESTIONS_JSONL [SERVER]
#include "ZelmorMarkdownKit/answer/QuestionRanking.h"
#include "ZelmorMarkdownKit/format/MarkdownTranscriptParser.h"
#include "ZelmorMarkdownKit/search/QueryTokenizer.h"
#include "bench/driver/ServerProcess.h"
#include "platform/FileSystem.h"
#include "platform/FolderListing.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <climits>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace {

using namespace zelmor;
using Clock = std::chrono::steady_clock;

struct Meeting {
    std::string name;
    TranscriptDocument document;
};

struct Question {
    std::string text;
    std::string meeting;
    std::vector<std::pair<long long, long long>> relevant;
};

struct Tally {
    size_t top1 = 0, top5 = 0, inTurns = 0, asked = 0;
    double reciprocal = 0;
    std::vector<double> milliseconds;

    void add(const std::vector<std::string>& ranked, const Question& question, std::optional<size_t> bestTurn,
             double ms) {
        ++asked;
        milliseconds.push_back(ms);
        auto at = std::find(ranked.begin(), ranked.end(), question.meeting);
        if (at == ranked.end()) return;
        size_t rank = static_cast<size_t>(at - ranked.begin()) + 1;
        top1 += rank == 1;
        top5 += rank <= 5;
        reciprocal += 1.0 / static_cast<double>(rank);
        if (bestTurn)
            for (const auto& [first, last] : question.relevant)
                if (static_cast<long long>(*bestTurn) >= first && static_cast<long long>(*bestTurn) <= last) {
                    ++inTurns;
                    break;
                }
    }

    void print(const char* name) {
        std::sort(milliseconds.begin(), milliseconds.end());
        double n = static_cast<double>(std::max<size_t>(asked, 1));
        std::printf("| %-22s | %6.3f | %6.3f | %6.3f | %6.3f | %8.1f |\n", name, top1 / n, top5 / n,
                    reciprocal / n, inTurns / n,
                    milliseconds.empty() ? 0.0 : milliseconds[milliseconds.size() / 2]);
    }
};

/// Okapi BM25 over whole meetings (k1 1.2, b 0.75), the question's content words against the
/// meetings' content words: the usual yardstick of such a ranking.
class BM25 {
public:
    explicit BM25(const std::vector<Meeting>& meetings) {
        for (const auto& meeting : meetings) {
            std::map<std::string, double> counts;
            double length = 0;
            for (const auto& turn : meeting.document.turns)
                for (const auto& word : QueryTokenizer::words(turn.text))
                    if (QueryTokenizer::isContent(word)) {
                        counts[word.stem] += 1;
                        length += 1;
                    }
            for (const auto& [stem, count] : counts) ++frequency[stem];
            documents.push_back({std::move(counts), length});
            total += length;
        }
    }

    /// The question's content word held by the fewest meetings (but one), as written: the word
    /// an agent that knows the folder would search for alone.
    std::string rarestWord(const std::string& question) const {
        std::string rarest;
        size_t least = SIZE_MAX;
        for (const auto& word : QueryTokenizer::words(question)) {
            if (!QueryTokenizer::isContent(word)) continue;
            auto found = frequency.find(word.stem);
            if (found != frequency.end() && found->second < least) {
                least = found->second;
                rarest = word.raw;
            }
        }
        return rarest;
    }

    std::vector<size_t> rank(const std::string& question) const {
        std::set<std::string> stems;
        for (const auto& word : QueryTokenizer::words(question))
            if (QueryTokenizer::isContent(word)) stems.insert(word.stem);
        double n = static_cast<double>(documents.size()), average = total / n;
        std::vector<std::pair<double, size_t>> scored;
        for (size_t d = 0; d < documents.size(); ++d) {
            double score = 0;
            for (const auto& stem : stems) {
                auto found = documents[d].counts.find(stem);
                if (found == documents[d].counts.end()) continue;
                auto df = static_cast<double>(frequency.at(stem));
                double idf = std::log(1 + (n - df + 0.5) / (df + 0.5));
                double tf = found->second;
                score += idf * tf * 2.2 / (tf + 1.2 * (0.25 + 0.75 * documents[d].length / average));
            }
            if (score > 0) scored.emplace_back(score, d);
        }
        std::stable_sort(scored.begin(), scored.end(),
                         [](const auto& a, const auto& b) { return a.first > b.first; });
        std::vector<size_t> order;
        for (const auto& [score, d] : scored) order.push_back(d);
        return order;
    }

private:
    struct Counts {
        std::map<std::string, double> counts;
        double length;
    };
    std::vector<Counts> documents;
    std::map<std::string, size_t> frequency;
    double total = 0;
};

double since(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

std::string fileName(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

/// The turn of the meeting a snippet ("**Speaker:** …text…") was cut from.
std::optional<size_t> turnOf(const std::string& snippet, const TranscriptDocument& document) {
    size_t label = snippet.find(":** ");
    if (!snippet.starts_with("**") || label == std::string::npos) return std::nullopt;
    std::string speaker = snippet.substr(2, label - 2), core = snippet.substr(label + 4);
    const std::string ellipsis = "\u2026";
    if (core.starts_with(ellipsis)) core.erase(0, ellipsis.size());
    if (core.ends_with(ellipsis)) core.erase(core.size() - ellipsis.size());
    for (size_t t = 0; t < document.turns.size(); ++t)
        if (document.turns[t].speaker == speaker && document.turns[t].text.find(core) != std::string::npos)
            return t;
    return std::nullopt;
}

/// The question's content words, as an agent would pass them to search_meetings.
std::string contentWords(const std::string& question) {
    std::string words;
    for (const auto& word : QueryTokenizer::words(question))
        if (QueryTokenizer::isContent(word)) words += (words.empty() ? "" : " ") + word.raw;
    return words;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3 && argc != 4) {
        std::fprintf(stderr, "usage: qa_bench MEETINGS_FOLDER QUESTIONS_JSONL [SERVER]\n");
        return 2;
    }
    std::vector<Meeting> meetings;
    for (const auto& path : platform::listFilesRecursively(argv[1]).value_or(std::vector<std::string>{})) {
        auto text = platform::readFile(path);
        if (!text) continue;
        if (auto document = MarkdownTranscriptParser::parse(*text))
            meetings.push_back({path.substr(path.rfind('/') + 1), std::move(*document)});
    }
    // Newest first, as the store lists them: ties in relevance go to the newer meeting.
    std::stable_sort(meetings.begin(), meetings.end(),
                     [](const Meeting& a, const Meeting& b) { return a.document.date > b.document.date; });
    std::vector<Question> questions;
    std::ifstream lines(argv[2]);
    for (std::string line; std::getline(lines, line);) {
        auto object = nlohmann::json::parse(line, nullptr, false);
        if (!object.is_object()) continue;
        Question question{object.value("question", ""), object.value("meeting", ""), {}};
        for (const auto& range : object.value("relevant_turns", nlohmann::json::array()))
            question.relevant.emplace_back(range.at(0).get<long long>(), range.at(1).get<long long>());
        questions.push_back(std::move(question));
    }
    std::fprintf(stderr, "%zu meetings, %zu questions\n", meetings.size(), questions.size());

    std::vector<const TranscriptDocument*> documents;
    for (const auto& meeting : meetings) documents.push_back(&meeting.document);
    Tally ranking, yardstick;
    auto start = Clock::now();
    BM25 bm25(meetings);
    std::fprintf(stderr, "BM25 index built in %.0f ms\n", since(start));
    for (const auto& question : questions) {
        start = Clock::now();
        auto hits = QuestionRanking::rank(documents, question.text);
        double ms = since(start);
        std::vector<std::string> ranked;
        for (const auto& hit : hits) ranked.push_back(meetings[hit.index].name);
        std::optional<size_t> bestTurn;
        for (const auto& hit : hits)
            if (meetings[hit.index].name == question.meeting && !hit.answerTurns.empty())
                bestTurn = hit.answerTurns[0];
        ranking.add(ranked, question, bestTurn, ms);

        start = Clock::now();
        auto order = bm25.rank(question.text);
        ms = since(start);
        ranked.clear();
        for (size_t d : order) ranked.push_back(meetings[d].name);
        yardstick.add(ranked, question, std::nullopt, ms);
    }
    Tally asked, askedAsIs, searched, oneWord;
    double peak = 0;
    if (argc == 4) {
        char homeTemplate[] = "/tmp/zelmor-qa-home-XXXXXX";
        std::string home = ::mkdtemp(homeTemplate);
        std::map<std::string, const TranscriptDocument*> byName;
        for (const auto& meeting : meetings) byName[meeting.name] = &meeting.document;
        bench::ServerProcess server(argv[3], argv[1], home, {"--ask-tool"});
        int id = 0;
        for (const auto& question : questions) {
            // Timed only: the question at the default limit of five rows, and the rarest word
            // alone (its rows come newest first).
            start = Clock::now();
            server.call(
                bench::toolCall(++id, "ask_meetings", nlohmann::json{{"question", question.text}}.dump()));
            askedAsIs.add({}, question, std::nullopt, since(start));
            std::string rarest = bm25.rarestWord(question.text);
            if (!rarest.empty()) {
                start = Clock::now();
                server.call(
                    bench::toolCall(++id, "search_meetings", nlohmann::json{{"query", rarest}}.dump()));
                oneWord.add({}, question, std::nullopt, since(start));
            }
            for (bool ask : {true, false}) {
                nlohmann::json arguments = ask ? nlohmann::json{{"question", question.text}, {"limit", 20}}
                                               : nlohmann::json{{"query", contentWords(question.text)},
                                                                {"sort", "relevance"},
                                                                {"limit", 100}};
                start = Clock::now();
                auto reply = nlohmann::json::parse(server.call(
                    bench::toolCall(++id, ask ? "ask_meetings" : "search_meetings", arguments.dump())));
                double ms = since(start);
                std::vector<std::string> ranked;
                std::optional<size_t> bestTurn;
                for (const auto& row :
                     reply["result"]["structuredContent"].value("meetings", nlohmann::json::array())) {
                    ranked.push_back(fileName(row.value("path", "")));
                    auto snippets = row.value("snippets", nlohmann::json::array());
                    if (ranked.back() == question.meeting && !snippets.empty())
                        bestTurn = turnOf(snippets[0].get<std::string>(), *byName[question.meeting]);
                }
                (ask ? asked : searched).add(ranked, question, bestTurn, ms);
            }
        }
        peak = server.peakMegabytes();
    }

    std::printf("| ranking                | R@1    | R@5    | MRR    | in turns | median ms |\n");
    std::printf("|---|---:|---:|---:|---:|---:|\n");
    if (argc == 4) {
        asked.print("ask_meetings (server)");
        askedAsIs.print("ask, default limit");
        searched.print("search_meetings, words");
        oneWord.print("search, rarest word");
    }
    ranking.print("QuestionRanking::rank");
    yardstick.print("BM25 (indexed once)");
    if (argc == 4) std::printf("\nserver peak memory: %.1f MB\n", peak);
    return 0;
}
