// Caption, Otter and speaker-markdown readers, and the line rules they share: what counts as a
// speaker name, how lines name speakers, and merging.
#include "ZelmorMarkdownKit/import/TranscriptImportSpeakerLines.h"
#include "ZelmorMarkdownKit/import/TranscriptImportTextParsers.h"
#include "ZelmorMarkdownKit/text/Split.h"
#include "tests/kit/ImportTestSupport.h"

#include <gtest/gtest.h>

namespace zelmor {
namespace {

using namespace TranscriptImport;
using test::Turns;

TEST(CueParser, Snippets) {
    const std::string cue = "00:01.000 --> 00:02.000\n";
    const std::pair<std::string, Turns> cases[] = {
        {cue + "<v.first.loud Ana>Hi</v>\n", {{"Ana", "Hi"}}},
        // Speaker 1 until someone is named, then the previous speaker; one speaker's cues are one turn.
        {cue + "Hello?\n\n" + cue + "Ben: Hi there.\n\n" + cue + "Sorry, I was muted.\n\n" + cue +
             "Ben: Yes.",
         {{"Speaker 1", "Hello?"}, {"Ben", "Hi there. Sorry, I was muted. Yes."}}},
        // Only a signed or bare integer above a timing line is a cue number.
        {"42\nthe answer\n", {{"Speaker 1", "42 the answer"}}},
        {"-7\n" + cue + "Hello\n", {{"Speaker 1", "Hello"}}},
        {"7a\n" + cue + "Hello\n", {{"Speaker 1", "7a 00:01.000 --> 00:02.000 Hello"}}},
        // A cue is one turn spoken by the first speaker it names.
        {cue + "<v Ana>Ready?\n<v Ben>Go.\n\n" + cue + "Now.\n\n" + cue + "then\nCara: Me next.\n",
         {{"Ana", "Ready? Go. Now."}, {"Cara", "then Me next."}}},
        // Only a bare WEBVTT line leaves its block; the rest of it is read like any cue.
        {"WEBVTT\nKind: captions\nLanguage: en\n\n" + cue + "Hi\n", {{"Kind", "captions en Hi"}}},
        {"WEBVTT\nNOTE made by hand\n\n" + cue + "Hi\n", {{"Speaker 1", "Hi"}}},
        {"WEBVTT - Standup\n\n" + cue + "Hi\n", {{"Speaker 1", "WEBVTT - Standup Hi"}}}};
    for (const auto& [text, turns] : cases) EXPECT_EQ(parseCueBased(text), turns) << text;
}

TEST(OtterParser, SpeakerOneBeforeTheFirstHeaderAndSelfIsMe) {
    EXPECT_EQ(parseOtter("Intro words\n\nYou  0:05\nHello\n\nsomeone lower 0:09\nstill me\n"),
              (Turns{{"Speaker 1", "Intro words"}, {"Me", "Hello someone lower 0:09 still me"}}));
}

TEST(SpeakerMarkdownParser, TitleAndDateFromFrontmatterHeadingOrBodyAndTheTurns) {
    EXPECT_EQ(parse("---\ntitle: \"Retro\"\ndate: 2025-01-28\n---\n# Notes\nAna: Hi\nBen: One.\nBen: Two.\n\n"
                    "**Cy:** Three\nmore\n## Action Items\n- later\n"),
              (SpeakerMarkdown{
                  {{"Ana", "Hi"}, {"Ben", "One. Two."}, {"Cy", "Three more"}}, "Retro", "2025-01-28"}));
    // Only the first title and an accepted date count; unclosed frontmatter is body.
    EXPECT_EQ(
        parse(
            "---\ntitle: ''\ndate: someday\n---\n# First\n# Second\nRef 2024-13-01\nOn 2024_02_29\nAna: hi"),
        (SpeakerMarkdown{{{"Ana", "hi"}}, "First", "2024-02-29"}));
    EXPECT_EQ(parse("---\ntitle: Not read\nAna: hi\n"), (SpeakerMarkdown{{{"Ana", "hi"}}, {}, {}}));
}

TEST(SpeakerNames, SectionWordsPlausibleAndNameShapedLabelsSelfNamesAndMarkupStripped) {
    for (const char* word : {"Action Items", "AI-generated notes", "HTTPS"})
        EXPECT_TRUE(isSectionWord(word)) << word;
    for (const char* word : {"action", "Speaker 1"}) EXPECT_FALSE(isSectionWord(word)) << word;
    // Length counts characters, not bytes: "e" plus a combining acute is one.
    std::string accented, combining;
    for (int i = 0; i < 48; ++i) accented += "é", combining += "e\xCC\x81";
    for (const std::string& name :
         std::vector<std::string>{"Mary Ann de Vries", std::string(48, 'a'), accented, combining})
        EXPECT_TRUE(isPlausibleName(name)) << name;
    for (const std::string& name :
         std::vector<std::string>{"", "One Two Three Four Five", "Ana  Lopez", "ana@example.com", "1234",
                                  std::string(49, 'a'), combining + "e"})
        EXPECT_FALSE(isPlausibleName(name)) << name;
    for (const char* name : {"O\u2019Brien", "Jean-Luc O'Neil Jr.", "Émile", "2nd Caller", "Ana B De Vries"})
        EXPECT_TRUE(isNameShaped(name)) << name;
    for (const char* name : {"ana", "Ana lopez", "Ana, Ben", "A B C D E", ""})
        EXPECT_FALSE(isNameShaped(name)) << name;
    for (const char* self : {"  you ", "ME", "Self", "myself"})
        EXPECT_EQ(normalizeSpeaker(self), "Me") << self;
    EXPECT_EQ(normalizeSpeaker("\tdana KIM "), "dana KIM");
    EXPECT_EQ(normalizeSpeaker("Yours"), "Yours");
    const std::pair<std::string, std::string> tags[] = {
        {" <c.yellow>Hello</c> <b>there</b> ", "Hello there"},
        {"a < b and c > d", "a  d"},
        {"<a<b>c<d", "c<d"},
        // A run of "<" with no ">" after it, and one with a ">" at its very end, in linear time.
        {std::string(200000, '<'), std::string(200000, '<')},
        {"a" + std::string(200000, '<') + ">b", "ab"}};
    for (const auto& [text, stripped] : tags) EXPECT_EQ(stripTags(text), stripped) << text.substr(0, 20);
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
        {inlineSpeaker, "no colon here", none},
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
        {exportSpeechLine, "ana: hi", none},
        {exportSpeechLine, "Summary: all good", none}};
    for (const auto& [read, line, expected] : cases) EXPECT_EQ(read(line), expected) << line;
}

TEST(SpeakerLineTurns, OneSpeakersLinesMergeContinuationsJoinAndHeadingsEndTheTurn) {
    // "..." and "__" are speech; "---" is a thematic break.
    auto lines = Text::split(
        "Preamble without speaker\nAna: One\nstill Ana\n...\n__\n\n- bullet for Ana\nana: Other\nAna:\n"
        "Ana: Three\n## Summary\nnot speech\nBen: Two\n---",
        "\n");
    Turns spoken = {
        {"Ana", "One still Ana ... __ bullet for Ana"}, {"ana", "Other"}, {"Ana", "Three"}, {"Ben", "Two"}};
    EXPECT_EQ(speakerLineTurns(lines, std::nullopt), spoken);
    spoken.insert(spoken.begin() + 3, {"Speaker 1", "not speech"});
    spoken.insert(spoken.begin(), {"Speaker 1", "Preamble without speaker"});
    EXPECT_EQ(speakerLineTurns(lines, "Speaker 1"), spoken);
}

} // namespace
} // namespace zelmor
