// The line limit of the stdio loop, driven in-process through pipes with a small limit so that
// the edges (at the limit, one past it, across reads, at end of input) are cheap to reach, and
// the loop over non-blocking ends.
#include "ZelmorMCP/LineLoop.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <thread>

namespace zelmor {
namespace {

/// How the ends of the pipes behave, as a client may hand them over.
struct Ends {
    /// Both ends the loop uses are non-blocking, and the other side comes late: the input only
    /// after the loop has started, the reading of the output only after a while.
    bool nonBlocking = false;
    /// The loop answers each line with this many "x" instead of its length.
    size_t replyBytes = 0;
};

/// Feeds `input` to the loop and gives what it wrote. Each line is answered with its length.
std::string loop(const std::string& input, size_t limit, bool answerOversized = true, Ends ends = {}) {
    int in[2], out[2];
    if (::pipe(in) != 0 || ::pipe(out) != 0) return "pipe failed";
    if (ends.nonBlocking) {
        ::fcntl(in[0], F_SETFL, O_NONBLOCK);
        ::fcntl(out[1], F_SETFL, O_NONBLOCK);
    }
    auto late = [&] {
        if (ends.nonBlocking) std::this_thread::sleep_for(std::chrono::milliseconds(100));
    };
    std::thread feeder([&] {
        late();
        std::string_view rest = input;
        while (!rest.empty()) {
            ssize_t n = ::write(in[1], rest.data(), rest.size());
            if (n <= 0) break;
            rest.remove_prefix(static_cast<size_t>(n));
        }
        ::close(in[1]);
    });
    std::string written;
    std::thread reader([&] {
        late();
        char buffer[4096];
        ssize_t n;
        while ((n = ::read(out[0], buffer, sizeof buffer)) > 0)
            written.append(buffer, static_cast<size_t>(n));
    });
    LineLoop::OversizedHandler oversized;
    if (answerOversized) oversized = [] { return std::optional<std::string>("too long"); };
    LineLoop::run(
        in[0], out[1],
        [&](std::string_view line) {
            return std::optional<std::string>(ends.replyBytes ? std::string(ends.replyBytes, 'x')
                                                              : std::to_string(line.size()));
        },
        oversized, limit);
    ::close(out[1]);
    feeder.join();
    reader.join();
    ::close(in[0]);
    ::close(out[0]);
    return written;
}

TEST(LineLoopLimit, LineAtTheLimitIsHandledOnePastItIsAnsweredAsOversized) {
    EXPECT_EQ(loop("abcdefghij\nabcdefghijk\nxy\n", 10), "10\ntoo long\n2\n");
}

TEST(LineLoopLimit, OversizedLineSpanningManyReadsIsDroppedWhole) {
    std::string big(300000, 'x'); // several reads of the loop's buffer
    EXPECT_EQ(loop("a\n" + big + "\nbc\n" + big + "\n", 10), "1\ntoo long\n2\ntoo long\n");
}

TEST(LineLoopLimit, OversizedLastLineWithoutItsEndIsStillAnswered) {
    EXPECT_EQ(loop("a\n" + std::string(50, 'x'), 10), "1\ntoo long\n");
}

TEST(LineLoopLimit, WithoutAnOversizedHandlerTheLineIsDroppedSilently) {
    EXPECT_EQ(loop(std::string(50, 'x') + "\nab\n", 10, false), "2\n");
}

TEST(LineLoopEnds, NonBlockingEndsAreWaitedOnNotTakenForClosed) {
    // Input that arrives after the first read found none is read, not taken for the end.
    EXPECT_EQ(loop("ab\ncde\n", 10, true, {.nonBlocking = true}), "2\n3\n");
    // A reply larger than the pipe holds, to a reader that comes late, arrives whole.
    std::string reply = loop("a\n", 10, true, {.nonBlocking = true, .replyBytes = 300000});
    EXPECT_EQ(reply.size(), 300001u);
    EXPECT_EQ(reply.back(), '\n');
}

} // namespace
} // namespace zelmor
