// search_meetings over a generated folder of 400 meetings, in-process: the whole scan, prefilter,
// match and page per call, as the server runs it. The folder is written once, outside the loops.
#include "ZelmorMCP/MeetingStore.h"
#include "ZelmorMarkdownKit/text/FoldedNeedle.h"
#include "ZelmorMarkdownKit/text/TextFolding.h"
#include "bench/corpus/CorpusGenerator.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <random>

namespace {

namespace fs = std::filesystem;
using zelmor::MeetingStore;
using zelmor::bench::CorpusWords;

const std::string& folder() {
    static const std::string path = [] {
        fs::path made =
            fs::temp_directory_path() / ("zelmor-search-bench-" + std::to_string(std::random_device()()));
        zelmor::bench::CorpusOptions options;
        options.meetings = 400;
        zelmor::bench::generateCorpus(made.string(), options);
        return made.string();
    }();
    return path;
}

void search(benchmark::State& state, const char* query, const char* sort) {
    MeetingStore store(folder());
    MeetingStore::SearchFilters filters;
    if (query) filters.query = query;
    if (sort) filters.sort = sort;
    for (auto _ : state) benchmark::DoNotOptimize(store.search(filters).total);
}

BENCHMARK_CAPTURE(search, rare_word, CorpusWords::rare, nullptr)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(search, frequent_word, CorpusWords::frequent, nullptr)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(search, phrase, "\"pricing page\"", nullptr)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(search, relevance, CorpusWords::frequent, "relevance")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(search, no_query, nullptr, nullptr)->Unit(benchmark::kMillisecond);

/// The whole-file test on one meeting-sized text: an absent word, a present one, an accented one.
void needle(benchmark::State& state, const char* term) {
    std::string text;
    for (int i = 0; i < 800; ++i)
        text += "We went over the customer onboarding plan with Tomás and Zoë again.\n";
    zelmor::FoldedNeedle found(zelmor::TextFolding::folded(term));
    for (auto _ : state) benchmark::DoNotOptimize(found.occursIn(text));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

BENCHMARK_CAPTURE(needle, absent, "zeppelin");
BENCHMARK_CAPTURE(needle, present_late, "again.\nwe");
BENCHMARK_CAPTURE(needle, accented_absent, "tomasz");

} // namespace

BENCHMARK_MAIN();
