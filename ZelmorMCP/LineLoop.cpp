// Reads raw bytes so that a line may hold anything; the handler sees valid UTF-8 only.
#include "ZelmorMCP/LineLoop.h"

#include "ZelmorMarkdownKit/UTF8.h"
#include "ZelmorMarkdownKit/Whitespace.h"

#include <cerrno>
#include <unistd.h>
#include <vector>

namespace zelmor::LineLoop {

namespace {

bool writeAll(int fd, std::string_view data) {
    while (!data.empty()) {
        ssize_t n = ::write(fd, data.data(), data.size());
        if (n < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        data.remove_prefix(static_cast<size_t>(n));
    }
    return true;
}

/// Handles one line; false when the reply could not be written (the reader went away).
bool dispatch(std::string_view raw, int outputFd, const Handler& handle) {
    if (!raw.empty() && raw.back() == '\r') raw.remove_suffix(1); // "\r\n" ends a line too
    // Invalid bytes become U+FFFD, as a UTF-8 line reader does; the JSON parser then decides.
    std::string line = UTF8::repaired(raw);
    if (Whitespace::trimSpacesAndTabs(line).empty()) return true;
    auto reply = handle(line);
    if (!reply) return true;
    reply->push_back('\n');
    return writeAll(outputFd, *reply);
}

} // namespace

int run(int inputFd, int outputFd, const Handler& handle) {
    std::vector<char> buffer(1 << 16);
    std::string pending;
    while (true) {
        ssize_t n = ::read(inputFd, buffer.data(), buffer.size());
        if (n < 0) {
            if (errno == EINTR) continue;
            break;
        }
        if (n == 0) break;
        std::string_view chunk(buffer.data(), static_cast<size_t>(n));
        while (!chunk.empty()) {
            size_t newline = chunk.find('\n');
            if (newline == std::string_view::npos) {
                pending.append(chunk);
                break;
            }
            bool written;
            if (pending.empty()) {
                written = dispatch(chunk.substr(0, newline), outputFd, handle);
            } else {
                pending.append(chunk.substr(0, newline));
                written = dispatch(pending, outputFd, handle);
                pending.clear();
            }
            if (!written) return 0;
            chunk.remove_prefix(newline + 1);
        }
    }
    // Input ended in the middle of a line: that last line still counts.
    if (!pending.empty()) dispatch(pending, outputFd, handle);
    return 0;
}

} // namespace zelmor::LineLoop
