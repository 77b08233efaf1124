// The importer's output, byte for byte, and the names and titles that go into it.
#include "ZelmorMarkdownKit/MarkdownTranscriptParser.h"
#include "ZelmorMarkdownKit/TranscriptImportRendering.h"
#include "ZelmorMarkdownKit/ZelmorTranscriptMarker.h"
#include "tests/kit/ImportTestSupport.h"

#include <gtest/gtest.h>

namespace zelmor {
namespace {

using namespace TranscriptImport;
using test::Turns;

TEST(Render, WithADayByteForByte) {
    Turns turns = {{"Ana", "Hello: everyone."}, {"Ben", "\"Hi\" — with quotes."}};
    EXPECT_EQ(render("Standup: day 2", "2025-03-14", {"Ana", "Ben"}, turns, Format::webVTT, "standup.vtt"),
              "---\n"
              "title: Standup: day 2\n"
              "date: 2025-03-14\n"
              "participants:\n"
              "  - Ana\n"
              "  - Ben\n"
              "duration_min: 0\n"
              "source: Zelmor\n"
              "asr: imported (vtt)\n"
              "imported_from: standup.vtt\n"
              "---\n"
              "\n"
              "## Notes\n"
              "\n"
              "_(User-added context. Empty until the user types here in the Library window.)_\n"
              "\n"
              "## Transcript\n"
              "\n"
              "**Ana:** Hello: everyone.\n"
              "\n"
              "**Ben:** \"Hi\" — with quotes.\n");
}

TEST(Render, WithoutADayLeavesTheDateLineOut) {
    EXPECT_EQ(render("\"Quoted\" title", std::nullopt, {"Me"}, {{"Me", "Solo."}}, Format::granolaCSV, "x.csv"),
              "---\n"
              "title: \"Quoted\" title\n"
              "participants:\n"
              "  - Me\n"
              "duration_min: 0\n"
              "source: Zelmor\n"
              "asr: imported (granola)\n"
              "imported_from: x.csv\n"
              "---\n"
              "\n"
              "## Notes\n"
              "\n"
              "_(User-added context. Empty until the user types here in the Library window.)_\n"
              "\n"
              "## Transcript\n"
              "\n"
              "**Me:** Solo.\n");
}

TEST(Render, ReadsBackThroughTheTranscriptParserAsOurOwnFile) {
    Turns turns = {{"Me", "First."}, {"Dana Kim", "Second."}};
    std::string text = render("Review", "2024-11-02", {"Me", "Dana Kim"}, turns, Format::otterText, "r.txt");
    ASSERT_TRUE(ZelmorTranscriptMarker::declares(text));
    auto document = MarkdownTranscriptParser::parse(text);
    ASSERT_TRUE(document.has_value());
    EXPECT_EQ(document->title, "Review");
    EXPECT_EQ(document->date, "2024-11-02");
    EXPECT_EQ(document->participants, (std::vector<std::string>{"Me", "Dana Kim"}));
    EXPECT_EQ(document->asr, "imported (otter)");
    EXPECT_EQ(document->notes, TranscriptDocument::notesPlaceholder);
    EXPECT_FALSE(document->hasUserNotes());
    EXPECT_EQ(document->turns, turns);
}

TEST(OrderedParticipants, FirstAppearanceOrderWithMeMovedFirst) {
    EXPECT_EQ(orderedParticipants({{"Ana", "a"}, {"Ben", "b"}, {"Ana", "c"}, {"ana", "d"}}),
              (std::vector<std::string>{"Ana", "Ben", "ana"}));
    EXPECT_EQ(orderedParticipants({{"Ana", "a"}, {"Ben", "b"}, {"Me", "c"}, {"Cy", "d"}}),
              (std::vector<std::string>{"Me", "Ana", "Ben", "Cy"}));
    EXPECT_EQ(orderedParticipants({}), (std::vector<std::string>{}));
}

TEST(TitleFromFilename, SeparatorsBecomeSpacesAndTheFirstDateGoes) {
    EXPECT_EQ(titleFromFilename("team__sync--weekly"), "team sync weekly");
    EXPECT_EQ(titleFromFilename("2025-03-14_standup_2025-03-15"), "standup 2025 03 15");
    EXPECT_EQ(titleFromFilename("Budget Planning"), "Budget Planning");
    EXPECT_EQ(titleFromFilename("a  \t b"), "a b");
}

TEST(TitleFromFilename, TrailingWordsAreCutOnceEachInOrder) {
    EXPECT_EQ(titleFromFilename("Budget Planning Transcript"), "Budget Planning");
    EXPECT_EQ(titleFromFilename("board_recording"), "board");
    EXPECT_EQ(titleFromFilename("calls-export"), "calls");
    EXPECT_EQ(titleFromFilename("standup recording TRANSCRIPT"), "standup");
    EXPECT_EQ(titleFromFilename("sales export transcript"), "sales");
    EXPECT_EQ(titleFromFilename("sales transcript export"), "sales transcript");
    EXPECT_EQ(titleFromFilename("transcript"), "transcript");
}

TEST(TitleFromFilename, NothingLeftIsImportedMeeting) {
    EXPECT_EQ(titleFromFilename("2025-03-14"), "Imported meeting");
    EXPECT_EQ(titleFromFilename("__--"), "Imported meeting");
    EXPECT_EQ(titleFromFilename(""), "Imported meeting");
}

} // namespace
} // namespace zelmor
