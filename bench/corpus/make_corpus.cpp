// make_corpus: writes a synthetic transcripts folder for benchmarks.
#include "bench/corpus/CorpusGenerator.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

int main(int argc, char** argv) {
    zelmor::bench::CorpusOptions options;
    std::string folder;
    for (int i = 1; i < argc; ++i) {
        auto value = [&] { return i + 1 < argc ? argv[++i] : "0"; };
        if (!std::strcmp(argv[i], "--meetings")) options.meetings = std::atoi(value());
        else if (!std::strcmp(argv[i], "--min-words")) options.minWords = std::atoi(value());
        else if (!std::strcmp(argv[i], "--max-words")) options.maxWords = std::atoi(value());
        else if (!std::strcmp(argv[i], "--nesting")) options.nesting = std::atoi(value());
        else if (!std::strcmp(argv[i], "--non-ascii")) options.nonASCIIShare = std::atof(value());
        else if (!std::strcmp(argv[i], "--crlf")) options.crlfShare = std::atof(value());
        else if (!std::strcmp(argv[i], "--seed")) options.seed = std::strtoull(value(), nullptr, 10);
        else folder = argv[i];
    }
    if (folder.empty() || options.meetings < 0 || options.minWords < 1 || options.maxWords < options.minWords) {
        std::fprintf(stderr, "usage: make_corpus [--meetings N] [--min-words N] [--max-words N] [--nesting 0|1|2]\n"
                             "                   [--non-ascii SHARE] [--crlf SHARE] [--seed N] FOLDER\n");
        return 2;
    }
    auto bytes = zelmor::bench::generateCorpus(folder, options);
    std::fprintf(stderr, "wrote %d meetings, %.1f MB into %s\n", options.meetings, bytes / 1e6, folder.c_str());
    return 0;
}
