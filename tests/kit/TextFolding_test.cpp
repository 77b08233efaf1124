// Folding: case and diacritics together, and ranges that map back to the original bytes.
#include "ZelmorMarkdownKit/text/TextFolding.h"

#include <gtest/gtest.h>

namespace zelmor {
namespace {

TEST(TextFoldingTest, FoldsCaseAndDiacriticsTogether) {
    EXPECT_EQ(TextFolding::folded("Résumé RÉSUMÉ"), "resume resume");
    EXPECT_EQ(TextFolding::folded("Straße"), "strasse");
    EXPECT_EQ(TextFolding::folded("e\xCC\x81t\xC3\xA9"), "ete"); // combining acute, then precomposed
    EXPECT_EQ(TextFolding::folded("ÅNGSTRÖM Ωμέγα"), "angstrom ωμεγα");
    EXPECT_EQ(TextFolding::folded("İstanbul"), "istanbul");
    EXPECT_EQ(TextFolding::folded("한국어 ’quoted’"), "한국어 ’quoted’");
    EXPECT_EQ(TextFolding::folded("𝐀Ǆ"), "𝐀ǆ");
}

TEST(TextFoldingTest, FindReturnsTheOriginalBytesOfTheMatch) {
    std::string text = "Our Résumé review";
    auto found = TextFolding::find(text, "resume");
    ASSERT_TRUE(found.has_value());
    EXPECT_EQ(text.substr(found->start, found->length()), "Résumé");

    // A match that ends on a decomposed letter takes the dropped mark with it.
    std::string decomposed = "cafe\xCC\x81 time";
    found = TextFolding::find(decomposed, "CAFÉ");
    ASSERT_TRUE(found.has_value());
    EXPECT_EQ(decomposed.substr(found->start, found->length()), "cafe\xCC\x81");

    // Half of an expanded letter still maps to the whole letter.
    std::string street = "Die Straße";
    found = TextFolding::find(street, "stras");
    ASSERT_TRUE(found.has_value());
    EXPECT_EQ(street.substr(found->start, found->length()), "Straß");
}

TEST(TextFoldingTest, TermsThatFoldToNothingAreNeverFound) {
    EXPECT_FALSE(TextFolding::contains("anything", ""));
    EXPECT_FALSE(TextFolding::contains("e\xCC\x81", "\xCC\x81"));
    EXPECT_TRUE(TextFolding::contains("explanation", "PLAN"));
    EXPECT_FALSE(TextFolding::contains("plan", "planning"));
}

} // namespace
} // namespace zelmor
