// qa_bench: how well a question finds the meeting that answers it, over a folder of meetings
// and a file of questions with the meeting (and turns) that answer each, one JSON object a line:
// {"question": ..., "meeting": file name, "relevant_turns": [[first, last], ...]}. Prints, for
// the question ranking and for plain Okapi BM25 over the same tokens (the yardstick, computed
// in the same run), Recall@1, Recall@5, mean reciprocal rank, the share of questions whose best
// answer turn lies in the relevant turns, and the median time per question.
//
//   qa_bench MEETINGS_FOLDER QUESTIONS_JSONL
#include "ZelmorMarkdownKit/MarkdownTranscriptParser.h"
#include "ZelmorMarkdownKit/QueryTokenizer.h"
#include "ZelmorMarkdownKit/QuestionRanking.h"
#include "platform/FileSystem.h"
#include "platform/FolderListing.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
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
        std::printf("| %-22s | %6.3f | %6.3f | %6.3f | %6.3f | %8.1f |\n", name, top1 / n, top5 / n, reciprocal / n,
                    inTurns / n, milliseconds.empty() ? 0.0 : milliseconds[milliseconds.size() / 2]);
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
        std::stable_sort(scored.begin(), scored.end(), [](const auto& a, const auto& b) { return a.first > b.first; });
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

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: qa_bench MEETINGS_FOLDER QUESTIONS_JSONL\n");
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
            if (meetings[hit.index].name == question.meeting && !hit.answerTurns.empty()) bestTurn = hit.answerTurns[0];
        ranking.add(ranked, question, bestTurn, ms);

        start = Clock::now();
        auto order = bm25.rank(question.text);
        ms = since(start);
        ranked.clear();
        for (size_t d : order) ranked.push_back(meetings[d].name);
        yardstick.add(ranked, question, std::nullopt, ms);
    }
    std::printf("| ranking                | R@1    | R@5    | MRR    | in turns | median ms |\n");
    std::printf("|---|---:|---:|---:|---:|---:|\n");
    ranking.print("QuestionRanking::rank");
    yardstick.print("BM25 (indexed once)");
    return 0;
}
