// Unicode-aware trimming with an ASCII fast path; transcripts are mostly ASCII.
#include "ZelmorMarkdownKit/text/Whitespace.h"

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

namespace {

template <bool (*IsSpace)(char32_t)> std::string_view trimWith(std::string_view text) {
    // Nearly every paragraph starts and ends with an ASCII letter or mark: then nothing is cut.
    auto visible = [](char c) {
        return static_cast<unsigned char>(c) > 0x20 && static_cast<unsigned char>(c) < 0x80;
    };
    if (!text.empty() && visible(text.front()) && visible(text.back())) return text;
    size_t begin = 0;
    while (begin < text.size()) {
        size_t next = begin;
        if (!IsSpace(UTF8::decode(text, next))) break;
        begin = next;
    }
    size_t end = text.size();
    while (end > begin) {
        // Step back to the start of the last code point.
        size_t start = end - 1;
        while (start > begin && (static_cast<unsigned char>(text[start]) & 0xC0) == 0x80) --start;
        size_t probe = start;
        if (!IsSpace(UTF8::decode(text, probe))) break;
        end = start;
    }
    return text.substr(begin, end - begin);
}

} // namespace

std::string_view trimSpacesAndTabs(std::string_view text) {
    return trimWith<isSpaceOrTab>(text);
}
std::string_view trim(std::string_view text) {
    return trimWith<isWhitespaceOrNewline>(text);
}

} // namespace zelmor::Whitespace
