// Format names, detection order, and the refusals of conversion.
#include "ZelmorMarkdownKit/format/MarkdownTranscriptParser.h"
#include "ZelmorMarkdownKit/format/ZelmorTranscriptMarker.h"
#include "ZelmorMarkdownKit/import/TranscriptImport.h"
#include "tests/kit/ImportTestSupport.h"

#include <gtest/gtest.h>

namespace zelmor {
namespace {

using namespace TranscriptImport;
using test::importFixture;

TEST(ImportFormat, RawValueLookupIsExactAndCaseSensitive) {
    for (Format format : allFormats) EXPECT_EQ(formatFromRawValue(rawValue(format)), format);
    for (const char* raw : {"WebVTT", "json", ""}) EXPECT_EQ(formatFromRawValue(raw), std::nullopt) << raw;
}

TEST(ImportDetection, EachFixtureIsItsOwnFormat) {
    const std::pair<const char*, Format> expected[] = {
        {"standup-2025-03-14.vtt", Format::webVTT},
        {"design-review.vtt", Format::webVTT},
        {"interview.srt", Format::srt},
        {"Budget Planning Transcript.txt", Format::otterText},
        {"granola-notes.md", Format::granolaMarkdown},
        {"limitless-2025-02-03.md", Format::limitlessMarkdown},
        {"retro.md", Format::speakerMarkdown},
        {"lifelog.json", Format::genericJSON},
        {"fathom.json", Format::genericJSON},
        {"segments.json", Format::genericJSON},
        {"granola-export.csv", Format::granolaCSV},
    };
    for (const auto& [name, format] : expected) {
        // Conversion hands detection the text with "\r\n" already turned into "\n".
        std::string text;
        for (char c : importFixture(name)) {
            if (c != '\r') text += c;
        }
        EXPECT_EQ(detect(text), format) << name;
    }
}

TEST(ImportDetection, RulesInTheirOrder) {
    const std::pair<std::string, std::optional<Format>> cases[] = {
        {"\nWEBVTT\n\n1\n00:00:01,000 --> 00:00:02,000\nHi\n", Format::webVTT}, // header after a blank line
        // SRT needs comma milliseconds and a number line directly above.
        {"1\n00:00:01,000 --> 00:00:02,000\nHi\n", Format::srt},
        {"1\n00:00:01.000 --> 00:00:02.000\nHi\n", Format::webVTT},
        {"1\nHi\n00:00:01,000 --> 00:00:02,000\n", Format::webVTT},
        {"00:00:01,000 --> 00:00:02,000\nHi\n", Format::webVTT},
        // JSON comes first but needs a meeting.
        {R"({"segments":[{"speaker":"A","text":"Hi --> there"}]})", Format::genericJSON},
        {R"(["Ana: hello", "Ben: hi"])", std::nullopt},
        {R"({"name": "settings", "value": 3})", std::nullopt},
        // CSV needs two header fields, one mentioning a transcript.
        {"Title,Full Transcript\nA,\"Ana: hi\"\n", Format::granolaCSV},
        {"Transcript\nAna: hi\n", Format::speakerMarkdown},
        {"Title,Notes\nAna: hi,x\n", Format::speakerMarkdown},
        // Otter headers come before speaker lines, and need a name-shaped name.
        {"Ana: hello\nBen Okafor  1:02:03\nHi.\n", Format::otterText},
        {"see you at the meeting, 10:30\nnothing else\n", std::nullopt},
        // A format word in the head names the markdown dialect; granola wins a tie.
        {"Ana: we moved off GRANOLA last year\n", Format::granolaMarkdown},
        {"Ana: my Limitless pendant died\n", Format::limitlessMarkdown},
        {"Ana: granola and limitless\n", Format::granolaMarkdown},
        {"Ana: hello\n" + std::string(4000, 'x') + "\ngranola\n", Format::speakerMarkdown},
        // A bold label that is no name skips the inline rule, but export lines are still read.
        {"**Key points, round two:** budget\n", std::nullopt},
        {"[SYS] 00:01 hello\n", Format::speakerMarkdown},
        {"", std::nullopt},
        {"Remember to buy milk.\nAnd eggs.\n", std::nullopt},
    };
    for (const auto& [text, format] : cases) EXPECT_EQ(detect(text), format) << text.substr(0, 60);
}

TEST(ImportConversion, OwnTranscriptsAreRefusedBeforeDetection) {
    EXPECT_EQ(
        std::get<Failure>(convertAll(importFixture("own-transcript.md"), "own-transcript.md", std::nullopt)),
        Failure::alreadyZelmor);
    std::string vtt = "source: Zelmor\nWEBVTT\n\n00:01.000 --> 00:02.000\n<v Ana>Hi\n";
    EXPECT_EQ(std::get<Failure>(convertAll(vtt, "a.vtt", std::nullopt)), Failure::alreadyZelmor);
    EXPECT_EQ(std::get<Failure>(convertAll("---\r\nsource: Zelmor\r\n---\r\n", "a.md", std::nullopt)),
              Failure::alreadyZelmor);
    // Only the exact line counts; with a trailing space it is an ordinary "Name: text" line.
    auto spaced = std::get<std::vector<Result>>(convertAll("note\nsource: Zelmor \n", "a.txt", std::nullopt));
    EXPECT_EQ(spaced[0].participants, (std::vector<std::string>{"source"}));
}

TEST(ImportConversion, RecognisedFormatWithoutTurnsIsNoSpeech) {
    EXPECT_EQ(std::get<Failure>(convertAll("WEBVTT\n\nNOTE nothing was said\n", "a.vtt", std::nullopt)),
              Failure::noSpeech);
    EXPECT_EQ(std::get<Failure>(convertAll(R"({"segments":[{"speaker":"A"}]})", "a.json", std::nullopt)),
              Failure::noSpeech);
    EXPECT_EQ(std::get<Failure>(convertAll(R"({"segments":[],"turns":[{"speaker":"A","text":"hi"}]})",
                                           "a.json", std::nullopt)),
              Failure::noSpeech);
    EXPECT_EQ(std::get<Failure>(convertAll("Title,Transcript\nA,\n", "a.csv", std::nullopt)),
              Failure::noSpeech);
}

TEST(ImportConversion, DayComesFromContentThenFileNameThenFallback) {
    std::string vtt = "WEBVTT\n\n00:01.000 --> 00:02.000\n<v Ana>Hi\n";
    EXPECT_EQ(std::get<Result>(convert(vtt, "call_2024_12_30.vtt", "2025-01-01")).date, "2024-12-30");
    EXPECT_EQ(std::get<Result>(convert(vtt, "call-2024-13-30.vtt", "2025-01-01")).date, "2025-01-01");
    EXPECT_EQ(std::get<Result>(convert(vtt, "call.vtt", std::nullopt)).date, std::nullopt);
    std::string markdown = "---\ndate: 2023-05-06\n---\nAna: hi\n";
    EXPECT_EQ(std::get<Result>(convert(markdown, "notes-2024-01-01.md", "2025-01-01")).date, "2023-05-06");
}

TEST(ImportConversion, ResultCarriesFormatTitleParticipantsAndCount) {
    Result result = std::get<Result>(
        convert(importFixture("standup-2025-03-14.vtt"), "standup-2025-03-14.vtt", std::nullopt));
    EXPECT_EQ(result.format, Format::webVTT);
    EXPECT_EQ(result.title, "standup");
    EXPECT_EQ(result.date, "2025-03-14");
    // "Kind: captions" in the titled header block reads as a speaker line.
    EXPECT_EQ(result.participants, (std::vector<std::string>{"Kind", "Ana Lopez", "Ben Okafor"}));
    EXPECT_EQ(result.turnCount, 4u);
}

TEST(ImportConversion, MultiMeetingExportGivesEveryMeetingButConvertOnlyTheFirst) {
    std::string text = importFixture("weekly-export.json");
    auto all = std::get<std::vector<Result>>(convertAll(text, "weekly-export.json", std::nullopt));
    ASSERT_EQ(all.size(), 3u);
    EXPECT_EQ(all[0].title, "Monday planning");
    EXPECT_EQ(all[1].title, "Wednesday check-in");
    EXPECT_EQ(all[2].title, "Friday demo");
    EXPECT_EQ(all[2].date, "2025-03-07");
    EXPECT_EQ(std::get<Result>(convert(text, "weekly-export.json", std::nullopt)), all[0]);
}

TEST(ImportConversion, EveryTruncatedFixtureFailsCleanlyOrGivesTranscriptsThatReadBack) {
    const std::pair<const char*, size_t> fixtures[] = {
        {"standup-2025-03-14.vtt", 1}, {"interview.srt", 1}, {"Budget Planning Transcript.txt", 1},
        {"granola-notes.md", 1},       {"lifelog.json", 1},  {"fireflies.json", 1},
        {"granola-export.csv", 2}};
    for (const auto& [name, meetings] : fixtures) {
        std::string text = importFixture(name);
        std::vector<size_t> lengths;
        for (size_t length = 0; length < text.size(); length += 5) lengths.push_back(length);
        lengths.push_back(text.size());
        for (size_t length : lengths) {
            std::string where = std::string(name) + " cut at " + std::to_string(length);
            Conversion conversion = convertAll(text.substr(0, length), name, std::nullopt);
            if (const Failure* failure = std::get_if<Failure>(&conversion)) {
                EXPECT_TRUE(*failure == Failure::unrecognizedFormat || *failure == Failure::noSpeech)
                    << where;
                if (length == 0) {
                    EXPECT_EQ(*failure, Failure::unrecognizedFormat) << where;
                }
                EXPECT_NE(length, text.size()) << where << ": the whole fixture converts";
                continue;
            }
            const auto& results = std::get<std::vector<Result>>(conversion);
            ASSERT_FALSE(results.empty()) << where;
            if (length == text.size()) {
                EXPECT_EQ(results.size(), meetings) << where;
            }
            for (const Result& result : results) {
                // What is written must be one of our transcripts again, with every turn it counted.
                EXPECT_GE(result.turnCount, 1u) << where;
                EXPECT_TRUE(ZelmorTranscriptMarker::declares(result.markdown)) << where;
                std::optional<TranscriptDocument> back = MarkdownTranscriptParser::parse(result.markdown);
                ASSERT_TRUE(back.has_value()) << where;
                EXPECT_EQ(back->turns.size(), result.turnCount) << where;
                EXPECT_EQ(back->participants, result.participants) << where;
            }
        }
    }
}

TEST(ImportConversion, SurvivesHostileShapes) {
    std::string deep = std::string(100000, '[') + std::string(100000, ']');
    EXPECT_EQ(std::get<Failure>(convertAll(deep, "deep.json", std::nullopt)), Failure::unrecognizedFormat);
    std::string longLine = "Ana: " + std::string(200000, 'a') + "\n";
    EXPECT_EQ(std::get<std::vector<Result>>(convertAll(longLine, "long.txt", std::nullopt))[0].turnCount, 1u);
    EXPECT_EQ(std::get<Failure>(convertAll("\"unterminated,\"x\n<v\n**:**\n[MIC]", "odd.txt", std::nullopt)),
              Failure::noSpeech);
}

} // namespace
} // namespace zelmor
