// Ruling out, on bytes alone, text in which no word has one of a question's stems, so that only
// the text that may hold one is tokenized: most of a long meeting never mentions the question.
#pragma once

#include "ZelmorMarkdownKit/text/ByteBlocks.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace zelmor {

/// Stems (as `QueryTokenizer::stem` gives them) to look for in raw text.
///
/// A word's stem, less a final "y" (from "ies"), starts its normalised form, which is its
/// letters and digits lowered: in ASCII text the word then starts at a place where that prefix
/// stands, with at most joining marks ("_", "'", ".", ",", ";", "@") between its characters. No
/// word of `QueryTokenizer::words(text)` with one of the stems starts anywhere else.
class KeywordSieve {
public:
    /// How the blocks are tested: with the processor's byte shuffle where it has one (x86's
    /// AVX2), whatever the number of stems; or, on every processor, comparing each stem's bytes.
    enum class Blocks { fastest, portable };

    explicit KeywordSieve(const std::vector<std::string>& stems, Blocks blocks = Blocks::fastest);

    /// For ASCII text: each place, in order, where a word holding one of the stems may have its
    /// first letter or digit, until `visit` answers false. Every such word's place is among them.
    void forEachPlace(std::string_view text, const std::function<bool(size_t)>& visit) const;

    /// Whether `forEachPlace` can stand for tokenizing: no stem escapes the bytes.
    bool findsEveryStem() const { return !holdsAnything; }

private:
    /// Whether a word whose normalised form starts with `prefix` may start at `at`, where the
    /// prefix's first character stands.
    static bool mayStartAt(std::string_view text, size_t at, std::string_view prefix);

    void forEachPlacePortably(std::string_view text, const std::function<bool(size_t)>& visit) const;
    /// Only where the processor shuffles bytes (x86).
    void forEachPlaceByNibbles(std::string_view text, const std::function<bool(size_t)>& visit) const;
    /// Whether one of the prefixes whose bit `buckets` sets (or any, with all bits) starts a word
    /// at `at`.
    bool mayStartAny(std::string_view text, size_t at, unsigned buckets = 0xff) const;

    /// What each stem's words start with: lowered ASCII letters and digits, two or more.
    std::vector<std::string> prefixes;
    /// Each prefix's first two bytes in every lane of a 16-byte vector.
    struct Lanes {
        ByteBlocks::Bytes first, second;
    };
    std::vector<Lanes> lanes;
    /// For the shuffle: prefix i is in bucket i % 8; each table answers, for a nibble of a
    /// lowered byte, the buckets whose prefixes' first (second, third) byte has it. A prefix of
    /// two bytes takes any third.
    struct Nibbles {
        unsigned char firstLow[16], firstHigh[16], secondLow[16], secondHigh[16], thirdLow[16], thirdHigh[16];
    };
    Nibbles nibbles{};
    bool byNibbles = false;
    /// A stem no bytes can rule out (outside ASCII, too short, or the one-on-one stand-in).
    bool holdsAnything = false;
};

} // namespace zelmor
