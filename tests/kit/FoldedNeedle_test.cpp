// FoldedNeedle against the definition it stands for: folding the whole text and searching it.
#include "ZelmorMarkdownKit/text/FoldedNeedle.h"
#include "ZelmorMarkdownKit/text/TextFolding.h"

#include <gtest/gtest.h>

#include <random>

namespace zelmor {
namespace {

bool byDefinition(std::string_view text, const std::string& needle) {
    return TextFolding::folded(text).find(needle) != std::string::npos;
}

TEST(FoldedNeedle, FindsTheTermWhereverFoldingWouldMakeIt) {
    struct Case {
        const char* text;
        const char* term;
        bool found;
    };
    for (const auto& [text, term, found] : std::initializer_list<Case>{
             {"Meet the ZEPPELIN team", "zeppelin", true},
             {"zeppeli", "zeppelin", false},
             {"ze\xCC\x81ppelin", "zeppelin", true}, // a combining mark folds away
             {"Z\xC3\xA9ppelin", "zeppelin", true},  // a precomposed letter folds to ASCII
             {"\xEF\xAC\x81nal", "final", true},     // a ligature folds to two letters
             {"Stra\xC3\x9F"
              "e",
              "strasse", true}, // sharp s folds to "ss"
             {"\xE2\x84\xAA"
              "elvin",
              "kelvin", true},                            // the Kelvin sign folds to "k"
             {"caf\xC3\xA9\n au lait", "cafe au", false}, // never across a line break
             {"Bj\xC3\xB6rn \xC3\x98"
              "degaard",
              "\xC3\xB8"
              "degaard",
              true}, // a non-ASCII term
             {"naïve", "naive", true},
             {"x", "xy", false},
             {"", "a", false},
         }) {
        FoldedNeedle needle(TextFolding::folded(term));
        EXPECT_EQ(needle.occursIn(text), found) << text << " / " << term;
        EXPECT_EQ(needle.occursIn(text), byDefinition(text, needle.folded())) << text << " / " << term;
    }
}

TEST(FoldedNeedle, TextFullOfNearMissesIsSearchedToTheEndAtEveryOffset) {
    // Many near misses make the search leave its first method midway; the needle then sits at
    // every place relative to the 16-byte blocks, and once past the last whole block.
    FoldedNeedle needle(TextFolding::folded("pricing page"));
    std::string decoys;
    for (int i = 0; i < 40; ++i) decoys += "Pricing Pag. gig ";
    for (size_t pad = 0; pad < 40; ++pad) {
        std::string text = decoys + std::string(pad, 'g');
        EXPECT_FALSE(needle.occursIn(text)) << pad;
        EXPECT_TRUE(needle.occursIn(text + "PRICING page")) << pad;
        EXPECT_TRUE(needle.occursIn(text + "pricing page" + std::string(pad % 17, '.'))) << pad;
    }
}

TEST(FoldedNeedle, AnAccentedLetterAtEitherEndOfAShortTextIsSeen) {
    // The block scan of a turn-sized text loads its bytes at the needle's rarest letter's
    // offset, so the first and last few bytes are checked apart for letters that fold.
    FoldedNeedle needle(TextFolding::folded("pricing page"));
    for (size_t pad = 20; pad < 60; ++pad) {
        std::string filler(pad, 'x');
        // í and é fold into the needle; ó, in the same place, does not.
        const std::pair<std::string, std::string> foundAndNot[] = {
            {"pr\xC3\xAD"
             "cing page" +
                 filler,
             "pr\xC3\xB3"
             "cing page" +
                 filler},
            {filler + "pricing pag\xC3\xA9", filler + "pricing pag\xC3\xB3"},
            {filler + "pricing pag\xC3\xA9!", filler + "pricing pag\xC3\xB3!"},
        };
        for (const auto& [found, missed] : foundAndNot) {
            EXPECT_TRUE(needle.occursIn(found)) << found;
            EXPECT_FALSE(needle.occursIn(missed)) << missed;
        }
        // Here the rarest letter comes first, so the unloaded bytes are at the end.
        FoldedNeedle early(TextFolding::folded("zeppelin"));
        EXPECT_TRUE(early.occursIn(filler + "zeppel\xC3\xADn")) << pad;
        EXPECT_FALSE(early.occursIn(filler + "zeppel\xC3\xB3n")) << pad;
        // A needle longer than one block.
        FoldedNeedle longer(TextFolding::folded("pricing page review zeppelin"));
        EXPECT_TRUE(longer.occursIn(filler + "pricing page review zeppel\xC3\xADn")) << pad;
        EXPECT_TRUE(longer.occursIn("pr\xC3\xAD"
                                    "cing page review zeppelin" +
                                    filler))
            << pad;
        EXPECT_FALSE(longer.occursIn(filler + "pricing page review zeppel\xC3\xB3n")) << pad;
    }
}

TEST(FoldedNeedle, AgreesWithFoldingTheWholeTextOnRandomMixedText) {
    // Pieces chosen to meet at every boundary: case, marks, ligatures, expansions, line breaks,
    // characters beyond the fold table, and letters that rank as rare or common anchors.
    const std::vector<std::string> alphabet = {"a",
                                               "E",
                                               "z",
                                               "Z",
                                               "q",
                                               "e",
                                               " ",
                                               "\n",
                                               ".",
                                               "'",
                                               "\xC3\xA9",
                                               "e\xCC\x81",
                                               "\xCC\x81",
                                               "\xC3\x9F",
                                               "S",
                                               "\xEF\xAC\x81",
                                               "\xE2\x84\xAA",
                                               "k",
                                               "\xC4\xB0",
                                               "i",
                                               "\xC3\xB8",
                                               "\xE2\x80\x99",
                                               "\xE4\xB8\xAD",
                                               "\xF0\x9F\x99\x82",
                                               "\r",
                                               "1"};
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
        std::string piece = folded.substr(start, 1 + random() % std::min<size_t>(8, folded.size() - start));
        // A cut may split a code point; folding the piece again keeps it well formed, as search does.
        piece = TextFolding::folded(piece);
        if (piece.empty()) continue;
        FoldedNeedle needle(piece);
        bool expected = byDefinition(haystack, piece);
        found += expected;
        ASSERT_EQ(needle.occursIn(haystack), expected)
            << "text \"" << haystack << "\" needle \"" << piece << "\"";
    }
    EXPECT_GT(found, 500) << "too few hits for the comparison to mean much";
}

} // namespace
} // namespace zelmor
