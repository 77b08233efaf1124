// Timing helpers shared by the driver's modes: medians, ripgrep as the yardstick, peak memory.
#pragma once

#include <chrono>
#include <string>
#include <sys/types.h>
#include <vector>

namespace zelmor::bench {

using Clock = std::chrono::steady_clock;

double millisecondsSince(Clock::time_point start);

double median(std::vector<double> values);

/// Median wall time of `rg -i -F -l word folder` (with `counting`, `-c`: every occurrence looked
/// at, as a search that counts matches must) over `runs` runs; exits the process when ripgrep
/// cannot be run, since no figure means anything without it.
double timeRipgrep(const std::string& word, const std::string& folder, int runs, bool counting = false);

/// Median wall time to list the folder and read every file of it once, on all cores, into a
/// buffer per thread: the floor under any call that reads the folder.
double timeReadingEveryFile(const std::string& folder, int runs);

/// Peak resident set size of a live process in MB, from the kernel's high-water mark (0 when
/// the system does not report it).
double peakMegabytes(pid_t pid);

} // namespace zelmor::bench
