// Reads raw bytes so that a line may hold anything; the handler sees valid UTF-8 only.
#include "ZelmorMCP/LineLoop.h"

#include "ZelmorMarkdownKit/text/UTF8.h"
#include "ZelmorMarkdownKit/text/Whitespace.h"

#include <cerrno>
#include <poll.h>
#include <unistd.h>
#include <vector>

namespace zelmor::LineLoop {

namespace {

constexpr size_t longLineBytes = size_t{1} << 20;

/// After EAGAIN on a descriptor the client left non-blocking: waits until it is ready, as a
/// blocking one would have. False when it never will be (closed, or an error).
bool awaitReady(int fd, short events) {
    pollfd entry{fd, events, 0};
    while (::poll(&entry, 1, -1) < 0)
        if (errno != EINTR) return false;
    // A hang-up still lets a reader drain what was sent; the next read or write tells the rest.
    return (entry.revents & POLLNVAL) == 0;
}

bool wouldBlock() {
    return errno == EAGAIN || errno == EWOULDBLOCK;
}

bool writeAll(int fd, std::string_view data) {
    while (!data.empty()) {
        ssize_t n = ::write(fd, data.data(), data.size());
        if (n < 0) {
            if (errno == EINTR || (wouldBlock() && awaitReady(fd, POLLOUT))) continue;
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

bool answerOversized(int outputFd, const OversizedHandler& oversized) {
    if (!oversized) return true;
    auto reply = oversized();
    if (!reply) return true;
    reply->push_back('\n');
    return writeAll(outputFd, *reply);
}

} // namespace

int run(int inputFd, int outputFd, const Handler& handle, const OversizedHandler& oversized,
        size_t maxLineBytes) {
    std::vector<char> buffer(1 << 16);
    std::string pending;
    bool discarding = false; // inside a line already over the limit: drop bytes until its end
    while (true) {
        ssize_t n = ::read(inputFd, buffer.data(), buffer.size());
        if (n < 0) {
            if (errno == EINTR || (wouldBlock() && awaitReady(inputFd, POLLIN))) continue;
            break;
        }
        if (n == 0) break;
        std::string_view chunk(buffer.data(), static_cast<size_t>(n));
        while (!chunk.empty()) {
            size_t newline = chunk.find('\n');
            std::string_view piece = chunk.substr(0, newline);
            if (!discarding && pending.size() + piece.size() > maxLineBytes) {
                discarding = true;
                std::string().swap(pending); // give the memory back, not just the size
            }
            if (newline == std::string_view::npos) {
                if (!discarding) {
                    // Doubling would copy a long line over and over and briefly hold it twice;
                    // past the first megabyte, room for the longest line is taken at once
                    // (address space only, until written).
                    if (pending.size() + piece.size() > longLineBytes && pending.capacity() < maxLineBytes)
                        pending.reserve(maxLineBytes);
                    pending.append(piece);
                }
                break;
            }
            bool written;
            if (discarding) {
                discarding = false;
                written = answerOversized(outputFd, oversized);
            } else if (pending.empty()) {
                written = dispatch(piece, outputFd, handle);
            } else {
                pending.append(piece);
                written = dispatch(pending, outputFd, handle);
                pending.clear();
                if (pending.capacity() > longLineBytes)
                    std::string().swap(pending); // return what a long line took
            }
            if (!written) return 0;
            chunk.remove_prefix(newline + 1);
        }
    }
    // Input ended in the middle of a line: that last line still counts.
    if (discarding)
        answerOversized(outputFd, oversized);
    else if (!pending.empty())
        dispatch(pending, outputFd, handle);
    return 0;
}

} // namespace zelmor::LineLoop
