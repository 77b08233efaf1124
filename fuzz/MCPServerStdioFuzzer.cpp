// Pushes arbitrary bytes through the stdio loop and the server as the executable runs them:
// over pipes, cut into pieces at any byte, with either end non-blocking and the reader leaving
// early, and tool calls served from the test fixtures' meetings folder so that searches, reads
// and the participant list run on real transcripts with fuzzed arguments.
#include "FuzzInput.h"
#include "ZelmorMCP/LineLoop.h"
#include "ZelmorMCP/MCPServer.h"
#include "ZelmorMCP/ToolExecutor.h"

#include <unicode/gregocal.h>
#include <unicode/timezone.h>

#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <fcntl.h>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <unistd.h>

namespace {

// A home folder that does not exist, and a probe's attribution, so that no call writes the
// activity files: nothing the fuzzer sends may change real files. The folder is only read. A
// fixed clock and calendar, so that a finding reproduces.
const zelmor::MCPServer& server() {
    static zelmor::ToolExecutor tools{
        zelmor::TranscriptFolderResolver{"/nonexistent/zelmor-fuzz-home", ZELMOR_FUZZ_MEETINGS_FOLDER},
        zelmor::ToolExecutor::ActivityAttribution::probe,
        [] { return std::chrono::system_clock::time_point(std::chrono::seconds(1794996000)); },
        [] {
            UErrorCode status = U_ZERO_ERROR;
            return std::unique_ptr<icu::Calendar>(
                new icu::GregorianCalendar(icu::TimeZone::createTimeZone("Europe/Berlin"), status));
        }};
    static const zelmor::MCPServer served(tools);
    return served;
}

void setNonBlocking(int fd) {
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK);
}

/// Writes all of `data` in pieces of `piece` bytes, then closes the descriptor. A write the loop
/// no longer reads fails (the loop has ended) and ends the writing.
void feed(int fd, std::string_view data, size_t piece) {
    while (!data.empty()) {
        ssize_t n = ::write(fd, data.data(), std::min(piece, data.size()));
        if (n <= 0) break;
        data.remove_prefix(static_cast<size_t>(n));
    }
    ::close(fd);
}

/// Everything written to the descriptor until its end, or only up to the first line break when
/// the reader is to leave early.
std::string drain(int fd, bool leaveEarly) {
    std::string out;
    char buffer[4096];
    ssize_t n;
    while ((n = ::read(fd, buffer, sizeof buffer)) > 0) {
        out.append(buffer, static_cast<size_t>(n));
        if (leaveEarly && out.find('\n') != std::string::npos) break;
    }
    ::close(fd);
    return out;
}

} // namespace

// The first byte sets the conditions: bit 0 a non-blocking input, bit 1 a non-blocking output,
// bit 2 a reader that leaves after the first reply, bit 3 a line limit of 4 KB instead of the
// executable's; the high nibble the size of the pieces written. The rest is the input stream.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using zelmor::fuzz::require;
    static const zelmor::MCPServer& served = server();
    static const bool ignoringSigpipe = std::signal(SIGPIPE, SIG_IGN) != SIG_ERR;
    require(ignoringSigpipe, "SIGPIPE can be ignored, as the executable does");
    if (size == 0) return 0;
    const std::uint8_t flags = data[0];
    std::string_view stream(reinterpret_cast<const char*>(data + 1), size - 1);
    const bool leaveEarly = flags & 4;
    const size_t piece = 1 + (flags >> 4) * 997;

    int input[2], output[2];
    require(::pipe(input) == 0 && ::pipe(output) == 0, "pipes can be made");
    if (flags & 1) setNonBlocking(input[0]);
    if (flags & 2) setNonBlocking(output[1]);
    std::string written;
    std::thread writer(feed, input[1], stream, piece);
    std::thread reader([&] { written = drain(output[0], leaveEarly); });
    int status = zelmor::LineLoop::run(
        input[0], output[1], [](std::string_view line) { return served.handle(line); },
        &zelmor::MCPServer::parseErrorReply, (flags & 8) ? 4096 : zelmor::LineLoop::defaultMaxLineBytes);
    ::close(output[1]);
    ::close(input[0]);
    writer.join();
    reader.join();

    require(status == 0, "the loop ends with status 0");
    if (!leaveEarly) {
        require(written.empty() || written.back() == '\n', "every reply ends its line");
        for (size_t start = 0; start < written.size();) {
            size_t end = written.find('\n', start);
            std::string_view line(written.data() + start, end - start);
            require(nlohmann::json::accept(line), "every reply line is JSON");
            start = end + 1;
        }
    }
    return 0;
}
