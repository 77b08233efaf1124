// Medians rather than means: the machine is shared, and one slow run should not move a figure.
#include "bench/driver/BenchTiming.h"

#include "ZelmorMarkdownKit/text/Workers.h"
#include "platform/FileSystem.h"
#include "platform/FolderListing.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <sys/wait.h>
#include <unistd.h>

namespace zelmor::bench {

double millisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

double median(std::vector<double> values) {
    if (values.empty()) return 0;
    std::sort(values.begin(), values.end());
    size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

double timeRipgrep(const std::string& word, const std::string& folder, int runs, bool counting) {
    std::vector<double> times;
    for (int i = 0; i < runs; ++i) {
        auto start = Clock::now();
        pid_t pid = ::fork();
        if (pid == 0) {
            int devnull = ::open("/dev/null", O_WRONLY);
            ::dup2(devnull, 1);
            ::dup2(devnull, 2);
            ::execlp("rg", "rg", "-i", "-F", counting ? "-c" : "-l", word.c_str(), folder.c_str(), nullptr);
            ::_exit(127);
        }
        int status = 0;
        ::waitpid(pid, &status, 0);
        if (!WIFEXITED(status) || WEXITSTATUS(status) > 1) {
            std::fprintf(stderr, "ripgrep failed (is the ripgrep package installed?)\n");
            std::exit(1);
        }
        times.push_back(millisecondsSince(start));
    }
    return median(times);
}

double timeReadingEveryFile(const std::string& folder, int runs) {
    std::vector<double> times;
    for (int i = 0; i < runs; ++i) {
        auto start = Clock::now();
        auto files = platform::listFilesRecursively(folder).value_or(std::vector<std::string>{});
        unsigned workers = Workers::count(0, files.size());
        std::vector<std::string> buffers(workers);
        Workers::forEachIndex(files.size(), workers, [&](size_t index, unsigned worker) {
            platform::readFileInto(files[index], buffers[worker]);
        });
        times.push_back(millisecondsSince(start));
    }
    return median(times);
}

double peakMegabytes(pid_t pid) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    std::string key;
    while (status >> key) {
        if (key == "VmHWM:") {
            double kb;
            status >> kb;
            return kb / 1024;
        }
        status.ignore(1 << 20, '\n');
    }
    return 0;
}

} // namespace zelmor::bench
