// A span of the caller's UTF-8 string, as byte offsets: what searches and tokenizers hand back
// so that callers can cut or highlight the original text.
#pragma once

#include <cstddef>

namespace zelmor {

struct TextRange {
    size_t start = 0;
    /// One past the last byte.
    size_t end = 0;

    size_t length() const { return end - start; }
    bool operator==(const TextRange&) const = default;
};

} // namespace zelmor
