// The line limit of the stdio loop, driven in-process through pipes with a small limit so that
// the edges (at the limit, one past it, across reads, at end of input) are cheap to reach.
#include "ZelmorMCP/LineLoop.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <thread>

namespace zelmor {
namespace {

/// Feeds `input` to the loop and gives what it wrote. Each line is answered with its length.
std::string loop(const std::string& input, size_t limit, bool answerOversized = true) {
    int in[2], out[2];
    if (::pipe(in) != 0 || ::pipe(out) != 0) return "pipe failed";
    std::thread feeder([&] {
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
        char buffer[4096];
        ssize_t n;
        while ((n = ::read(out[0], buffer, sizeof buffer)) > 0) written.append(buffer, static_cast<size_t>(n));
    });
    LineLoop::OversizedHandler oversized;
    if (answerOversized) oversized = [] { return std::optional<std::string>("too long"); };
    LineLoop::run(
        in[0], out[1], [](std::string_view line) { return std::optional<std::string>(std::to_string(line.size())); },
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

} // namespace
} // namespace zelmor
