// The stdio loop: the only writer to standard output. One line in, at most one line out,
// each reply written and flushed before the next line is read.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace zelmor::LineLoop {

using Handler = std::function<std::optional<std::string>(std::string_view line)>;

/// Runs until end of input (status 0). Lines of only spaces and tabs are skipped. When the
/// output is closed by the reader, the loop ends quietly with status 0 as well.
int run(int inputFd, int outputFd, const Handler& handle);

} // namespace zelmor::LineLoop
