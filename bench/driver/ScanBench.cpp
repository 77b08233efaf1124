// Each entry point runs in its own forked child (warm-up, then `runs` timed calls); the child
// reports its median, its result size and its memory high-water mark through a pipe.
#include "bench/driver/ScanBench.h"

#include "ZelmorMCP/MeetingStore.h"
#include "ZelmorMarkdownKit/answer/AnswerRanking.h"
#include "ZelmorMarkdownKit/answer/QuestionRanking.h"
#include "ZelmorMarkdownKit/format/MarkdownTranscriptParser.h"
#include "bench/driver/BenchTiming.h"

#include <cstdio>
#include <functional>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace zelmor::bench {

namespace {

/// A question of the kind people ask, with the corpus's rare word in it.
constexpr std::string_view question = "What did we decide about the zeppelin budget and the launch plan?";

struct Operation {
    const char* label;
    /// Runs once and returns the size of its result, printed so that runs can be compared.
    std::function<size_t(const MeetingStore&)> run;
};

const std::vector<Operation>& operations() {
    static const std::vector<Operation> list = {
        {"scan() (full documents)", [](const MeetingStore& store) { return store.scan().size(); }},
        {"scan(1) (one thread)", [](const MeetingStore& store) { return store.scan(1).size(); }},
        {"scanHeaders() (frontmatter only)",
         [](const MeetingStore& store) { return store.scanHeaders().size(); }},
        {"participants()", [](const MeetingStore& store) { return store.participants().size(); }},
        // The floor of a search with a query: every body parsed, nothing kept.
        {"collect() parsing every body",
         [](const MeetingStore& store) {
             return store
                 .collect([](MeetingStore::FileVisit& file) {
                     MarkdownTranscriptParser::parseBody(file.text, file.header);
                     return std::optional<size_t>(file.header.turns.size());
                 })
                 .size();
         }},
        // The floor of a rare-word search whose visitor skips files whose raw text cannot hold
        // the word; exact bytes here, where the search would use its own folded comparison.
        {"collect() parsing bodies that hold the rare word",
         [](const MeetingStore& store) {
             return store
                 .collect([](MeetingStore::FileVisit& file) -> std::optional<size_t> {
                     if (file.text.find("zeppelin") == std::string_view::npos) return std::nullopt;
                     MarkdownTranscriptParser::parseBody(file.text, file.header);
                     return file.header.turns.size();
                 })
                 .size();
         }},
        // A question over the whole history: every meeting read, parsed and ranked, as
        // ask_meetings does without a time phrase (and the kit's answer ranking beside it).
        {"scan() + QuestionRanking::rank (a question)",
         [](const MeetingStore& store) {
             auto meetings = store.scan();
             std::vector<const TranscriptDocument*> documents;
             for (const auto& meeting : meetings) documents.push_back(&meeting.doc);
             return QuestionRanking::rank(documents, question).size();
         }},
        {"scan() + answerRank (a question)",
         [](const MeetingStore& store) {
             auto meetings = store.scan();
             std::vector<const TranscriptDocument*> documents;
             for (const auto& meeting : meetings) documents.push_back(&meeting.doc);
             return RankedTranscriptSearch::detail::answerRank(documents, question, {}).size();
         }},
    };
    return list;
}

struct Measured {
    double medianMs = 0;
    double peakMB = 0;
    size_t resultSize = 0;
};

/// Runs the operation in a child process; nothing when the child fails.
bool measureInChild(const Operation& operation, const std::string& corpus, int runs, Measured& measured) {
    int channel[2];
    if (::pipe(channel) != 0) return false;
    pid_t pid = ::fork();
    if (pid < 0) return false;
    if (pid == 0) {
        ::close(channel[0]);
        Measured result;
        MeetingStore store(corpus);
        result.resultSize = operation.run(store); // warm-up
        std::vector<double> times;
        for (int i = 0; i < runs; ++i) {
            auto start = Clock::now();
            result.resultSize = operation.run(store);
            times.push_back(millisecondsSince(start));
        }
        result.medianMs = median(times);
        result.peakMB = peakMegabytes(::getpid());
        bool sent = ::write(channel[1], &result, sizeof result) == static_cast<ssize_t>(sizeof result);
        ::_exit(sent ? 0 : 1);
    }
    ::close(channel[1]);
    bool received = ::read(channel[0], &measured, sizeof measured) == static_cast<ssize_t>(sizeof measured);
    ::close(channel[0]);
    int status = 0;
    ::waitpid(pid, &status, 0);
    return received && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace

int runScanBench(const std::string& corpus, int runs, const std::string& only) {
    std::printf("| scan | ours (ms) | ripgrep (ms) | ratio | peak RSS (MB) | rows |\n"
                "|---|---:|---:|---:|---:|---:|\n");
    for (const auto& operation : operations()) {
        if (std::string_view(operation.label).find(only) == std::string_view::npos) continue;
        Measured ours;
        if (!measureInChild(operation, corpus, runs, ours)) {
            std::fprintf(stderr, "bench_driver: %s failed\n", operation.label);
            return 1;
        }
        double reference = timeRipgrep("zeppelin", corpus, runs);
        std::printf("| %s | %.1f | %.1f | %.2fx | %.1f | %zu |\n", operation.label, ours.medianMs, reference,
                    ours.medianMs / reference, ours.peakMB, ours.resultSize);
        std::fflush(stdout);
    }
    return 0;
}

} // namespace zelmor::bench
