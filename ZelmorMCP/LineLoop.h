// The stdio loop: the only writer to standard output. One line in, at most one line out,
// each reply written and flushed before the next line is read.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace zelmor::LineLoop {

using Handler = std::function<std::optional<std::string>(std::string_view line)>;

/// The reply to a line that was too long to keep; none of its bytes are passed on.
using OversizedHandler = std::function<std::optional<std::string>()>;

/// A client (or a fuzzer) may send a line with no end; past this many bytes the line is dropped
/// as it arrives, so memory stays bounded whatever comes in.
inline constexpr size_t defaultMaxLineBytes = size_t{64} << 20;

/// Runs until end of input (status 0). Lines of only spaces and tabs are skipped. A line longer
/// than `maxLineBytes` is discarded up to its end and answered by `oversized` (when given); the
/// loop then goes on. When the output is closed by the reader, the loop ends quietly with status 0.
int run(int inputFd, int outputFd, const Handler& handle, const OversizedHandler& oversized = {},
        size_t maxLineBytes = defaultMaxLineBytes);

} // namespace zelmor::LineLoop
