// A UTF-8 string as the UTF-16 that ICU works in, with the way back: the UTF-8 offset of every
// UTF-16 unit, so that ICU positions become byte offsets into the caller's string.
#pragma once

#include <unicode/unistr.h>

#include <string_view>
#include <vector>

namespace zelmor {

struct Utf16Text {
    icu::UnicodeString units;
    /// One entry per unit (both halves of a surrogate pair share one), plus one for the end.
    std::vector<size_t> byteOffsets;

    /// Invalid UTF-8 becomes U+FFFD, one per maximal ill-formed piece.
    explicit Utf16Text(std::string_view text);
};

} // namespace zelmor
