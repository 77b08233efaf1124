// The importer's output, byte for byte, and the names and titles that go into it.
#include "ZelmorMarkdownKit/format/MarkdownTranscriptParser.h"
#include "ZelmorMarkdownKit/format/ZelmorTranscriptMarker.h"
#include "ZelmorMarkdownKit/import/TranscriptImportRendering.h"
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
    std::string text =
        render("\"Quoted\" title", std::nullopt, {"Me"}, {{"Me", "Solo."}}, Format::granolaCSV, "x.csv");
    EXPECT_EQ(text.substr(0, text.find("participants:")), "---\ntitle: \"Quoted\" title\n");
    EXPECT_NE(text.find("\nasr: imported (granola)\nimported_from: x.csv\n---\n"), std::string::npos);
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

TEST(Render, ValuesThatWouldBreakTheirLineStayOnIt) {
    std::string text = render("Weekly\nprivate: true\nparticipants:\n  - CEO", std::nullopt,
                              {"Ana\r\n  - Mallory", "Ben\u2028x\u0085y\x1b"}, {{"Ana\nB", "Hi."}},
                              Format::genericJSON, "call\nsource: Zelmor.json");
    EXPECT_EQ(text.substr(0, text.find("## Notes")),
              "---\ntitle: Weekly private: true participants:   - CEO\nparticipants:\n  - Ana    - Mallory\n"
              "  - Ben x y \nduration_min: 0\nsource: Zelmor\nasr: imported (json)\n"
              "imported_from: call source: Zelmor.json\n---\n\n");
    EXPECT_NE(text.find("**Ana B:** Hi."), std::string::npos);
    auto doc = MarkdownTranscriptParser::parse(text);
    ASSERT_TRUE(doc);
    EXPECT_EQ(doc->participants.size(), 2u);
}

TEST(OrderedParticipants, FirstAppearanceOrderWithMeMovedFirst) {
    EXPECT_EQ(orderedParticipants({{"Ana", "a"}, {"Ben", "b"}, {"Ana", "c"}, {"ana", "d"}}),
              (std::vector<std::string>{"Ana", "Ben", "ana"}));
    EXPECT_EQ(orderedParticipants({{"Ana", "a"}, {"Ben", "b"}, {"Me", "c"}, {"Cy", "d"}}),
              (std::vector<std::string>{"Me", "Ana", "Ben", "Cy"}));
    EXPECT_EQ(orderedParticipants({}), (std::vector<std::string>{}));
}

TEST(TitleFromFilename, SeparatorsSpacedFirstDateAndTrailingWordsCutOnceEach) {
    const std::pair<const char*, const char*> cases[] = {
        {"team__sync--weekly", "team sync weekly"},
        {"2025-03-14_standup_2025-03-15", "standup 2025 03 15"},
        {"a  \t b", "a b"},
        {"Budget Planning Transcript", "Budget Planning"},
        {"board_recording", "board"},
        {"calls-export", "calls"},
        {"standup recording TRANSCRIPT", "standup"},
        {"sales transcript export", "sales transcript"},
        {"transcript", "transcript"},
        {"2025-03-14", "Imported meeting"},
        {"__--", "Imported meeting"},
        {"", "Imported meeting"},
    };
    for (const auto& [name, title] : cases) EXPECT_EQ(titleFromFilename(name), title) << name;
}

} // namespace
} // namespace zelmor
