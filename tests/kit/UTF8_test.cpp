// UTF-8 validation around the word-at-a-time ASCII runs (a fault must be seen wherever it falls),
// and decoding held to repairing.
#include "ZelmorMarkdownKit/text/ICUText.h"
#include "ZelmorMarkdownKit/text/UTF8.h"

#include <gtest/gtest.h>

namespace zelmor {
namespace {

TEST(UTF8Validation, AnIllFormedByteIsFoundAtEveryOffsetOfAnASCIIRun) {
    // 164 bytes cover whole 64- and 32-byte blocks, 8-byte words and a byte-wise tail.
    const std::string ascii(164, 'a');
    ASSERT_TRUE(UTF8::isValid(ascii));
    for (size_t at = 0; at < ascii.size(); ++at) {
        for (std::string bad : {"\x80", "\xFF", "\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80"}) {
            std::string text = ascii;
            text.replace(at, bad.size(), bad);
            EXPECT_FALSE(UTF8::isValid(text.substr(0, ascii.size()))) << "at " << at;
        }
    }
}

TEST(UTF8Validation, SequencesAcrossWordAndBlockBoundariesAreWellFormed) {
    const std::string sequences[] = {"\xC3\xA9", "\xE2\x80\x9C", "\xF0\x9F\x98\x80"}; // é “ 😀
    for (const auto& sequence : sequences) {
        for (size_t at = 0; at < 140; ++at) {
            std::string text = std::string(at, 'a') + sequence + std::string(140 - at, 'b');
            EXPECT_TRUE(UTF8::isValid(text)) << "at " << at;
            // Cut one byte short at the very end: a truncated sequence is ill-formed.
            EXPECT_FALSE(UTF8::isValid(std::string(at, 'a') + sequence.substr(0, sequence.size() - 1))) << at;
        }
    }
}

TEST(UTF8Decoding, DecodesAsRepairingReplaces) {
    struct Case {
        std::string bytes;
        std::u32string decoded;
    } cases[] = {
        {"a\xC3\xA9\xE2\x80\x9C\xF0\x9F\x98\x80", U"a\u00E9\u201C\U0001F600"},
        {"\xC0\xAF", U"\uFFFD\uFFFD"},                     // an overlong "/" is no "/"
        {"\xED\xA0\x80", U"\uFFFD\uFFFD\uFFFD"},           // a surrogate
        {"\xF4\x90\x80\x80", U"\uFFFD\uFFFD\uFFFD\uFFFD"}, // past U+10FFFF
        {"\xE2\x80", U"\uFFFD"},                           // cut short: one maximal subpart
        {"\xE2\x80x", U"\uFFFDx"},
    };
    for (const auto& c : cases) {
        std::u32string decoded;
        std::string encoded;
        for (size_t at = 0; at < c.bytes.size();) {
            decoded += UTF8::decode(c.bytes, at);
            UTF8::append(encoded, decoded.back());
        }
        EXPECT_EQ(decoded, c.decoded) << c.bytes;
        EXPECT_EQ(encoded, UTF8::repaired(c.bytes)) << c.bytes;
    }
    // The kit's text functions take a host app's text as it comes.
    EXPECT_EQ(ICUText::lowercased("A\xC0\xAF"), "a\uFFFD\uFFFD");
}

} // namespace
} // namespace zelmor
