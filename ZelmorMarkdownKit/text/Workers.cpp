#include "ZelmorMarkdownKit/text/Workers.h"

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

namespace zelmor::Workers {

namespace {
/// More threads than this only contend, for the cores when tokenizing, for the disk when reading.
constexpr unsigned maxWorkers = 8;
} // namespace

unsigned count(unsigned asked, size_t items) {
    unsigned threads =
        asked != 0 ? asked : std::max(1u, std::min(maxWorkers, std::thread::hardware_concurrency()));
    return static_cast<unsigned>(std::max<size_t>(1, std::min<size_t>(threads, items)));
}

void forEachIndex(size_t items, unsigned workers, const std::function<void(size_t, unsigned)>& work) {
    std::atomic<size_t> next{0};
    auto run = [&](unsigned worker) {
        for (size_t i = next++; i < items; i = next++) work(i, worker);
    };
    std::vector<std::thread> pool;
    try {
        for (unsigned k = 1; k < workers; ++k) pool.emplace_back(run, k);
    } catch (...) {
        // Fewer threads than asked: those started and this one share the rest.
    }
    run(0);
    for (auto& thread : pool) thread.join();
}

} // namespace zelmor::Workers
