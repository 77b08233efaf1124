// make_corpus: writes a synthetic transcripts folder for benchmarks.
#include "bench/corpus/CorpusGenerator.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <string>

int main(int argc, char** argv) {
    zelmor::bench::CorpusOptions options;
    std::string folder;
    CLI::App app{
        "make_corpus: writes a deterministic folder of synthetic Zelmor meeting transcripts (year and\n"
        "month subfolders, long meetings, accented names, CRLF files, a skills folder and a few files\n"
        "that are not transcripts). The same options give the same bytes on every machine."};
    app.add_option("folder", folder,
                   "Folder to write into; created if missing, existing files are overwritten")
        ->required();
    app.add_option("--meetings", options.meetings, "Number of meetings")
        ->capture_default_str()
        ->check(CLI::NonNegativeNumber);
    app.add_option("--min-words", options.minWords, "Fewest words in a meeting")
        ->capture_default_str()
        ->check(CLI::PositiveNumber);
    app.add_option("--max-words", options.maxWords, "Most words in a meeting")
        ->capture_default_str()
        ->check(CLI::PositiveNumber);
    app.add_option("--nesting", options.nesting, "0: one folder; 1: year folders; 2: year/month folders")
        ->capture_default_str()
        ->check(CLI::Range(0, 2));
    app.add_option("--non-ascii", options.nonASCIIShare,
                   "Share of sentences (0 to 1) with accented names and typographic quotes")
        ->capture_default_str()
        ->check(CLI::Range(0.0, 1.0));
    app.add_option("--crlf", options.crlfShare, "Share of meetings (0 to 1) written with CRLF line ends")
        ->capture_default_str()
        ->check(CLI::Range(0.0, 1.0));
    app.add_option("--seed", options.seed, "Seed of the generator; another seed gives another corpus")
        ->capture_default_str();
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 1;
    }
    if (options.maxWords < options.minWords) {
        std::fprintf(stderr, "make_corpus: --max-words (%d) is below --min-words (%d)\n", options.maxWords,
                     options.minWords);
        return 1;
    }
    try {
        auto bytes = zelmor::bench::generateCorpus(folder, options);
        std::fprintf(stderr, "wrote %d meetings, %.1f MB into %s\n", options.meetings,
                     static_cast<double>(bytes) / 1e6, folder.c_str());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "make_corpus: cannot write %s: %s\n", folder.c_str(), error.what());
        return 1;
    }
    return 0;
}
