// Trimming with the two notions of white space that transcript files use: "spaces and tabs"
// (frontmatter values) and "white space and line breaks" (sections, paragraphs, names).
#pragma once

#include "ZelmorMarkdownKit/text/UTF8.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace zelmor::Whitespace {

/// Unicode space separators (Zs) and the tab.
bool isSpaceOrTab(char32_t c);

/// Spaces and tabs, plus line breaks: U+000A-U+000D, U+0085, U+2028, U+2029.
bool isWhitespaceOrNewline(char32_t c);

/// The view without leading and trailing spaces and tabs.
std::string_view trimSpacesAndTabs(std::string_view text);

/// The view without leading and trailing white space and line breaks.
std::string_view trim(std::string_view text);

/// Splits at runs of white space and line breaks, dropping empty pieces.
template <typename F> void forEachWord(std::string_view text, F&& visit);

template <typename F> void forEachWord(std::string_view text, F&& visit) {
    size_t i = 0, wordStart = std::string_view::npos;
    while (i < text.size()) {
        size_t at = i;
        char32_t c = UTF8::decode(text, i);
        if (isWhitespaceOrNewline(c)) {
            if (wordStart != std::string_view::npos) visit(text.substr(wordStart, at - wordStart));
            wordStart = std::string_view::npos;
        } else if (wordStart == std::string_view::npos) {
            wordStart = at;
        }
    }
    if (wordStart != std::string_view::npos) visit(text.substr(wordStart));
}

} // namespace zelmor::Whitespace
