// Format names, detection order, conversion and its refusals, every fixture whole and truncated,
// and the rendered transcript byte for byte with the names and titles that go into it.
#include "ZelmorMarkdownKit/format/MarkdownTranscriptParser.h"
#include "ZelmorMarkdownKit/format/ZelmorTranscriptMarker.h"
#include "ZelmorMarkdownKit/import/TranscriptImport.h"
#include "ZelmorMarkdownKit/import/TranscriptImportRendering.h"
#include "tests/kit/ImportTestSupport.h"

#include <gtest/gtest.h>

namespace zelmor {
namespace {

using namespace TranscriptImport;
using test::importFixture;
using test::Turns;

TEST(ImportFormat, RawValueLookupIsExactAndCaseSensitive) {
    for (Format format : allFormats) EXPECT_EQ(formatFromRawValue(rawValue(format)), format);
    for (const char* raw : {"WebVTT", "json", ""}) EXPECT_EQ(formatFromRawValue(raw), std::nullopt) << raw;
}

TEST(ImportDetection, RulesInTheirOrder) {
    const std::pair<std::string, std::optional<Format>> cases[] = {
        {"\nWEBVTT\n\n1\n00:00:01,000 --> 00:00:02,000\nHi\n", Format::webVTT}, // header after a blank line
        // SRT needs comma milliseconds and a number line directly above.
        {"00:00:01,000 --> 00:00:02,000\nHi\n", Format::webVTT},
        // JSON comes first.
        {R"({"segments":[{"speaker":"A","text":"Hi --> there"}]})", Format::genericJSON},
        // CSV needs two header fields, one mentioning a transcript.
        {"Transcript\nAna: hi\n", Format::speakerMarkdown},
        {"Title,Notes\nAna: hi,x\n", Format::speakerMarkdown},
        // Otter headers come before speaker lines, and need a name-shaped name.
        {"Ana: hello\nBen Okafor  1:02:03\nHi.\n", Format::otterText},
        {"see you at the meeting, 10:30\nnothing else\n", std::nullopt},
        // A format word in the head names the markdown dialect; granola wins a tie.
        {"Ana: granola and limitless\n", Format::granolaMarkdown},
        {"Ana: hello\n" + std::string(4000, 'x') + "\ngranola\n", Format::speakerMarkdown},
        // A bold label that is no name skips the inline rule.
        {"**Key points, round two:** budget\n", std::nullopt}};
    for (const auto& [text, format] : cases) EXPECT_EQ(detect(text), format) << text.substr(0, 60);
}

TEST(ImportConversion, RefusalsOwnTranscriptsFirstThenUnknownFormatsThenNoTurns) {
    const std::pair<std::string, Failure> cases[] = {
        {importFixture("own-transcript.md"), Failure::alreadyZelmor},
        {"", Failure::unrecognizedFormat},
        {std::string(100000, '[') + std::string(100000, ']'), Failure::unrecognizedFormat},
        {"WEBVTT\n\nNOTE nothing was said\n", Failure::noSpeech},
        {R"({"segments":[{"speaker":"A"}]})", Failure::noSpeech},
        {"Title,Transcript\nA,\n", Failure::noSpeech},
        {"\"unterminated,\"x\n<v\n**:**\n[MIC]", Failure::noSpeech}};
    for (const auto& [text, failure] : cases)
        EXPECT_EQ(std::get<Failure>(convertAll(text, "a.txt", std::nullopt)), failure) << text.substr(0, 40);
    std::string longLine = "Ana: " + std::string(200000, 'a') + "\n";
    EXPECT_EQ(std::get<std::vector<Result>>(convertAll(longLine, "long.txt", std::nullopt))[0].turnCount, 1u);
}

TEST(ImportConversion, ConvertGivesTheFirstMeetingDatedByItsContentThenFileNameThenFallback) {
    std::string vtt = "WEBVTT\n\n00:01.000 --> 00:02.000\n<v Ana>Hi\n";
    EXPECT_EQ(std::get<Result>(convert(vtt, "call_2024_12_30.vtt", "2025-01-01")).date, "2024-12-30");
    EXPECT_EQ(std::get<Result>(convert(vtt, "call-2024-13-30.vtt", "2025-01-01")).date, "2025-01-01");
    EXPECT_EQ(std::get<Result>(convert(vtt, "call.vtt", std::nullopt)).date, std::nullopt);
    std::string markdown = "---\ndate: 2023-05-06\n---\nAna: hi\n";
    EXPECT_EQ(std::get<Result>(convert(markdown, "notes-2024-01-01.md", "2025-01-01")).date, "2023-05-06");
    // The user comes first among the participants, the others in the order they first spoke.
    std::string three = vtt + "\n00:02.000 --> 00:03.000\n<v Bo>Yes\n\n00:03.000 --> 00:04.000\n<v Me>No\n";
    EXPECT_EQ(std::get<Result>(convert(three, "call.vtt", std::nullopt)).participants,
              (std::vector<std::string>{"Me", "Ana", "Bo"}));
    std::string weekly = importFixture("weekly-export.json");
    EXPECT_EQ(std::get<Result>(convert(weekly, "w.json", std::nullopt)),
              std::get<std::vector<Result>>(convertAll(weekly, "w.json", std::nullopt)).front());
}

TEST(ImportConversion, EveryFixtureIsItsFormatAndEveryCutOfItFailsCleanlyOrReadsBack) {
    const std::tuple<const char*, Format, size_t> fixtures[] = {
        {"standup-2025-03-14.vtt", Format::webVTT, 1},
        {"design-review.vtt", Format::webVTT, 1},
        {"interview.srt", Format::srt, 1},
        {"Budget Planning Transcript.txt", Format::otterText, 1},
        {"granola-notes.md", Format::granolaMarkdown, 1},
        {"limitless-2025-02-03.md", Format::limitlessMarkdown, 1},
        {"retro.md", Format::speakerMarkdown, 1},
        {"lifelog.json", Format::limitlessLifelog, 1},
        {"fathom.json", Format::fathomJSON, 1},
        {"fireflies.json", Format::firefliesJSON, 1},
        {"segments.json", Format::genericJSON, 1},
        {"weekly-export.json", Format::genericJSON, 3},
        {"granola-export.csv", Format::granolaCSV, 2}};
    for (const auto& [name, format, meetings] : fixtures) {
        std::string text = importFixture(name);
        for (size_t cut = 0; cut < text.size() + 5; cut += 5) { // every fifth length, and the whole text
            size_t length = std::min(cut, text.size());
            SCOPED_TRACE(std::string(name) + " cut at " + std::to_string(length));
            Conversion conversion = convertAll(text.substr(0, length), name, std::nullopt);
            const auto* results = std::get_if<std::vector<Result>>(&conversion);
            if (!results) {
                EXPECT_NE(std::get<Failure>(conversion), Failure::alreadyZelmor);
                EXPECT_NE(length, text.size()) << "the whole fixture converts";
                continue;
            }
            ASSERT_FALSE(results->empty());
            if (length == text.size()) {
                EXPECT_EQ(results->size(), meetings);
                EXPECT_EQ(results->front().format, format);
            }
            for (const Result& result : *results) {
                // What is written must be one of our transcripts again, with every turn it counted.
                std::optional<TranscriptDocument> back = MarkdownTranscriptParser::parse(result.markdown);
                ASSERT_TRUE(back && ZelmorTranscriptMarker::declares(result.markdown));
                EXPECT_GE(result.turnCount, 1u);
                EXPECT_EQ(back->turns.size(), result.turnCount);
                EXPECT_EQ(back->participants, result.participants);
            }
        }
    }
}

TEST(Render, ByteForByteWithValuesThatWouldBreakTheirLineKeptOnIt) {
    Turns turns = {{"Ana", "Hello: everyone."}, {"Ben", "\"Hi\" — with quotes."}};
    EXPECT_EQ(render("Standup: day 2", "2025-03-14", {"Ana", "Ben"}, turns, Format::webVTT, "standup.vtt"),
              "---\ntitle: Standup: day 2\ndate: 2025-03-14\nparticipants:\n  - Ana\n  - Ben\n"
              "duration_min: 0\nsource: Zelmor\nasr: imported (vtt)\nimported_from: standup.vtt\n---\n\n"
              "## Notes\n\n_(User-added context. Empty until the user types here in the Library window.)_\n\n"
              "## Transcript\n\n**Ana:** Hello: everyone.\n\n**Ben:** \"Hi\" — with quotes.\n");
    std::string text = render("Weekly\nprivate: true\nparticipants:\n  - CEO", std::nullopt,
                              {"Ana\r\n  - Mallory", "Ben\u2028x\u0085y\u2029z\x1b"}, {{"Ana\nB", "Hi."}},
                              Format::genericJSON, "call\nsource: Zelmor.json");
    EXPECT_EQ(text.substr(0, text.find("## Notes")),
              "---\ntitle: Weekly private: true participants:   - CEO\nparticipants:\n  - Ana    - Mallory\n"
              "  - Ben x y z \nduration_min: 0\nsource: Zelmor\nasr: imported (json)\n"
              "imported_from: call source: Zelmor.json\n---\n\n");
    EXPECT_NE(text.find("**Ana B:** Hi."), std::string::npos);
}

TEST(TitleFromFilename, SeparatorsSpacedFirstDateAndTrailingWordsCutOnceEach) {
    const std::pair<const char*, const char*> cases[] = {
        {"team__sync--weekly", "team sync weekly"},
        {"a  \t b", "a b"},
        {"2025-03-14_standup_2025-03-15", "standup 2025 03 15"},
        {"standup recording TRANSCRIPT", "standup"},
        {"sales transcript export", "sales transcript"},
        {"transcript", "transcript"},
        {"2025-03-14", "Imported meeting"}};
    for (const auto& [name, title] : cases) EXPECT_EQ(titleFromFilename(name), title) << name;
}

} // namespace
} // namespace zelmor
