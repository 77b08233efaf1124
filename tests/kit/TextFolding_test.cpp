// Folding case and diacritics together, ranges that map back to the original bytes, FoldedNeedle
// held to folding the whole text, prefixes of whole characters, and UTF-8 validation and
// decoding held to repairing.
#include "ZelmorMarkdownKit/text/FoldedNeedle.h"
#include "ZelmorMarkdownKit/text/ICUText.h"
#include "ZelmorMarkdownKit/text/TextFolding.h"
#include "ZelmorMarkdownKit/text/UTF8.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>

namespace zelmor {
namespace {

TEST(TextFolding, FoldsCaseAndDiacriticsTogetherAndFindGivesTheOriginalBytesOfTheMatch) {
    EXPECT_EQ(TextFolding::folded("Résumé RÉSUMÉ"), "resume resume");
    EXPECT_EQ(TextFolding::folded("Straße"), "strasse");
    EXPECT_EQ(TextFolding::folded("e\u0301t\u00e9"), "ete"); // combining acute, then precomposed
    EXPECT_EQ(TextFolding::folded("İstanbul"), "istanbul");
    EXPECT_EQ(TextFolding::folded("한국어 ’quoted’"), "한국어 ’quoted’");
    EXPECT_EQ(TextFolding::folded("𝐀Ǆ"), "𝐀ǆ");
    EXPECT_FALSE(TextFolding::contains("e\u0301", "\u0301")) << "a term that folds to nothing is never found";
    // A match that ends on a decomposed letter takes the dropped mark with it, and half of an
    // expanded letter still maps to the whole letter.
    for (auto [text, term, original] : {std::tuple{"Our Résumé review", "resume", "Résumé"},
                                        {"cafe\u0301 time", "CAFÉ", "cafe\u0301"},
                                        {"Die Straße", "stras", "Straß"}}) {
        auto found = TextFolding::find(text, term);
        ASSERT_TRUE(found.has_value()) << text;
        EXPECT_EQ(std::string(text).substr(found->start, found->length()), original);
    }
}

bool byDefinition(std::string_view text, const std::string& needle) {
    return TextFolding::folded(text).find(needle) != std::string::npos;
}

TEST(FoldedNeedle, NearMissesAndAnAccentedLetterAtEitherEndOfATurnAreSeenAtEveryOffset) {
    FoldedNeedle pricing(TextFolding::folded("pricing page")), early(TextFolding::folded("zeppelin")),
        longer(TextFolding::folded("pricing page review zeppelin"));
    // Near misses, in a turn-sized text and in a longer one where they make the search leave its
    // first method midway; the needle then sits at every place relative to the 16-byte blocks,
    // and once past the last whole block.
    for (int copies : {40, 130}) {
        std::string decoys;
        for (int i = 0; i < copies; ++i) decoys += "Pricing Pag. gig ";
        for (size_t pad = 0; pad < 40; ++pad) {
            std::string text = decoys + std::string(pad, 'g');
            EXPECT_FALSE(pricing.occursIn(text)) << pad;
            EXPECT_TRUE(pricing.occursIn(text + "PRICING page")) << pad;
            EXPECT_TRUE(pricing.occursIn(text + "pricing page" + std::string(pad % 17, '.'))) << pad;
        }
    }
    // The block scan of a turn-sized text loads its bytes at the needle's rarest letter's offset,
    // so the first and last few bytes are checked apart for letters that fold: í and é fold into
    // the needle, ó does not. In "zeppelin" the rarest letter comes first, so the unloaded bytes
    // are at the end; the last needle is longer than one block.
    for (size_t pad = 20; pad < 60; ++pad) {
        std::string x(pad, 'x');
        for (const auto& [needle, found, missed] :
             {std::tuple{&pricing, "prícing page" + x, "prócing page" + x},
              {&pricing, x + "pricing pagé", x + "pricing pagó"},
              {&pricing, x + "pricing pagé!", x + "pricing pagó!"},
              {&early, x + "zeppelín", x + "zeppelón"},
              {&longer, x + "pricing page review zeppelín", x + "pricing page review zeppelón"},
              {&longer, "prícing page review zeppelin" + x, "prócing page review zeppelin" + x}}) {
            EXPECT_TRUE(needle->occursIn(found)) << found;
            EXPECT_FALSE(needle->occursIn(missed)) << missed;
        }
    }
}

TEST(FoldedNeedle, AgreesWithFoldingTheWholeTextOnRandomMixedText) {
    // Pieces chosen to meet at every boundary: case, marks, ligatures, expansions, line breaks,
    // characters beyond the fold table, and letters that rank as rare or common anchors.
    const std::vector<std::string> alphabet = {
        "a", "E", "z",      "Z",      "q", "e", " ", "\n", ".", "'",  "é",    "e\u0301", "\u0301",
        "ß", "S", "\ufb01", "\u212a", "k", "İ", "i", "ø",  "’", "中", "🙂", "\r",      "1"};
    std::mt19937 random(20261122);
    auto text = [&](size_t length) {
        std::string out;
        for (size_t i = 0; i < length; ++i) out += alphabet[random() % alphabet.size()];
        return out;
    };
    int found = 0;
    for (int round = 0; round < 4000; ++round) {
        std::string haystack = text(random() % 60);
        // Half the needles are cut from the folded haystack itself, so that many are present.
        std::string folded = TextFolding::folded(round % 2 == 0 ? haystack : text(1 + random() % 6));
        if (folded.empty()) continue;
        size_t start = random() % folded.size();
        // A cut may split a code point; folding the piece again keeps it well formed, as search does.
        std::string piece = TextFolding::folded(
            folded.substr(start, 1 + random() % std::min<size_t>(8, folded.size() - start)));
        if (piece.empty()) continue;
        bool expected = byDefinition(haystack, piece);
        found += expected;
        ASSERT_EQ(FoldedNeedle(piece).occursIn(haystack), expected)
            << "text \"" << haystack << "\" needle \"" << piece << "\"";
    }
    EXPECT_GT(found, 500) << "too few hits for the comparison to mean much";
}

TEST(ICUText, APrefixOfCharactersKeepsEachWholeHoweverManyBytesItTakes) {
    // A letter with twelve accents is one character of 25 bytes, three times what the first
    // window allows for.
    std::string text;
    for (int i = 0; i < 40; ++i) {
        text += "e";
        for (int k = 0; k < 12; ++k) text += "\u0301";
    }
    EXPECT_EQ(ICUText::prefixCharacters(text, 30), text.substr(0, 30 * 25));
    EXPECT_EQ(ICUText::prefixCharacters(text, 4), text.substr(0, 4 * 25))
        << "the first window ends in the fourth";
    EXPECT_EQ(ICUText::prefixCharacters(text, 50), text);
    EXPECT_EQ(ICUText::prefixCharacters("caf\u00e9s", 4), "caf\u00e9");
}

TEST(UTF8, IllFormedBytesAreFoundAnywhereWellFormedOnesPassAcrossBlocksAndDecodingReplacesAsRepairing) {
    // 164 bytes cover whole 64- and 32-byte blocks, 8-byte words and a byte-wise tail.
    const std::string ascii(164, 'a');
    ASSERT_TRUE(UTF8::isValid(ascii));
    for (size_t at = 0; at < ascii.size(); ++at)
        for (std::string bad : {"\x80", "\xFF", "\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80"})
            EXPECT_FALSE(
                UTF8::isValid(std::string(ascii).replace(at, bad.size(), bad).substr(0, ascii.size())))
                << "at " << at;
    for (std::string sequence : {"é", "“", "😀"}) {
        for (size_t at = 0; at < 140; ++at) {
            EXPECT_TRUE(UTF8::isValid(std::string(at, 'a') + sequence + std::string(140 - at, 'b'))) << at;
            // Cut one byte short at the very end: a truncated sequence is ill-formed.
            EXPECT_FALSE(UTF8::isValid(std::string(at, 'a') + sequence.substr(0, sequence.size() - 1))) << at;
        }
    }
    // An overlong "/", a surrogate, past U+10FFFF, and cut short (one maximal subpart).
    for (auto [bytes, decoded] : {std::pair<std::string, std::u32string>{"aé“😀", U"a\u00E9\u201C\U0001F600"},
                                  {"\xC0\xAF", U"\uFFFD\uFFFD"},
                                  {"\xED\xA0\x80", U"\uFFFD\uFFFD\uFFFD"},
                                  {"\xF4\x90\x80\x80", U"\uFFFD\uFFFD\uFFFD\uFFFD"},
                                  {"\xE2\x80", U"\uFFFD"},
                                  {"\xE2\x80x", U"\uFFFDx"}}) {
        std::u32string read;
        std::string encoded;
        for (size_t at = 0; at < bytes.size();) {
            read += UTF8::decode(bytes, at);
            UTF8::append(encoded, read.back());
        }
        EXPECT_EQ(read, decoded) << bytes;
        EXPECT_EQ(encoded, UTF8::repaired(bytes)) << bytes;
    }
    // The kit's text functions take a host app's text as it comes.
    EXPECT_EQ(ICUText::lowercased("A\xC0\xAF"), "a\uFFFD\uFFFD");
}

TEST(UTF8, BlockMasksMarkEachNonASCIIByteAndEachSequenceStartInEitherBuild) {
    // The vector path and the eight-byte path (what other processors build) against each byte.
    std::mt19937 random(20261124);
    for (int round = 0; round < 200; ++round) {
        std::string block(64, 'a');
        for (char& byte : block)
            if (random() % 3 == 0) byte = static_cast<char>(0x80 + random() % 128);
        std::uint64_t nonASCII = 0, starts = 0;
        for (size_t k = 0; k < 64; ++k) {
            nonASCII |= std::uint64_t(static_cast<unsigned char>(block[k]) >= 0x80) << k;
            starts |= std::uint64_t(static_cast<unsigned char>(block[k]) >= 0xC0) << k;
        }
        EXPECT_EQ(UTF8::highBits(block.data()), nonASCII);
        EXPECT_EQ(UTF8::highBitsByWords<false>(block.data()), nonASCII);
        EXPECT_EQ(UTF8::highBits<true>(block.data()), starts);
        EXPECT_EQ(UTF8::highBitsByWords<true>(block.data()), starts);
    }
}

} // namespace
} // namespace zelmor
