// Finding a folded term in raw text without folding the whole text: the whole-file test that
// rules a file out of a search before its body is parsed.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace zelmor {

/// A term, already folded, to look for in text that is not.
///
/// `occursIn(text)` answers exactly what `TextFolding::folded(text).find(folded) != npos` would,
/// for well-formed UTF-8. (The store asks it of a file's raw bytes before checking them, and
/// drops a file that is not well formed whatever the answer.) For a term of ASCII bytes (most
/// folded terms, accents being stripped), it looks for the term's rarest byte with `memchr` and
/// compares case-insensitively around each find; only about a character that could fold into
/// the term is the text folded.
class FoldedNeedle {
public:
    /// `folded` is the output of `TextFolding::folded`; it must not be empty.
    explicit FoldedNeedle(std::string folded);

    bool occursIn(std::string_view text) const;

    const std::string& folded() const { return needle; }

private:
    bool occursAsASCII(std::string_view text) const;
    bool occursAcrossNonASCII(std::string_view text) const;
    /// Whether the needle occurs across the code point starting at `start` (`window`: scratch).
    bool occursAcross(std::string_view text, size_t start, std::string& window) const;
    /// Whether the needle starts at some place from `from` on, found by its two rarest bytes.
    /// When it does not, `nonASCII` (if given) tells whether the text holds a non-ASCII byte.
    bool occursByPairs(std::string_view text, size_t from, bool* nonASCII) const;
    /// Whether the raw bytes there, lowered, are the needle.
    bool matchesAt(const unsigned char* start) const;
    /// Whether raw text holds the anchor byte once folded.
    bool mayHoldAnchor(std::string_view window) const;
    /// Whether the needle occurs across the code point at [start, end), when that is sure
    /// without folding: the code point folds to one letter, and at each place it can take in
    /// the needle an ASCII byte that differs comes before any non-ASCII one.
    std::optional<bool> acrossOneLetter(std::string_view text, size_t start, size_t end, char32_t c) const;

    std::string needle;
    /// `TextFolding::asciiBits` of the needle, and the table of what each code point folds into.
    uint32_t bits;
    std::span<const uint32_t> foldBits;
    /// ASCII and no line break: searched in the raw text; otherwise the text is folded whole.
    bool byteWise = true;
    /// The byte of the needle searched for first, and where it sits in the needle.
    size_t anchor = 0;
    /// The next rarest byte's place (the anchor's own when the needle is one byte long).
    size_t second = 0;
};

} // namespace zelmor
