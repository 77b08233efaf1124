// A deterministic folder of synthetic meeting transcripts, shaped like a heavy user's: year and
// month subfolders, long meetings, some accented names and curly quotes, CRLF files, a skills
// folder and a few files that are not transcripts. Same options, same bytes, on every machine.
#pragma once

#include <cstdint>
#include <string>

namespace zelmor::bench {

struct CorpusOptions {
    int meetings = 4000;
    int minWords = 2000;
    int maxWords = 10000;
    /// 0: all files in one folder; 1: year folders; 2: year/month folders.
    int nesting = 2;
    /// Share of sentences that carry accented names or typographic quotes.
    double nonASCIIShare = 0.05;
    /// Share of meetings written with "\r\n" line ends.
    double crlfShare = 0.02;
    std::uint64_t seed = 1;
};

/// Words the corpus is known to hold, for benchmarks and tests that need hits.
struct CorpusWords {
    static constexpr const char* rare = "zeppelin";       ///< in about 1% of meetings
    static constexpr const char* frequent = "customer";   ///< in nearly every meeting
    static constexpr const char* phrase = "pricing page"; ///< a two-word phrase, in about a third
    static constexpr const char* participant = "Tomás";   ///< an accented participant
};

/// Writes the corpus into `folder` (created if missing) and returns the number of bytes written.
std::uint64_t generateCorpus(const std::string& folder, const CorpusOptions& options);

} // namespace zelmor::bench
