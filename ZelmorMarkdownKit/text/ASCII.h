// ASCII character tests and case mapping, for keys, file extensions and the fast paths beside
// ICU: only A-Z and a-z are letters here, and every other byte, UTF-8 included, is left as it is.
#pragma once

#include <string>

namespace zelmor::ASCII {

constexpr bool isUpper(char c) {
    return c >= 'A' && c <= 'Z';
}
constexpr bool isLower(char c) {
    return c >= 'a' && c <= 'z';
}
constexpr bool isLetter(char c) {
    return isUpper(c) || isLower(c);
}
constexpr bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
constexpr char lower(char c) {
    return isUpper(c) ? static_cast<char>(c + ('a' - 'A')) : c;
}

/// The text with A-Z lowered.
inline std::string lowercased(std::string text) {
    for (char& c : text) c = lower(c);
    return text;
}

} // namespace zelmor::ASCII
