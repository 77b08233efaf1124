// The scan-level benchmark: times the meeting store's folder scans in-process against ripgrep
// over the same corpus, without the protocol in between.
#pragma once

#include <string>

namespace zelmor::bench {

/// Prints a markdown table (our median, ripgrep's median, ratio, our peak memory) for each scan
/// entry point whose label contains `only`, each measured in a fresh child process so that peak
/// memory is its own. 0 on success.
int runScanBench(const std::string& corpus, int runs, const std::string& only);

} // namespace zelmor::bench
