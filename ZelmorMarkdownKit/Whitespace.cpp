// Unicode-aware trimming with an ASCII fast path; transcripts are mostly ASCII.
#include "ZelmorMarkdownKit/Whitespace.h"

namespace zelmor::Whitespace {

bool isSpaceOrTab(char32_t c) {
    if (c < 0x80) return c == ' ' || c == '\t';
    return c == 0xA0 || c == 0x1680 || (c >= 0x2000 && c <= 0x200A) || c == 0x202F || c == 0x205F ||
           c == 0x3000;
}

bool isWhitespaceOrNewline(char32_t c) {
    if (c < 0x80) return c == ' ' || (c >= 0x09 && c <= 0x0D);
    return c == 0x85 || c == 0x2028 || c == 0x2029 || isSpaceOrTab(c);
}

char32_t decodeUtf8(std::string_view s, size_t& at) {
    auto b0 = static_cast<unsigned char>(s[at]);
    if (b0 < 0x80) {
        ++at;
        return b0;
    }
    size_t extra = b0 >= 0xF0 ? 3 : b0 >= 0xE0 ? 2 : b0 >= 0xC0 ? 1 : 0;
    if (extra == 0 || b0 > 0xF4 || at + extra >= s.size()) {
        ++at;
        return 0xFFFD;
    }
    char32_t c = b0 & (0x3F >> extra);
    for (size_t k = 1; k <= extra; ++k) {
        auto b = static_cast<unsigned char>(s[at + k]);
        if ((b & 0xC0) != 0x80) {
            ++at;
            return 0xFFFD;
        }
        c = (c << 6) | (b & 0x3F);
    }
    at += extra + 1;
    return c;
}

void appendUtf8(std::string& out, char32_t c) {
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

namespace {

template <bool (*IsSpace)(char32_t)> std::string_view trimWith(std::string_view text) {
    size_t begin = 0;
    while (begin < text.size()) {
        size_t next = begin;
        if (!IsSpace(decodeUtf8(text, next))) break;
        begin = next;
    }
    size_t end = text.size();
    while (end > begin) {
        // Step back to the start of the last code point.
        size_t start = end - 1;
        while (start > begin && (static_cast<unsigned char>(text[start]) & 0xC0) == 0x80) --start;
        size_t probe = start;
        if (!IsSpace(decodeUtf8(text, probe))) break;
        end = start;
    }
    return text.substr(begin, end - begin);
}

} // namespace

std::string_view trimSpacesAndTabs(std::string_view text) { return trimWith<isSpaceOrTab>(text); }
std::string_view trim(std::string_view text) { return trimWith<isWhitespaceOrNewline>(text); }

} // namespace zelmor::Whitespace
