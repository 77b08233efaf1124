// The shared line rules: what counts as a speaker name, how lines name speakers, and merging.
#include "ZelmorMarkdownKit/TranscriptImportSpeakerLines.h"
#include "tests/kit/ImportTestSupport.h"

#include <gtest/gtest.h>

#include <set>

namespace zelmor {
namespace {

using namespace TranscriptImport;
using test::Turns;

TEST(SectionWords, AreTheTwentyEightLabelsThatNeverNameASpeaker) {
    std::set<std::string_view> words(std::begin(transcriptSectionWords), std::end(transcriptSectionWords));
    EXPECT_EQ(words.size(), 28u);
    EXPECT_TRUE(isSectionWord("Action Items"));
    EXPECT_TRUE(isSectionWord("AI-generated notes"));
    EXPECT_TRUE(isSectionWord("HTTPS"));
    EXPECT_FALSE(isSectionWord("action"));
    EXPECT_FALSE(isSectionWord("Speaker 1"));
}

TEST(PlausibleName, AcceptsOneToFourWordsWithALetter) {
    EXPECT_TRUE(isPlausibleName("Ana"));
    EXPECT_TRUE(isPlausibleName("Speaker 2"));
    EXPECT_TRUE(isPlausibleName("Mary Ann de Vries"));
    EXPECT_TRUE(isPlausibleName("Zoë Ødegaard"));
    EXPECT_TRUE(isPlausibleName("山田 太郎"));
    EXPECT_TRUE(isPlausibleName("lowercase is fine"));
}

TEST(PlausibleName, RefusesLongCrowdedOrPunctuatedLabels) {
    EXPECT_FALSE(isPlausibleName(""));
    EXPECT_FALSE(isPlausibleName("One Two Three Four Five"));
    EXPECT_FALSE(isPlausibleName("Ana  Lopez"));
    EXPECT_FALSE(isPlausibleName("ana@example.com"));
    EXPECT_FALSE(isPlausibleName("1234"));
    for (char c : std::string(".!?,;\"'()[]{}<>/\\|@")) {
        EXPECT_FALSE(isPlausibleName(std::string("Ana") + c + "B")) << c;
    }
}

TEST(PlausibleName, CountsCharactersNotBytes) {
    EXPECT_TRUE(isPlausibleName(std::string(48, 'a')));
    EXPECT_FALSE(isPlausibleName(std::string(49, 'a')));
    std::string accented;
    for (int i = 0; i < 48; ++i) accented += "é";
    EXPECT_TRUE(isPlausibleName(accented));
    // "e" plus a combining acute accent is one character.
    std::string combining;
    for (int i = 0; i < 48; ++i) combining += "e\xCC\x81";
    EXPECT_TRUE(isPlausibleName(combining));
    EXPECT_FALSE(isPlausibleName(combining + "e"));
}

TEST(NameShaped, WantsCapitalisedWordsOfNameCharacters) {
    EXPECT_TRUE(isNameShaped("Ana Lopez"));
    EXPECT_TRUE(isNameShaped("Speaker 1"));
    EXPECT_TRUE(isNameShaped("O\u2019Brien"));
    EXPECT_TRUE(isNameShaped("Jean-Luc O'Neil Jr."));
    EXPECT_TRUE(isNameShaped("Émile"));
    EXPECT_TRUE(isNameShaped("2nd Caller"));
    EXPECT_FALSE(isNameShaped("ana"));
    EXPECT_FALSE(isNameShaped("Ana lopez"));
    EXPECT_FALSE(isNameShaped("Ana, Ben"));
    EXPECT_FALSE(isNameShaped("A B C D E"));
    EXPECT_FALSE(isNameShaped(""));
}

TEST(NormalizeSpeaker, SelfReferencesBecomeMeOthersKeepTheirCase) {
    EXPECT_EQ(normalizeSpeaker("  you "), "Me");
    EXPECT_EQ(normalizeSpeaker("ME"), "Me");
    EXPECT_EQ(normalizeSpeaker("Self"), "Me");
    EXPECT_EQ(normalizeSpeaker("myself"), "Me");
    EXPECT_EQ(normalizeSpeaker("\tdana KIM "), "dana KIM");
    EXPECT_EQ(normalizeSpeaker("Yours"), "Yours");
}

TEST(StripTags, RemovesMarkupAndTrimsSpaces) {
    EXPECT_EQ(stripTags(" <c.yellow>Hello</c> <b>there</b> "), "Hello there");
    EXPECT_EQ(stripTags("a < b and c > d"), "a  d");
    EXPECT_EQ(stripTags("<>kept"), "<>kept");
}

TEST(StripBullet, RemovesStackedListAndQuoteMarkers) {
    EXPECT_EQ(stripBullet("> - * Ana said so"), "Ana said so");
    EXPECT_EQ(stripBullet("\u2022 item"), "item");
    EXPECT_EQ(stripBullet("-not a bullet"), "-not a bullet");
}

TEST(InlineSpeaker, ReadsNameColonText) {
    EXPECT_EQ(inlineSpeaker("Ana Lopez: Hello <i>all</i>"), (SpeakerLine{"Ana Lopez", "Hello all"}));
    EXPECT_EQ(inlineSpeaker("you: I'll take it"), (SpeakerLine{"Me", "I'll take it"}));
    EXPECT_EQ(inlineSpeaker("Ana:"), (SpeakerLine{"Ana", ""}));
}

TEST(InlineSpeaker, RefusesSectionWordsAndImplausibleNames) {
    EXPECT_EQ(inlineSpeaker("Action items: ship it"), std::nullopt);
    EXPECT_EQ(inlineSpeaker("https://example.invalid"), std::nullopt);
    EXPECT_EQ(inlineSpeaker("We met at the office, 10:30"), std::nullopt);
    EXPECT_EQ(inlineSpeaker("no colon here"), std::nullopt);
    EXPECT_EQ(inlineSpeaker("ana@example.com: hi"), std::nullopt);
}

TEST(MarkdownSpeakerLine, ReadsBoldNameWithColonInside) {
    EXPECT_EQ(markdownSpeakerLine("**Ana:** Hello"), (SpeakerLine{"Ana", "Hello"}));
    EXPECT_EQ(markdownSpeakerLine("** You :**Fine"), (SpeakerLine{"Me", "Fine"}));
    EXPECT_EQ(markdownSpeakerLine("**Ana**: Hello"), std::nullopt);
    EXPECT_EQ(markdownSpeakerLine("**Notes, take one:** x"), std::nullopt);
    EXPECT_EQ(markdownSpeakerLine("Ana: Hello"), std::nullopt);
}

TEST(ExportSpeechLine, MicAndSystemLinesAreMeAndThem) {
    EXPECT_EQ(exportSpeechLine("[SYS] 01:02:03 word"), (SpeakerLine{"Them", "word"}));
    EXPECT_EQ(exportSpeechLine("[MIC] [00:15] Sounds good"), (SpeakerLine{"Me", "Sounds good"}));
    EXPECT_EQ(exportSpeechLine("[MIC]"), (SpeakerLine{"Me", ""}));
}

TEST(ExportSpeechLine, ReadsTimedNamesThroughListAndQuoteMarkers) {
    EXPECT_EQ(exportSpeechLine("- Priya Shah (12:31 PM): Did you see it?"), (SpeakerLine{"Priya Shah", "Did you see it?"}));
    EXPECT_EQ(exportSpeechLine("> Ben [9:05]: ok"), (SpeakerLine{"Ben", "ok"}));
    EXPECT_EQ(exportSpeechLine("Ana 10:15:30 am: <b>late</b> start"), (SpeakerLine{"Ana", "late start"}));
    EXPECT_EQ(exportSpeechLine("* **Dana:** on it"), (SpeakerLine{"Dana", "on it"}));
    EXPECT_EQ(exportSpeechLine("You: me again"), (SpeakerLine{"Me", "me again"}));
}

TEST(ExportSpeechLine, RefusesLowercaseNamesSectionWordsAndMissingSpace) {
    EXPECT_EQ(exportSpeechLine("ana: hi"), std::nullopt);
    EXPECT_EQ(exportSpeechLine("Summary: all good"), std::nullopt);
    EXPECT_EQ(exportSpeechLine("Ana:hi"), std::nullopt);
    EXPECT_EQ(exportSpeechLine("Ana, Ben: hi"), std::nullopt);
}

TEST(Append, MergesConsecutiveTurnsOfOneSpeakerWithASpace) {
    Turns turns;
    append(turns, "Ana", " Hello. ");
    append(turns, "Ana", "How are you?");
    append(turns, "Ben", "Fine.");
    append(turns, "Ben", "  ");
    append(turns, "Ana", "Good.");
    EXPECT_EQ(turns, (Turns{{"Ana", "Hello. How are you?"}, {"Ben", "Fine."}, {"Ana", "Good."}}));
}

TEST(Append, SpeakerComparisonIsExact) {
    Turns turns;
    append(turns, "Ana", "one");
    append(turns, "ana", "two");
    EXPECT_EQ(turns, (Turns{{"Ana", "one"}, {"ana", "two"}}));
}

TEST(SpeakerLineTurns, ContinuationsJoinTheSpeakerAndHeadingsEndTheTurn) {
    std::vector<std::string_view> lines = {"Preamble without speaker", "Ana: One", "still Ana", "",
                                           "- bullet for Ana",         "## Summary", "not speech",
                                           "Ben: Two",                 "---"};
    EXPECT_EQ(speakerLineTurns(lines, std::nullopt),
              (Turns{{"Ana", "One still Ana bullet for Ana"}, {"Ben", "Two"}}));
    EXPECT_EQ(speakerLineTurns(lines, "Speaker 1"),
              (Turns{{"Speaker 1", "Preamble without speaker"},
                     {"Ana", "One still Ana bullet for Ana"},
                     {"Speaker 1", "not speech"},
                     {"Ben", "Two"}}));
}

} // namespace
} // namespace zelmor
