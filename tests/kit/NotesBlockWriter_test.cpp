// Preparing agent-written sections and writing them into a transcript file and its mirror.
#include "ZelmorMarkdownKit/edit/NotesBlockWriter.h"

#include "ZelmorMarkdownKit/edit/TranscriptEditor.h"
#include "platform/FileSystem.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>
#include <unicode/calendar.h>
#include <unicode/gregocal.h>
#include <unicode/timezone.h>

#include <memory>

namespace zelmor {
namespace {

namespace Writer = NotesBlockWriter;
using test::TempFolder;

const std::string marker(TranscriptEditor::enhancedBlockEndMarker);
const std::string transcript =
    "---\ntitle: Sync\nsource: Zelmor\n---\n\n## Notes\n\n\n## Transcript\n\n**Ana:** Hi.\n";

TEST(SanitizedSections, PreambleDroppedOtherHeadingsFiledUnderSummaryBlankGivesNothing) {
    const std::pair<const char*, std::optional<std::string>> cases[] = {
        {"  We agreed on the budget.\n", "## Summary\nWe agreed on the budget."},
        {"Here are your notes:\n\n## Action Items\n- a\n\n## Summary\ns\n",
         "## Action Items\n- a\n\n## Summary\ns"},
        {"## Key Moments\n- k\n## Summary\ns", "## Key Moments\n- k\n## Summary\ns"},
        {"## Decisions\nShip it.", "## Summary\n## Decisions\nShip it."},
        {"intro ## Summary inline", "## Summary\nintro ## Summary inline"},
        {" \n\t\n", std::nullopt},
    };
    for (const auto& [text, sections] : cases) EXPECT_EQ(Writer::sanitizedSections(text), sections) << text;
}

TEST(ProvenanceLine, FormatsTheDayInTheCalendarsTimeZone) {
    UErrorCode status = U_ZERO_ERROR;
    // 2025-03-14T03:00:00Z: still March 13 in Los Angeles.
    auto instant = std::chrono::system_clock::time_point(std::chrono::seconds(1741921200));
    icu::GregorianCalendar utc(icu::TimeZone::getGMT()->clone(), status);
    icu::GregorianCalendar losAngeles(icu::TimeZone::createTimeZone("America/Los_Angeles"), status);
    ASSERT_TRUE(U_SUCCESS(status));
    EXPECT_EQ(Writer::provenanceLine(instant, utc),
              "_Written by your agent on Mar 14, 2025. Regenerate or delete anytime._");
    EXPECT_EQ(Writer::provenanceLine(instant, losAngeles),
              "_Written by your agent on Mar 13, 2025. Regenerate or delete anytime._");
}

TEST(MirrorPath, ReplacesOrAddsTheExtension) {
    EXPECT_EQ(Writer::mirrorPath("/a/b/Weekly sync.md"), "/a/b/Weekly sync.txt");
    EXPECT_EQ(Writer::mirrorPath("/a/v1.2/notes"), "/a/v1.2/notes.txt");
    EXPECT_EQ(Writer::mirrorPath("/a/.hidden"), "/a/.hidden.txt");
    EXPECT_EQ(Writer::mirrorPath("/a/x.tar.md"), "/a/x.tar.txt");
}

TEST(Apply, WritesTheFileAndAnExistingMirror) {
    TempFolder folder;
    std::string file = folder.write("Sync.md", transcript);
    std::string mirror = folder.write("Sync.txt", transcript);
    ASSERT_TRUE(Writer::apply("## Summary\n\nHi.", transcript, file));
    std::string expected = transcript + "\n## Summary\n\nHi.\n\n" + marker + "\n";
    EXPECT_EQ(test::readFile(file), expected);
    EXPECT_EQ(test::readFile(mirror), expected);
    // A missing mirror stays missing.
    std::string lone = folder.write("Lone.md", transcript);
    ASSERT_TRUE(Writer::apply("## Summary\n\nHi.", transcript, lone));
    EXPECT_FALSE(platform::exists(folder / "Lone.txt"));
}

TEST(Apply, WritesNothingWhenTheTextWouldNotChangeAndFailsWhenItCannot) {
    TempFolder folder;
    std::string absent = folder / "absent.md";
    EXPECT_FALSE(Writer::apply(" \n", transcript, absent));
    std::string withBlock = transcript + "\n## Summary\n\nHi.\n\n" + marker + "\n";
    EXPECT_FALSE(Writer::apply("\n## Summary\n\nHi.\n", withBlock, absent));
    EXPECT_FALSE(platform::exists(absent));
    EXPECT_FALSE(Writer::apply("## Summary\nx", transcript, folder / "no-such-folder/Sync.md"));
}

TEST(ClearBlock, RemovesTheBlockFromFileAndMirror) {
    TempFolder folder;
    std::string withBlock = transcript + "\n## Summary\n\nHi.\n\n" + marker + "\n";
    std::string file = folder.write("Sync.md", withBlock);
    std::string mirror = folder.write("Sync.txt", withBlock);
    ASSERT_TRUE(Writer::clearBlock(withBlock, file));
    EXPECT_EQ(test::readFile(file), transcript + "\n");
    EXPECT_EQ(test::readFile(mirror), transcript + "\n");
    EXPECT_FALSE(Writer::clearBlock(transcript, folder / "other.md"));
    EXPECT_FALSE(platform::exists(folder / "other.md"));
}

} // namespace
} // namespace zelmor
