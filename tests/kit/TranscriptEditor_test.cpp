// Line edits and the machine-written block, checked on whole texts so that every byte around an
// edit is seen to survive; the writer that puts agent sections into a file and its mirror; and
// turn identifiers, found again after inserts, edits, moves and duplicates.
#include "ZelmorMarkdownKit/edit/TranscriptEditor.h"

#include "ZelmorMarkdownKit/edit/NotesBlockWriter.h"
#include "ZelmorMarkdownKit/edit/TranscriptTurnID.h"
#include "ZelmorMarkdownKit/text/TextNormalize.h"
#include "platform/FileSystem.h"
#include "tests/kit/ActivityTestSupport.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

namespace zelmor {
namespace {

using namespace TranscriptEditor;
namespace Writer = NotesBlockWriter;
using namespace TranscriptTurnID;

/// A transcript whose first participant and speaker is `one`, with `notes` under its notes heading.
std::string sync(const std::string& one = "Speaker 1", const std::string& notes = "Bring the budget.\n\n") {
    return "---\ntitle: Weekly sync\ndate: 2025-03-14\nparticipants:\n  - " + one +
           "\n  - Speaker 10\nsource: Zelmor\n---\n\n## Notes\n\n" + notes + "## Transcript\n\n**" + one +
           ":** Good morning.\n\n**Speaker 10:** Morning.\n\nSpeaker 1: this continuation names no one.\n";
}
const std::string transcript = sync();
const std::string marker(enhancedBlockEndMarker);
std::string block(const std::string& sections) {
    return transcript + "\n" + sections + "\n\n" + marker + "\n";
}
const std::string blockSections =
    "## Summary\n\nBudget agreed.\n\n## Meeting Notes\n\n- Q3\n\n## Action Items\n\n- Ana: send numbers";
const std::string withBlock = block(blockSections);

TEST(RenameSpeaker, RenamesTurnsAndParticipantItemsButNotLongerLabelsOrItemsWrittenOtherWays) {
    EXPECT_EQ(renameSpeaker(transcript, "Speaker 1", "Ana"), sync("Ana"));
    EXPECT_EQ(renameSpeaker(transcript, "Speaker 1", ""), transcript);
    const std::string untouched =
        "participants:\n  - \"Ana\"\n - Ana\n   - Ana\n  - Ana \ntags: [Ana]\n"
        "  **Ana:** indented\nHe said **Ana:** hi\n**ana:** lower case\n  - Ana\r\n";
    // A "\r" is part of its line: it blocks the whole-line item match but not a turn prefix.
    EXPECT_EQ(renameSpeaker(untouched + "**Ana:**\r\n", "Ana", "Bo"), untouched + "**Bo:**\r\n");
}

TEST(SetTitle, KeepsAPlainTitleAsWrittenAndChangesOnlyTheFirstTitleLine) {
    EXPECT_EQ(setTitle("---\ntitle: x\n---\n", "  Weekly sync  "), "---\ntitle:   Weekly sync  \n---\n");
    EXPECT_EQ(setTitle("---\n title: x\nTitle: y\n", "new"), "---\n title: x\nTitle: y\n");
    EXPECT_EQ(setTitle("a\ntitle: one\ntitle: two\n", "new"), "a\ntitle: new\ntitle: two\n");
    EXPECT_EQ(setTitle("---\ntitle: one\r\n", "new"), "---\ntitle: new\n");
}

TEST(SetNotes, TrimmedTextBetweenBothHeadingsAndEmptyNotesLeaveNoPlaceholder) {
    EXPECT_EQ(setNotes(transcript, " \n\t\n"), sync("Speaker 1", "\n"));
    for (const char* text :
         {"## Notes\nold\n", "## Transcript\n\n## Notes\nold\n", "## Notes \nold\n## Transcript\n"})
        EXPECT_EQ(setNotes(text, "new"), text);
}

TEST(MachineBlock, RunsFromTheLineBreakBeforeItsEarliestStartHeadingThroughTheMarkerAndInsideEndsBeforeIt) {
    EXPECT_EQ(machineBlockRange(withBlock), (ByteRange{transcript.size(), withBlock.size() - 1}));
    EXPECT_EQ(enhancedSections(withBlock), blockSections);
    std::string keyFirst =
        "## Transcript\n\n**A:** x\n\n## Key Moments\n\nk\n\n## Action Items\n\na\n\n" + marker;
    EXPECT_EQ(machineBlockRange(keyFirst), (ByteRange{keyFirst.find("\n## Key Moments"), keyFirst.size()}));
    // Not before the transcript, not without the marker, not with only meeting notes.
    for (const std::string& text :
         {"## Summary\n\nEarly.\n\n" + marker + "\n\n## Transcript\n\n**A:** x\n",
          transcript + "\n## Summary\n\nNo marker.\n", transcript + "\n## Meeting Notes\n\n- Q3\n\n" + marker,
          transcript + "\n" + marker + "\n## Summary\n\nAfter.\n"})
        EXPECT_FALSE(machineBlockRange(text).has_value()) << text;
    // Inside means after the transcript heading and before the marker.
    size_t summary = withBlock.find("Budget agreed"), markerStart = withBlock.find(marker);
    size_t headingEnd = withBlock.find("## Transcript") + 13;
    EXPECT_TRUE(isInsideMachineBlock({headingEnd, markerStart}, withBlock));
    EXPECT_FALSE(isInsideMachineBlock({headingEnd - 1, headingEnd + 2}, withBlock));
    EXPECT_FALSE(isInsideMachineBlock({markerStart, markerStart + 2}, withBlock));
    EXPECT_FALSE(isInsideMachineBlock({summary, summary + 6}, transcript + "\n## Summary\n\nBudget agreed."));
}

TEST(SetEnhancedSections, AppendsAfterTrailingWhitespaceReplacesTheBlockOrRemovesIt) {
    EXPECT_EQ(setEnhancedSections(transcript + " \n\n \n", "\n## Summary\n\nDone.\n\n"),
              transcript.substr(0, transcript.size() - 1) + "\n\n## Summary\n\nDone.\n\n" + marker + "\n");
    EXPECT_EQ(setEnhancedSections("", "## Summary\nx"), "\n\n## Summary\nx\n\n" + marker + "\n");
    EXPECT_EQ(setEnhancedSections(withBlock + "\nTrailing text.\n", "  ## Key Moments\n- one\n  "),
              transcript + "\n## Key Moments\n- one\n\n" + marker + "\n\nTrailing text.\n");
    EXPECT_EQ(setEnhancedSections(withBlock, " \n"), transcript + "\n");
    EXPECT_EQ(setEnhancedSections(transcript, ""), transcript);
}

TEST(MachineProvenance, GivesTheLastWrittenByCommentTrimmed) {
    EXPECT_EQ(machineProvenance(block("## Summary\n<!-- zelmor:written-by agent A -->\nText.\n"
                                      "\t<!-- zelmor:written-by agent B --> \n<!-- other -->")),
              "<!-- zelmor:written-by agent B -->");
    EXPECT_FALSE(machineProvenance(withBlock).has_value());
    EXPECT_FALSE(machineProvenance(transcript + "<!-- zelmor:written-by x -->\n").has_value());
    EXPECT_FALSE(machineProvenance(block("## Summary\n<!-- zelmor:written-by-x -->")).has_value());
}

TEST(SetAISection, ReplacesTheFirstSectionWithTheHeaderWhereItStandsOrCreatesTheBlock) {
    EXPECT_EQ(setAISection(withBlock, "## Meeting Notes", "\n- Q4\n- hiring\n"),
              block("## Summary\n\nBudget agreed.\n\n## Meeting Notes\n\n- Q4\n- hiring\n\n"
                    "## Action Items\n\n- Ana: send numbers"));
    EXPECT_EQ(setAISection(block("## Summary\n\none\n\n## Summary\n\ntwo"), "## Summary", "new"),
              block("## Summary\n\nnew\n\n## Summary\n\ntwo"));
    EXPECT_EQ(setAISection(withBlock, "## summary", "x"), withBlock);
    EXPECT_EQ(setAISection(transcript, "## Action Items", " - Ana: call Sam "),
              block("## Action Items\n\n- Ana: call Sam"));
}

TEST(SetAISection, InsertsNewSectionsInCanonicalOrderBeforeTheClosingComments) {
    std::string text = block("## Action Items\n\n- a\n\n<!-- zelmor:written-by agent -->");
    text = setAISection(text, "## Key Moments", "k");
    text = setAISection(text, "## Summary", "s");
    text = setAISection(text, "## Meeting Notes", "m");
    EXPECT_EQ(
        text,
        block("## Summary\n\ns\n\n## Meeting Notes\n\nm\n\n## Action Items\n\n- a\n\n## Key Moments\n\nk"
              "\n\n<!-- zelmor:written-by agent -->"));
}

TEST(SetAISection, EmptyBodyRemovesTheSectionThenTheBlockButMeetingNotesNeverOpenIt) {
    std::string text = setAISection(withBlock, "## Meeting Notes", "");
    EXPECT_EQ(text, block("## Summary\n\nBudget agreed.\n\n## Action Items\n\n- Ana: send numbers"));
    text = setAISection(text, "## Summary", " ");
    EXPECT_EQ(text, block("## Action Items\n\n- Ana: send numbers"));
    EXPECT_EQ(setAISection(text, "## Action Items", ""), transcript + "\n");
    EXPECT_EQ(setAISection(text, "## Key Moments", ""), text);
    EXPECT_EQ(setAISection(transcript, "## Summary", ""), transcript);
    // Meeting notes never open the block, nor keep it alone.
    EXPECT_EQ(setAISection(transcript, "## Meeting Notes", "m"), transcript);
    EXPECT_EQ(setAISection(block("## Action Items\n\n- a"), "## Meeting Notes", "m"),
              block("## Action Items\n\n- a\n\n## Meeting Notes\n\nm"));
    std::string summaryAndNotes = block("## Summary\n\ns\n\n## Meeting Notes\n\nm");
    EXPECT_EQ(setAISection(summaryAndNotes, "## Summary", ""), summaryAndNotes);
    EXPECT_EQ(setAISection(withBlock, "## Summary", ""),
              block("## Action Items\n\n- Ana: send numbers\n\n## Meeting Notes\n\n- Q3"));
}

TEST(NotesBlockWriter, SanitizingKeepsOnlySectionsTheProvenanceDayIsLocalAndTheMirrorIsTheTextTwin) {
    // Sanitizing drops a preamble, files other headings under a summary, and gives nothing for blanks.
    const std::pair<const char*, std::optional<std::string>> cases[] = {
        {"Here are your notes:\n\n## Action Items\n- a\n\n## Summary\ns\n",
         "## Action Items\n- a\n\n## Summary\ns"},
        {"## Key Moments\n- k\n## Summary\ns", "## Key Moments\n- k\n## Summary\ns"},
        {"  ## Decisions\nShip it.\n", "## Summary\n## Decisions\nShip it."},
        {"intro ## Summary inline", "## Summary\nintro ## Summary inline"},
        {" \n\t\n", std::nullopt}};
    for (const auto& [text, sections] : cases) EXPECT_EQ(Writer::sanitizedSections(text), sections) << text;
    // Still March 13 in Los Angeles.
    EXPECT_EQ(Writer::provenanceLine(test::utc(2025, 3, 14, 3), *test::gregorianIn("America/Los_Angeles")),
              "_Written by your agent on Mar 13, 2025. Regenerate or delete anytime._");
    EXPECT_EQ(Writer::mirrorPath("/a/b/Weekly sync.md"), "/a/b/Weekly sync.txt");
    EXPECT_EQ(Writer::mirrorPath("/a/v1.2/notes"), "/a/v1.2/notes.txt");
    EXPECT_EQ(Writer::mirrorPath("/a/.hidden"), "/a/.hidden.txt") << "a leading dot starts no extension";
}

TEST(NotesBlockWriter, WritesTheFileAndAnExistingMirrorOnlyWhenTheTextChanges) {
    test::TempFolder folder;
    std::string file = folder.write("Sync.md", transcript), mirror = folder.write("Sync.txt", transcript);
    std::string lone = folder.write("Lone.md", transcript);
    std::string summary = block("## Summary\n\nHi.");
    ASSERT_TRUE(Writer::apply("## Summary\n\nHi.", transcript, file));
    EXPECT_EQ(test::readFile(file), summary);
    EXPECT_EQ(test::readFile(mirror), summary);
    ASSERT_TRUE(Writer::apply("## Summary\n\nHi.", transcript, lone));
    EXPECT_FALSE(platform::exists(folder / "Lone.txt"));
    ASSERT_TRUE(Writer::clearBlock(summary, file));
    EXPECT_EQ(test::readFile(file), transcript + "\n");
    EXPECT_EQ(test::readFile(mirror), transcript + "\n");
    std::string absent = folder / "absent.md";
    EXPECT_FALSE(Writer::apply("\n## Summary\n\nHi.\n", summary, absent));
    EXPECT_FALSE(platform::exists(absent));
    EXPECT_FALSE(Writer::apply("## Summary\nx", transcript, folder / "no-such-folder/Sync.md"));
}

std::vector<TranscriptDocument::Turn> turnsSaying(std::vector<std::string> texts) {
    std::vector<TranscriptDocument::Turn> turns;
    for (auto& text : texts) turns.push_back({"Ana", std::move(text)});
    return turns;
}

TEST(TextNormalize, LowerCasesAndKeepsOnlyLettersMarksAndDigitsAsWords) {
    for (auto [text, words] : {std::pair{"  Hello,\tWORLD!\n\nIt's 9:30 ", "hello world it s 9 30"},
                               {"Ça VA? Cafe\u0301", "ça va cafe\u0301"},
                               {"bad\377byte", "bad byte"}})
        EXPECT_EQ(TextNormalize::words(text), words) << text;
}

TEST(TranscriptTurnID, PositionAndWordHashFindTheTurnExactStaleMovedToTheNearestCopyOrMissing) {
    // An identifier is the padded position and a SHA-256 prefix of the words ("hello world": b94d27).
    EXPECT_EQ(make(0, "Hello, world!"), "t001-b94d27");
    EXPECT_EQ(make(41, "hello   WORLD"), "t042-b94d27");
    EXPECT_EQ(make(12344, "hello world"), "t12345-b94d27");
    auto turns = turnsSaying({"hello world"});
    for (const char* id : {"t01-b94d27", "t000-b94d27", "x001-b94d27", "t001-b94d", "t001-b94d277",
                           "t001b94d27", "", "t+01-b94d27", "t99999999999999999999999-b94d27"})
        EXPECT_EQ(locate(id, turns), Match(Missing{})) << id;
    // Unchanged words are exact, a changed word is stale.
    turns = turnsSaying({"first", "We should ship on Friday.", "last"});
    std::string id = make(1, turns[1].text);
    turns[1].text = "we should SHIP, on friday!";
    for (std::string same : {id, "t0002" + id.substr(4)}) EXPECT_EQ(locate(same, turns), Match(Exact{1}));
    turns[1].text = "We should ship on Monday.";
    EXPECT_EQ(locate(id, turns), Match(Stale{1}));
    // A moved turn is found at its nearest copy, ties going earlier.
    turns = turnsSaying({"a", "b", "same words", "c", "different", "d", "Same words!", "e"});
    std::vector<std::string> before = ids(turns);
    EXPECT_EQ(locate(make(4, "same words"), turns), Match(Moved{2}));
    turns.insert(turns.begin(), TranscriptDocument::Turn{"Bo", "pushes everything down"});
    EXPECT_EQ(locate(before[1], turns), Match(Moved{2}));
    EXPECT_EQ(locate(make(4, "same words"), turns), Match(Moved{3}));
    EXPECT_EQ(locate(make(6, "same words"), turns), Match(Moved{7}));
    // Past the end a turn is moved when its words remain, else missing.
    EXPECT_EQ(locate(make(99, "nothing like it"), turns), Match(Missing{}));
    EXPECT_EQ(locate(make(99, "B"), turns), Match(Moved{2}));
    EXPECT_EQ(locate(make(0, "a"), {}), Match(Missing{}));
}

} // namespace
} // namespace zelmor
