// Caption, Otter and speaker-markdown readers, on hand-made snippets and on the fixtures.
#include "ZelmorMarkdownKit/import/TranscriptImportTextParsers.h"
#include "tests/kit/ImportTestSupport.h"

#include <gtest/gtest.h>

namespace zelmor {
namespace {

using namespace TranscriptImport;
using test::importFixture;
using test::Turns;

TEST(CueParser, WebVTTFixtureSkipsNotesAndStylesButReadsTitledHeaderAndIdentifiersAsText) {
    // Only a bare "WEBVTT" line and integer cue numbers are dropped, so a titled header block
    // becomes a cue named by its first "Name: text" line, and "intro-1" identifiers and the
    // timing lines below them stay in the text.
    EXPECT_EQ(
        parseCueBased(importFixture("standup-2025-03-14.vtt")),
        (Turns{{"Kind", "WEBVTT - Daily standup captions en"},
               {"Ana Lopez", "intro-1 00:00:01.000 --> 00:00:04.200 align:start Morning, everyone. "
                             "intro-2 00:00:04.200 --> 00:00:07.900 Let's keep it short today."},
               {"Ben Okafor", "I finished the billing migration yesterday. which means invoices go out from "
                              "the new system."},
               {"Ana Lopez", "Great. Any blockers?"}}));
}

TEST(CueParser, VoiceWithClassAnnotationNamesTheSpeaker) {
    EXPECT_EQ(parseCueBased("00:01.000 --> 00:02.000\n<v.first.loud Ana>Hi</v>\n"), (Turns{{"Ana", "Hi"}}));
    EXPECT_EQ(parseCueBased("00:01.000 --> 00:02.000\n<v Ana Maria>Hi\n"), (Turns{{"Ana Maria", "Hi"}}));
}

TEST(CueParser, SpeakerOneUntilSomeoneIsNamedThenThePreviousSpeaker) {
    std::string text = "00:01.000 --> 00:02.000\nHello?\n\n"
                       "00:02.000 --> 00:03.000\nBen: Hi there.\n\n"
                       "00:03.000 --> 00:04.000\nSorry, I was muted.\n";
    EXPECT_EQ(parseCueBased(text),
              (Turns{{"Speaker 1", "Hello?"}, {"Ben", "Hi there. Sorry, I was muted."}}));
}

TEST(CueParser, ConsecutiveCuesOfOneSpeakerBecomeOneTurn) {
    std::string text = "1\n00:00:01,000 --> 00:00:02,000\nAna: One.\n\n"
                       "2\n00:00:02,000 --> 00:00:03,000\nAna: Two.\n";
    EXPECT_EQ(parseCueBased(text), (Turns{{"Ana", "One. Two."}}));
}

TEST(CueParser, SRTFixtureWithCRLFAndMultiLineCues) {
    std::string text = importFixture("interview.srt");
    std::string normalized;
    for (char c : text) {
        if (c != '\r') normalized += c;
    }
    EXPECT_EQ(parseCueBased(normalized),
              (Turns{{"INTERVIEWER", "Thanks for joining us today."},
                     {"Dana Kim", "Happy to be here. I lead the platform team, about twelve engineers."},
                     {"INTERVIEWER", "How did the team start?"}}));
}

TEST(CueParser, OnlyASignedOrBareIntegerAboveATimingLineIsACueNumber) {
    EXPECT_EQ(parseCueBased("42\nthe answer\n"), (Turns{{"Speaker 1", "42 the answer"}}));
    EXPECT_EQ(parseCueBased("intro\n00:01.000 --> 00:02.000\nHello\n"),
              (Turns{{"Speaker 1", "intro 00:01.000 --> 00:02.000 Hello"}}));
    EXPECT_EQ(parseCueBased("-7\n00:01.000 --> 00:02.000\nHello\n"), (Turns{{"Speaker 1", "Hello"}}));
    EXPECT_EQ(parseCueBased("+7\n00:01.000 --> 00:02.000\nHello\n"), (Turns{{"Speaker 1", "Hello"}}));
    EXPECT_EQ(parseCueBased("7a\n00:01.000 --> 00:02.000\nHello\n"),
              (Turns{{"Speaker 1", "7a 00:01.000 --> 00:02.000 Hello"}}));
}

TEST(CueParser, ACueIsOneTurnSpokenByTheFirstSpeakerItNames) {
    std::string text = "00:01.000 --> 00:03.000\n<v Ana>Ready?\n<v Ben>Go.\n\n"
                       "00:03.000 --> 00:04.000\nNow.\n\n"
                       "00:04.000 --> 00:05.000\nthen\nCara: Me next.\n";
    EXPECT_EQ(parseCueBased(text), (Turns{{"Ana", "Ready? Go. Now."}, {"Cara", "then Me next."}}));
}

TEST(CueParser, OnlyABareWebVTTLineLeavesItsBlock) {
    // The rest of the header block is read like any cue.
    EXPECT_EQ(parseCueBased("WEBVTT\nKind: captions\nLanguage: en\n\n00:01.000 --> 00:02.000\nHi\n"),
              (Turns{{"Kind", "captions en Hi"}}));
    EXPECT_EQ(parseCueBased("WEBVTT\n\nREGION\nid:left\n\n00:01.000 --> 00:02.000\nHi\n"),
              (Turns{{"Speaker 1", "Hi"}}));
    EXPECT_EQ(parseCueBased("WEBVTT\nNOTE made by hand\n\n00:01.000 --> 00:02.000\nHi\n"),
              (Turns{{"Speaker 1", "Hi"}}));
    EXPECT_EQ(parseCueBased("WEBVTT - Standup\n\n00:01.000 --> 00:02.000\nHi\n"),
              (Turns{{"Speaker 1", "WEBVTT - Standup Hi"}}));
}

TEST(CueParser, SectionWordLabelsStayInTheText) {
    EXPECT_EQ(parseCueBased("00:01.000 --> 00:02.000\nAgenda: budget first\n"),
              (Turns{{"Speaker 1", "Agenda: budget first"}}));
}

TEST(OtterParser, FixtureTurnsWithTheFooterInTheLastParagraph) {
    EXPECT_EQ(
        parseOtter(importFixture("Budget Planning Transcript.txt")),
        (Turns{{"Ana Lopez", "Okay, let's look at the numbers for next quarter. The travel line is the one "
                             "that grew."},
               {"Ben Okafor", "Most of that is the offsite in May."},
               {"Ana Lopez", "Then let's keep it, but cap hotels. Transcribed by https://otter.ai"}}));
}

TEST(OtterParser, SpeakerOneBeforeTheFirstHeaderAndSelfIsMe) {
    std::string text = "Intro words\n\nYou  0:05\nHello\n\nsomeone lower 0:09\nstill me\n";
    EXPECT_EQ(parseOtter(text),
              (Turns{{"Speaker 1", "Intro words"}, {"Me", "Hello someone lower 0:09 still me"}}));
}

TEST(SpeakerMarkdownParser, FrontmatterTitleAndDateWithQuotes) {
    SpeakerMarkdown parsed = parse(importFixture("retro.md"));
    EXPECT_EQ(parsed.title, "Sprint 14 retro");
    EXPECT_EQ(parsed.date, "2025-01-28");
    EXPECT_EQ(parsed.turns,
              (Turns{{"Ana", "What went well this sprint?"},
                     {"Ben", "The release checklist saved us twice. And on-call was quiet."},
                     {"Marco", "Flaky tests are still a problem. They failed four times on Tuesday."}}));
}

TEST(SpeakerMarkdownParser, HeadingTitleAndDatedLineInTheBody) {
    SpeakerMarkdown parsed = parse(importFixture("granola-notes.md"));
    EXPECT_EQ(parsed.title, "Q2 roadmap sync");
    EXPECT_EQ(parsed.date, "2025-04-02");
    EXPECT_EQ(parsed.turns,
              (Turns{{"Me", "Can we go through the roadmap first?"},
                     {"Them", "Sure. Mobile is the big one. It slipped by two weeks because of the "
                              "payments review."},
                     {"Me", "Then June is realistic."}}));
}

TEST(SpeakerMarkdownParser, TimedListLinesAndYouAsMe) {
    SpeakerMarkdown parsed = parse(importFixture("limitless-2025-02-03.md"));
    EXPECT_EQ(parsed.title, "Lunch with Priya");
    EXPECT_EQ(parsed.date, std::nullopt); // the day is only in the file name
    EXPECT_EQ(parsed.turns, (Turns{{"Priya Shah", "Did you see the draft of the partner agreement?"},
                                   {"Me", "Only the first half. The payment terms looked odd."},
                                   {"Priya Shah", "Net ninety. We should push back."}}));
}

TEST(SpeakerMarkdownParser, OnlyTheFirstTitleAndAnAcceptedDateCount) {
    SpeakerMarkdown parsed = parse("---\ntitle: ''\ndate: someday\n---\n# First\n# Second\n"
                                   "Ref 2024-13-01\nOn 2024_02_29 we met\nAna: hi\n");
    EXPECT_EQ(parsed.title, "First");
    EXPECT_EQ(parsed.date, "2024-02-29");
    EXPECT_EQ(parsed.turns, (Turns{{"Ana", "hi"}}));
}

TEST(SpeakerMarkdownParser, UnclosedFrontmatterIsBody) {
    SpeakerMarkdown parsed = parse("---\ntitle: Not read\nAna: hi\n");
    EXPECT_EQ(parsed.title, std::nullopt);
    EXPECT_EQ(parsed.turns, (Turns{{"Ana", "hi"}}));
}

} // namespace
} // namespace zelmor
