// bench_driver: times zelmor-mcp tool calls over one long-lived process against ripgrep on the
// same corpus, and prints a markdown table (our median, ripgrep's median, the ratio) plus the
// server's peak resident memory and its start-up time to the initialize reply.
//
// usage: bench_driver SERVER CORPUS [--runs N]
//        bench_driver --scan CORPUS [--runs N] [--only TEXT]
//        (the store's scans in-process, no server; --only keeps the rows whose label holds TEXT)
#include "bench/corpus/CorpusGenerator.h"
#include "bench/driver/BenchTiming.h"
#include "bench/driver/ScanBench.h"
#include "bench/driver/ServerProcess.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <optional>
#include <signal.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using namespace zelmor::bench;

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: bench_driver SERVER CORPUS [--runs N]\n"
                             "       bench_driver --scan CORPUS [--runs N] [--only TEXT]\n");
        return 2;
    }
    std::string binary = argv[1], folder = argv[2];
    int runs = 9;
    std::string only;
    for (int i = 3; i + 1 < argc; ++i) {
        if (!std::strcmp(argv[i], "--runs"))
            runs = std::max(1, std::atoi(argv[++i]));
        else if (!std::strcmp(argv[i], "--only"))
            only = argv[++i];
    }
    if (binary == "--scan") return zelmor::bench::runScanBench(folder, runs, only);
    char homeTemplate[] = "/tmp/zelmor-bench-home-XXXXXX";
    std::string home = ::mkdtemp(homeTemplate);

    using Words = zelmor::bench::CorpusWords;
    struct Case {
        std::string label;
        std::string tool;
        std::string arguments;
        std::optional<std::string> reference; // the word ripgrep searches for
        bool everyOccurrence = false;         // also against `rg -c`, which must look at each one
    };
    std::string rare = Words::rare, frequent = Words::frequent;
    std::vector<Case> cases = {
        {"search: rare word", "search_meetings", R"({"query":")" + rare + R"("})", rare},
        {"search: frequent word", "search_meetings", R"({"query":")" + frequent + R"("})", frequent, true},
        {"search: two words", "search_meetings", R"({"query":")" + rare + " " + frequent + R"("})", rare},
        {"search: quoted phrase", "search_meetings",
         R"({"query":"\")" + std::string(Words::phrase) + R"(\""})", "pricing page", true},
        {"search: sort relevance", "search_meetings", R"({"query":")" + frequent + R"(","sort":"relevance"})",
         frequent, true},
        {"search: participant + dates", "search_meetings",
         R"({"query":")" + rare +
             R"(","participant":"tomás","date_from":"2023-01-01","date_to":"2025-12-31"})",
         rare},
        {"search: no query", "search_meetings", "{}", rare},
        {"list_participants", "list_participants", "{}", rare},
        // The opt-in question tool over the whole history (no time phrase): every meeting read,
        // parsed and weighed.
        {"ask_meetings: a question", "ask_meetings",
         R"({"question":"What did we decide about the )" + rare + R"( budget and the launch plan?"})", rare},
    };

    // Start-up to the initialize reply, each in a fresh process.
    std::vector<double> startups;
    for (int i = 0; i < runs; ++i) {
        auto start = Clock::now();
        ServerProcess fresh(binary, folder, home);
        fresh.call(R"({"jsonrpc":"2.0","id":0,"method":"initialize","params":{}})");
        startups.push_back(millisecondsSince(start));
    }

    // With the question tool offered; the other tools answer byte for byte as without it.
    ServerProcess server(binary, folder, home, {"--ask-tool"});
    server.call(R"({"jsonrpc":"2.0","id":0,"method":"initialize","params":{}})");
    std::printf("| call | zelmor-mcp (ms) | ripgrep (ms) | ratio |\n|---|---:|---:|---:|\n");
    int id = 1;
    std::string somePath;
    for (const auto& c : cases) {
        std::vector<double> times;
        // Warm-up; a protocol error (a tool the server does not answer yet) times nothing useful.
        std::string first = server.call(toolCall(id++, c.tool, c.arguments));
        if (first.rfind(R"({"error")", 0) == 0) {
            std::printf("| %s | not answered: %s | | |\n", c.label.c_str(), first.c_str());
            continue;
        }
        for (int i = 0; i < runs; ++i) {
            auto start = Clock::now();
            std::string reply = server.call(toolCall(id++, c.tool, c.arguments));
            times.push_back(millisecondsSince(start));
            if (somePath.empty()) {
                size_t at = reply.find(R"("path":")");
                if (at != std::string::npos)
                    somePath = reply.substr(at + 8, reply.find('"', at + 8) - at - 8);
            }
        }
        double ours = median(times);
        double reference = timeRipgrep(*c.reference, folder, runs);
        std::printf("| %s | %.1f | %.1f (`rg -i -F -l %s`) | %.2fx |\n", c.label.c_str(), ours, reference,
                    c.reference->c_str(), ours / reference);
        if (c.everyOccurrence) {
            double counting = timeRipgrep(*c.reference, folder, runs, true);
            std::printf("| %s, against `rg -c` | %.1f | %.1f (`rg -i -F -c %s`) | %.2fx |\n", c.label.c_str(),
                        ours, counting, c.reference->c_str(), ours / counting);
        }
    }
    if (!somePath.empty()) {
        std::string path;
        for (size_t i = 0; i < somePath.size(); ++i) { // undo "\/" escaping
            if (somePath[i] == '\\' && i + 1 < somePath.size() && somePath[i + 1] == '/') continue;
            path += somePath[i];
        }
        std::vector<double> times;
        for (int i = 0; i < runs; ++i) {
            auto start = Clock::now();
            server.call(toolCall(id++, "read_meeting", R"({"path":")" + path + R"("})"));
            times.push_back(millisecondsSince(start));
        }
        std::printf("| read_meeting | %.1f | | |\n", median(times));
    }
    double floor = timeReadingEveryFile(folder, runs);
    std::printf("| floor: list and read every file once, all cores | %.1f | | |\n", floor);
    std::printf("\nStart-up to the initialize reply: %.2f ms (median of %d)\n", median(startups), runs);
    std::printf("Peak resident memory of the long-lived server: %.1f MB\n", server.peakMegabytes());
    std::string cleanup = "rm -rf '" + home + "'";
    return std::system(cleanup.c_str()) == 0 ? 0 : 1;
}
