// Keyword match over one long meeting (10,000 words from the synthetic corpus): the search tool
// runs it on every meeting of a folder on every call. Setup stays out of the timed loops.
#include "ZelmorMarkdownKit/format/MarkdownTranscriptParser.h"
#include "ZelmorMarkdownKit/search/RankedTranscriptSearch.h"
#include "bench/corpus/CorpusGenerator.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

namespace {

namespace fs = std::filesystem;
using zelmor::TranscriptDocument;
using zelmor::bench::CorpusWords;

/// The longest transcript of a one-meeting corpus of 10,000 words, with the rare word in it.
const TranscriptDocument& longMeeting() {
    static const TranscriptDocument document = [] {
        fs::path folder =
            fs::temp_directory_path() / ("zelmor-kit-bench-" + std::to_string(std::random_device()()));
        zelmor::bench::CorpusOptions options;
        options.meetings = 1;
        options.minWords = 10000;
        options.maxWords = 10000;
        options.nesting = 0;
        options.crlfShare = 0;
        zelmor::bench::generateCorpus(folder.string(), options);
        std::optional<TranscriptDocument> longest;
        for (const auto& entry : fs::directory_iterator(folder)) {
            if (entry.path().extension() != ".md") continue;
            std::ifstream in(entry.path(), std::ios::binary);
            std::stringstream text;
            text << in.rdbuf();
            auto parsed = zelmor::MarkdownTranscriptParser::parse(text.str());
            if (parsed && (!longest || parsed->turns.size() > longest->turns.size()))
                longest = std::move(parsed);
        }
        fs::remove_all(folder);
        if (!longest || longest->turns.empty()) {
            std::fprintf(stderr, "kit_bench: the corpus generator wrote no transcript\n");
            std::exit(1);
        }
        // The rare word stands once, in the middle, whatever the generator chose.
        auto& middle = longest->turns[longest->turns.size() / 2].text;
        if (middle.find(CorpusWords::rare) == std::string::npos)
            middle += " The zeppelin launch is on track.";
        return *longest;
    }();
    return document;
}

void matchQuery(benchmark::State& state, const char* query) {
    const TranscriptDocument& document = longMeeting();
    std::vector<std::string> terms = zelmor::RankedTranscriptSearch::terms(query);
    for (auto _ : state) benchmark::DoNotOptimize(zelmor::RankedTranscriptSearch::match(document, terms));
    size_t bytes = 0;
    for (const auto& turn : document.turns) bytes += turn.text.size();
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}

void BM_MatchRareTerm(benchmark::State& state) {
    matchQuery(state, CorpusWords::rare);
}
void BM_MatchMissingTerm(benchmark::State& state) {
    matchQuery(state, "xylophone");
}
void BM_MatchFrequentTerm(benchmark::State& state) {
    matchQuery(state, CorpusWords::frequent);
}
void BM_MatchPhrase(benchmark::State& state) {
    matchQuery(state, "\"pricing page\"");
}
void BM_MatchFrequentAndMissingTerm(benchmark::State& state) {
    matchQuery(state, "customer nowhere-to-be-found");
}
void BM_MatchAccentedTerm(benchmark::State& state) {
    matchQuery(state, "tomas");
}

BENCHMARK(BM_MatchRareTerm);
BENCHMARK(BM_MatchMissingTerm);
BENCHMARK(BM_MatchFrequentTerm);
BENCHMARK(BM_MatchPhrase);
BENCHMARK(BM_MatchFrequentAndMissingTerm);
BENCHMARK(BM_MatchAccentedTerm);

} // namespace

BENCHMARK_MAIN();
