// UTF-8 validation and repair: files must be valid UTF-8 to be read as text, and protocol
// lines are decoded with replacement characters, as a line reader of the platform does.
#pragma once

#include <string>
#include <string_view>

namespace zelmor::UTF8 {

/// The first byte at or after `from` with the high bit set, or the size when there is none.
size_t firstNonASCII(std::string_view bytes, size_t from = 0);

/// True when every byte is below 0x80.
inline bool isASCII(std::string_view bytes) {
    return firstNonASCII(bytes) == bytes.size();
}

/// True when the bytes are well-formed UTF-8 (no overlongs, surrogates or values past U+10FFFF).
bool isValid(std::string_view bytes);

/// The text with every ill-formed sequence replaced by U+FFFD (maximal subparts, one each).
std::string repaired(std::string_view bytes);

/// The code point starting at `at`, advancing `at` past it; an ill-formed sequence (overlong,
/// surrogate, past U+10FFFF, cut short) decodes as one U+FFFD per maximal subpart, as `repaired`
/// replaces it.
char32_t decode(std::string_view bytes, size_t& at);

/// Appends the UTF-8 encoding of a code point.
void append(std::string& out, char32_t c);

} // namespace zelmor::UTF8
