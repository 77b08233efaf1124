// Case and diacritic folding with no locale, the one notion of "the same letters" that search,
// participant filters and speaker labels share: "Résumé", "RESUME" and "resume" fold alike.
#pragma once

#include "ZelmorMarkdownKit/text/TextRange.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zelmor::TextFolding {

/// Appends the folded text: each code point is case folded (full folding), decomposed, stripped
/// of nonspacing marks (Mn) and recomposed. Folding works code point by code point, so a match
/// in folded text always maps back to whole code points of the original.
void appendFolded(std::string_view text, std::string& out);

std::string folded(std::string_view text);

/// Folded text that remembers where each of its bytes came from.
struct Mapped {
    std::string text;
    /// For each byte of `text`, the offset in the original of the code point it came from.
    std::vector<size_t> sources;
    size_t originalSize = 0;

    /// The original bytes behind folded bytes [start, end): whole code points, plus any marks
    /// that folding dropped right after them.
    TextRange originalRange(size_t start, size_t end) const;
};

Mapped foldedWithSources(std::string_view text);

/// Where the term first occurs in the text, ignoring case and diacritics; a term that folds to
/// nothing occurs nowhere.
std::optional<TextRange> find(std::string_view text, std::string_view term);

bool contains(std::string_view text, std::string_view term);

/// The folded form of one code point below U+3000 (a table lookup, no ICU); nothing above.
std::optional<std::string_view> foldedFromTable(char32_t c);

/// The ASCII bytes of `bytes` as bits, `1 << (byte % 32)` (a bit stands for several bytes).
uint32_t asciiBits(std::string_view bytes);

/// For each code point below U+3000 (the index), `asciiBits` of its folded form: what it can
/// add to a match of ASCII bytes. Every bit where the folded form is empty: a mark can sit
/// inside any match.
std::span<const uint32_t> foldedASCIIBits();

} // namespace zelmor::TextFolding
