// The shared line rules: what counts as a speaker name, how lines name speakers, and merging.
#include "ZelmorMarkdownKit/import/TranscriptImportSpeakerLines.h"
#include "tests/kit/ImportTestSupport.h"

#include <gtest/gtest.h>

namespace zelmor {
namespace {

using namespace TranscriptImport;
using test::Turns;

TEST(SpeakerNames, SectionWordsPlausibleAndNameShapedLabels) {
    for (const char* word : {"Action Items", "AI-generated notes", "HTTPS"})
        EXPECT_TRUE(isSectionWord(word)) << word;
    for (const char* word : {"action", "Speaker 1"}) EXPECT_FALSE(isSectionWord(word)) << word;

    for (const char* name :
         {"Ana", "Speaker 2", "Mary Ann de Vries", "Zoë Ødegaard", "山田 太郎", "lowercase is fine"})
        EXPECT_TRUE(isPlausibleName(name)) << name;
    for (const char* name : {"", "One Two Three Four Five", "Ana  Lopez", "ana@example.com", "1234"})
        EXPECT_FALSE(isPlausibleName(name)) << name;
    for (char c : std::string(".!?,;\"'()[]{}<>/\\|@"))
        EXPECT_FALSE(isPlausibleName(std::string("Ana") + c + "B")) << c;
    // Length counts characters, not bytes: "e" plus a combining acute is one.
    std::string accented, combining;
    for (int i = 0; i < 48; ++i) accented += "é", combining += "e\xCC\x81";
    EXPECT_TRUE(isPlausibleName(std::string(48, 'a')));
    EXPECT_FALSE(isPlausibleName(std::string(49, 'a')));
    EXPECT_TRUE(isPlausibleName(accented));
    EXPECT_TRUE(isPlausibleName(combining));
    EXPECT_FALSE(isPlausibleName(combining + "e"));

    for (const char* name :
         {"Ana Lopez", "Speaker 1", "O\u2019Brien", "Jean-Luc O'Neil Jr.", "Émile", "2nd Caller"})
        EXPECT_TRUE(isNameShaped(name)) << name;
    for (const char* name : {"ana", "Ana lopez", "Ana, Ben", "A B C D E", ""})
        EXPECT_FALSE(isNameShaped(name)) << name;
}

TEST(SpeakerNames, NormalisingAndStrippingMarkup) {
    for (const char* self : {"  you ", "ME", "Self", "myself"})
        EXPECT_EQ(normalizeSpeaker(self), "Me") << self;
    EXPECT_EQ(normalizeSpeaker("\tdana KIM "), "dana KIM");
    EXPECT_EQ(normalizeSpeaker("Yours"), "Yours");
    EXPECT_EQ(stripTags(" <c.yellow>Hello</c> <b>there</b> "), "Hello there");
    EXPECT_EQ(stripTags("a < b and c > d"), "a  d");
    EXPECT_EQ(stripTags("<>kept"), "<>kept");
    EXPECT_EQ(stripTags("<a<b>c<d"), "c<d");
    EXPECT_EQ(stripTags("x<>y<z>w<"), "x<>yw<");
    // A run of "<" with no ">" after it, and one with a ">" at its very end, in linear time.
    EXPECT_EQ(stripTags(std::string(200000, '<')), std::string(200000, '<'));
    EXPECT_EQ(stripTags("a" + std::string(200000, '<') + ">b"), "ab");
    EXPECT_EQ(stripBullet("> - * Ana said so"), "Ana said so");
    EXPECT_EQ(stripBullet("\u2022 item"), "item");
    EXPECT_EQ(stripBullet("-not a bullet"), "-not a bullet");
}

TEST(SpeakerLines, EachReaderTakesItsOwnShapeAndRefusesTheRest) {
    using Reader = std::optional<SpeakerLine> (*)(std::string_view);
    const std::nullopt_t none = std::nullopt;
    struct Case {
        Reader read;
        const char* line;
        std::optional<SpeakerLine> expected;
    };
    const Case cases[] = {
        {inlineSpeaker, "Ana Lopez: Hello <i>all</i>", SpeakerLine{"Ana Lopez", "Hello all"}},
        {inlineSpeaker, "you: I'll take it", SpeakerLine{"Me", "I'll take it"}},
        {inlineSpeaker, "Ana:", SpeakerLine{"Ana", ""}},
        {inlineSpeaker, "Action items: ship it", none},
        {inlineSpeaker, "https://example.invalid", none},
        {inlineSpeaker, "We met at the office, 10:30", none},
        {inlineSpeaker, "no colon here", none},
        {inlineSpeaker, "ana@example.com: hi", none},
        {markdownSpeakerLine, "**Ana:** Hello", SpeakerLine{"Ana", "Hello"}},
        {markdownSpeakerLine, "** You :**Fine", SpeakerLine{"Me", "Fine"}},
        {markdownSpeakerLine, "**Ana**: Hello", none},
        {markdownSpeakerLine, "**Notes, take one:** x", none},
        {markdownSpeakerLine, "Ana: Hello", none},
        {exportSpeechLine, "[SYS] 01:02:03 word", SpeakerLine{"Them", "word"}},
        {exportSpeechLine, "[MIC] [00:15] Sounds good", SpeakerLine{"Me", "Sounds good"}},
        {exportSpeechLine, "[MIC]", SpeakerLine{"Me", ""}},
        {exportSpeechLine, "- Priya Shah (12:31 PM): Did you see it?",
         SpeakerLine{"Priya Shah", "Did you see it?"}},
        {exportSpeechLine, "> Ben [9:05]: ok", SpeakerLine{"Ben", "ok"}},
        {exportSpeechLine, "Ana 10:15:30 am: <b>late</b> start", SpeakerLine{"Ana", "late start"}},
        {exportSpeechLine, "* **Dana:** on it", SpeakerLine{"Dana", "on it"}},
        {exportSpeechLine, "You: me again", SpeakerLine{"Me", "me again"}},
        {exportSpeechLine, "ana: hi", none},
        {exportSpeechLine, "Summary: all good", none},
        {exportSpeechLine, "Ana:hi", none},
        {exportSpeechLine, "Ana, Ben: hi", none},
    };
    for (const auto& [read, line, expected] : cases) EXPECT_EQ(read(line), expected) << line;
}

TEST(Append, MergesConsecutiveTurnsOfExactlyTheSameSpeaker) {
    Turns turns;
    append(turns, "Ana", " Hello. ");
    append(turns, "Ana", "How are you?");
    append(turns, "ana", "Fine.");
    append(turns, "ana", "  ");
    append(turns, "Ana", "Good.");
    EXPECT_EQ(turns, (Turns{{"Ana", "Hello. How are you?"}, {"ana", "Fine."}, {"Ana", "Good."}}));
}

TEST(SpeakerLineTurns, ContinuationsJoinTheSpeakerAndHeadingsEndTheTurn) {
    std::vector<std::string_view> lines = {"Preamble without speaker",
                                           "Ana: One",
                                           "still Ana",
                                           "",
                                           "- bullet for Ana",
                                           "## Summary",
                                           "not speech",
                                           "Ben: Two",
                                           "---"};
    EXPECT_EQ(speakerLineTurns(lines, std::nullopt),
              (Turns{{"Ana", "One still Ana bullet for Ana"}, {"Ben", "Two"}}));
    EXPECT_EQ(speakerLineTurns(lines, "Speaker 1"), (Turns{{"Speaker 1", "Preamble without speaker"},
                                                           {"Ana", "One still Ana bullet for Ana"},
                                                           {"Speaker 1", "not speech"},
                                                           {"Ben", "Two"}}));
}

} // namespace
} // namespace zelmor
