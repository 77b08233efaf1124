// What the harnesses share: cutting one input into several arguments, and stopping a run when a
// cheap invariant of an entry point does not hold, so that libFuzzer keeps the input.
#pragma once

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <vector>

namespace zelmor::fuzz {

/// Separates the arguments packed into one input. A NUL byte: text seeds rarely hold one, so a
/// seed made of a file stays whole in the last argument.
inline constexpr char separator = '\0';

/// The input cut into `count` arguments at the first `count - 1` separators; the last one keeps
/// the rest, separators included. Arguments the input does not reach are empty.
inline std::vector<std::string_view> arguments(std::string_view input, size_t count) {
    std::vector<std::string_view> parts;
    while (parts.size() + 1 < count) {
        size_t cut = input.find(separator);
        if (cut == std::string_view::npos) break;
        parts.push_back(input.substr(0, cut));
        input.remove_prefix(cut + 1);
    }
    parts.push_back(input);
    parts.resize(count);
    return parts;
}

/// Aborts with the broken invariant named, which libFuzzer reports as a crash.
inline void require(bool holds, const char* invariant) {
    if (holds) return;
    std::fprintf(stderr, "broken invariant: %s\n", invariant);
    std::abort();
}

} // namespace zelmor::fuzz
