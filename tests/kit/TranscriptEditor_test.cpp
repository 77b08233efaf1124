// Line edits and the machine-written block, checked on whole texts so that every byte around an
// edit is seen to survive.
#include "ZelmorMarkdownKit/edit/TranscriptEditor.h"

#include "ZelmorMarkdownKit/format/MarkdownTranscriptParser.h"

#include <gtest/gtest.h>

namespace zelmor {
namespace {

namespace Editor = TranscriptEditor;

const std::string head = "---\n"
                         "title: Weekly sync\n"
                         "date: 2025-03-14\n"
                         "participants:\n"
                         "  - Speaker 1\n"
                         "  - Speaker 10\n"
                         "source: Zelmor\n"
                         "---\n"
                         "\n"
                         "## Notes\n"
                         "\n"
                         "Bring the budget.\n"
                         "\n"
                         "## Transcript\n"
                         "\n";
const std::string turns = "**Speaker 1:** Good morning.\n"
                          "\n"
                          "**Speaker 10:** Morning.\n"
                          "\n"
                          "Speaker 1: this continuation names no one.\n";
const std::string transcript = head + turns;

TEST(RenameSpeaker, RenamesTurnsAndParticipantItemsButNotLongerLabels) {
    std::string renamed = Editor::renameSpeaker(transcript, "Speaker 1", "Ana");
    EXPECT_EQ(renamed, "---\ntitle: Weekly sync\ndate: 2025-03-14\nparticipants:\n  - Ana\n  - Speaker 10\n"
                       "source: Zelmor\n---\n\n## Notes\n\nBring the budget.\n\n## Transcript\n\n"
                       "**Ana:** Good morning.\n\n**Speaker 10:** Morning.\n\n"
                       "Speaker 1: this continuation names no one.\n");
    for (auto [from, to] :
         {std::pair{"Speaker 1", ""}, {"", "Ana"}, {"Speaker 1", "Speaker 1"}, {"Nobody", "Ana"}})
        EXPECT_EQ(Editor::renameSpeaker(transcript, from, to), transcript) << from << " -> " << to;
}

TEST(RenameSpeaker, LeavesItemsWrittenOtherWaysAndLabelsInsideLines) {
    const std::string untouched = "participants:\n"
                                  "  - \"Ana\"\n"
                                  " - Ana\n"
                                  "   - Ana\n"
                                  "  - Ana \n"
                                  "tags: [Ana]\n"
                                  "  **Ana:** indented\n"
                                  "He said **Ana:** hi\n"
                                  "**ana:** lower case\n"
                                  "  - Ana\r\n";
    // A "\r" is part of its line: it blocks the whole-line item match but not a turn prefix.
    EXPECT_EQ(Editor::renameSpeaker(untouched + "**Ana:**\r\n", "Ana", "Bo"), untouched + "**Bo:**\r\n");
}

TEST(SetTitle, QuotesTitlesWithColonNumberSignApostropheOrQuote) {
    auto titleLine = [](std::string_view title) {
        std::string edited = Editor::setTitle("---\ntitle: x\n---\n", title);
        return edited.substr(4, edited.size() - 4 - 5);
    };
    EXPECT_EQ(titleLine("Q3: plan"), "title: \"Q3: plan\"");
    EXPECT_EQ(titleLine("Issue #4"), "title: \"Issue #4\"");
    EXPECT_EQ(titleLine("Ana's 1:1"), "title: \"Ana's 1:1\"");
    EXPECT_EQ(titleLine("The \"big\" one"), "title: \"The \\\"big\\\" one\"");
    EXPECT_EQ(titleLine("  Weekly sync  "), "title:   Weekly sync  ");
    EXPECT_EQ(MarkdownTranscriptParser::parse(Editor::setTitle(transcript, "The \"big\" one: Q3"))->title,
              "The \"big\" one: Q3");
}

TEST(SetTitle, ChangesOnlyTheFirstTitleLineIfAny) {
    EXPECT_EQ(Editor::setTitle("---\n title: x\nTitle: y\n", "new"), "---\n title: x\nTitle: y\n");
    EXPECT_EQ(Editor::setTitle("a\ntitle: one\ntitle: two\n", "new"), "a\ntitle: new\ntitle: two\n");
    EXPECT_EQ(Editor::setTitle("---\ntitle: one\r\n", "new"), "---\ntitle: new\n");
}

TEST(SetNotes, TrimmedTextBetweenSingleBlankLinesAndEmptyNotesLeaveNoPlaceholder) {
    EXPECT_EQ(Editor::setNotes(transcript, "  \n Call Sam back.\n\n"),
              head.substr(0, head.find("Bring")) + "Call Sam back.\n\n## Transcript\n\n" + turns);
    std::string expected = head.substr(0, head.find("Bring")) + "\n## Transcript\n\n" + turns;
    EXPECT_EQ(Editor::setNotes(transcript, ""), expected);
    EXPECT_EQ(Editor::setNotes(transcript, " \n\t\n"), expected);
    EXPECT_EQ(MarkdownTranscriptParser::parse(expected)->notes, "");
}

TEST(SetNotes, NeedsBothHeadingsInOrder) {
    EXPECT_EQ(Editor::setNotes("## Notes\nold\n", "new"), "## Notes\nold\n");
    EXPECT_EQ(Editor::setNotes("## Transcript\n\n## Notes\nold\n", "new"),
              "## Transcript\n\n## Notes\nold\n");
    EXPECT_EQ(Editor::setNotes("## Notes \nold\n## Transcript\n", "new"), "## Notes \nold\n## Transcript\n");
}

const std::string marker(Editor::enhancedBlockEndMarker);
const std::string withBlock = transcript +
                              "\n## Summary\n\nBudget agreed.\n\n## Meeting Notes\n\n- Q3\n\n"
                              "## Action Items\n\n- Ana: send numbers\n\n" +
                              marker + "\n";

TEST(MachineBlock, RunsFromTheLineBreakBeforeItsFirstHeadingThroughTheMarker) {
    auto range = Editor::machineBlockRange(withBlock);
    ASSERT_TRUE(range.has_value());
    EXPECT_EQ(range->start, transcript.size());
    EXPECT_EQ(range->end, withBlock.size() - 1);
    EXPECT_EQ(
        *Editor::enhancedSections(withBlock),
        "## Summary\n\nBudget agreed.\n\n## Meeting Notes\n\n- Q3\n\n## Action Items\n\n- Ana: send numbers");
}

TEST(MachineBlock, OpensAtTheEarliestOfItsStartHeadings) {
    std::string text =
        "## Transcript\n\n**A:** x\n\n## Key Moments\n\nk\n\n## Action Items\n\na\n\n" + marker;
    EXPECT_EQ(Editor::machineBlockRange(text),
              (Editor::ByteRange{text.find("\n## Key Moments"), text.size()}));
}

TEST(MachineBlock, NotFoundBeforeTheTranscriptWithoutMarkerOrWithOnlyMeetingNotes) {
    std::string sectionsFirst = "## Summary\n\nEarly.\n\n" + marker + "\n\n## Transcript\n\n**A:** x\n";
    EXPECT_FALSE(Editor::machineBlockRange(sectionsFirst).has_value());
    EXPECT_FALSE(Editor::machineBlockRange(transcript + "\n## Summary\n\nNo marker.\n").has_value());
    EXPECT_FALSE(
        Editor::machineBlockRange(transcript + "\n## Meeting Notes\n\n- Q3\n\n" + marker).has_value());
    EXPECT_FALSE(
        Editor::machineBlockRange(transcript + "\n" + marker + "\n## Summary\n\nAfter.\n").has_value());
    EXPECT_FALSE(Editor::enhancedSections(transcript).has_value());
}

TEST(MachineBlock, InsideMeansAfterTheTranscriptHeadingAndBeforeTheMarker) {
    size_t summary = withBlock.find("Budget agreed");
    size_t markerStart = withBlock.find(marker);
    size_t headingEnd = withBlock.find("## Transcript") + 13;
    EXPECT_TRUE(Editor::isInsideMachineBlock({summary, summary + 6}, withBlock));
    EXPECT_TRUE(Editor::isInsideMachineBlock({headingEnd, markerStart}, withBlock));
    EXPECT_FALSE(Editor::isInsideMachineBlock({headingEnd - 1, headingEnd + 2}, withBlock));
    EXPECT_FALSE(Editor::isInsideMachineBlock({markerStart, markerStart + 2}, withBlock));
    EXPECT_FALSE(Editor::isInsideMachineBlock({4, 9}, withBlock));
    EXPECT_FALSE(
        Editor::isInsideMachineBlock({summary, summary + 6}, transcript + "\n## Summary\n\nBudget agreed."));
}

TEST(SetEnhancedSections, AppendsAfterTrailingWhitespaceWithOneBlankLine) {
    EXPECT_EQ(Editor::setEnhancedSections(transcript + " \n\n \n", "\n## Summary\n\nDone.\n\n"),
              transcript.substr(0, transcript.size() - 1) + "\n\n## Summary\n\nDone.\n\n" + marker + "\n");
    EXPECT_EQ(Editor::setEnhancedSections("", "## Summary\nx"), "\n\n## Summary\nx\n\n" + marker + "\n");
    std::string appended = Editor::setEnhancedSections(transcript, "## Summary\nx");
    EXPECT_EQ(Editor::setEnhancedSections(appended, "## Summary\nx"), appended);
}

TEST(SetEnhancedSections, ReplacesTheBlockAndKeepsWhatFollowsTheMarker) {
    std::string text = withBlock + "\nTrailing text.\n";
    EXPECT_EQ(Editor::setEnhancedSections(text, "  ## Key Moments\n- one\n  "),
              transcript + "\n## Key Moments\n- one\n\n" + marker + "\n\nTrailing text.\n");
}

TEST(SetEnhancedSections, EmptySectionsRemoveTheBlockOrChangeNothing) {
    EXPECT_EQ(Editor::setEnhancedSections(withBlock, " \n"), transcript + "\n");
    EXPECT_EQ(Editor::setEnhancedSections(transcript, ""), transcript);
}

TEST(MachineProvenance, GivesTheLastWrittenByCommentTrimmed) {
    std::string text = transcript +
                       "\n## Summary\n<!-- zelmor:written-by agent A -->\nText.\n"
                       "\t<!-- zelmor:written-by agent B --> \n<!-- other -->\n\n" +
                       marker;
    EXPECT_EQ(Editor::machineProvenance(text),
              std::optional<std::string>("<!-- zelmor:written-by agent B -->"));
    EXPECT_FALSE(Editor::machineProvenance(withBlock).has_value());
    EXPECT_FALSE(Editor::machineProvenance(transcript + "<!-- zelmor:written-by x -->\n").has_value());
    EXPECT_FALSE(
        Editor::machineProvenance(transcript + "\n## Summary\n<!-- zelmor:written-by-x -->\n" + marker)
            .has_value());
}

std::string block(const std::string& sections) {
    return transcript + "\n" + sections + "\n\n" + marker + "\n";
}

TEST(SetAISection, ReplacesTheFirstSectionWithTheHeaderWhereItStands) {
    EXPECT_EQ(Editor::setAISection(withBlock, "## Meeting Notes", "\n- Q4\n- hiring\n"),
              block("## Summary\n\nBudget agreed.\n\n## Meeting Notes\n\n- Q4\n- hiring\n\n"
                    "## Action Items\n\n- Ana: send numbers"));
    EXPECT_EQ(Editor::setAISection(block("## Summary\n\none\n\n## Summary\n\ntwo"), "## Summary", "new"),
              block("## Summary\n\nnew\n\n## Summary\n\ntwo"));
    EXPECT_EQ(Editor::setAISection(withBlock, "## Notes", "x"), withBlock);
    EXPECT_EQ(Editor::setAISection(withBlock, "## summary", "x"), withBlock);
}

TEST(SetAISection, InsertsNewSectionsInCanonicalOrder) {
    std::string text = block("## Action Items\n\n- a");
    text = Editor::setAISection(text, "## Key Moments", "k");
    text = Editor::setAISection(text, "## Summary", "s");
    text = Editor::setAISection(text, "## Meeting Notes", "m");
    EXPECT_EQ(
        text,
        block("## Summary\n\ns\n\n## Meeting Notes\n\nm\n\n## Action Items\n\n- a\n\n## Key Moments\n\nk"));
    auto document = MarkdownTranscriptParser::parse(text);
    EXPECT_EQ(document->summary, "s");
    EXPECT_EQ(document->meetingNotes, "m");
    EXPECT_EQ(document->actionItems, "- a");
    EXPECT_EQ(document->keyMoments, "k");
}

TEST(SetAISection, CreatesTheBlockWhenThereIsNone) {
    EXPECT_EQ(Editor::setAISection(transcript, "## Action Items", " - Ana: call Sam "),
              transcript + "\n## Action Items\n\n- Ana: call Sam\n\n" + marker + "\n");
}

TEST(SetAISection, EmptyBodyRemovesTheSectionThenTheBlock) {
    std::string text = Editor::setAISection(withBlock, "## Meeting Notes", "");
    EXPECT_EQ(text, block("## Summary\n\nBudget agreed.\n\n## Action Items\n\n- Ana: send numbers"));
    text = Editor::setAISection(text, "## Summary", " ");
    EXPECT_EQ(text, block("## Action Items\n\n- Ana: send numbers"));
    EXPECT_EQ(Editor::setAISection(text, "## Action Items", ""), transcript + "\n");
    EXPECT_EQ(Editor::setAISection(text, "## Key Moments", ""), text);
    EXPECT_EQ(Editor::setAISection(transcript, "## Summary", ""), transcript);
}

TEST(SetAISection, MeetingNotesNeverOpenTheBlock) {
    EXPECT_EQ(Editor::setAISection(transcript, "## Meeting Notes", "m"), transcript);
    std::string actions = block("## Action Items\n\n- a");
    EXPECT_EQ(Editor::setAISection(actions, "## Meeting Notes", "m"),
              block("## Action Items\n\n- a\n\n## Meeting Notes\n\nm"));
    std::string summaryAndNotes = block("## Summary\n\ns\n\n## Meeting Notes\n\nm");
    EXPECT_EQ(Editor::setAISection(summaryAndNotes, "## Summary", ""), summaryAndNotes);
    EXPECT_EQ(Editor::setAISection(withBlock, "## Summary", ""),
              block("## Action Items\n\n- Ana: send numbers\n\n## Meeting Notes\n\n- Q3"));
}

TEST(SetAISection, KeepsTheClosingCommentsAtTheEndOfTheBlock) {
    std::string text = block("## Summary\n\ns\n\n<!-- zelmor:written-by agent -->");
    std::string edited = Editor::setAISection(text, "## Key Moments", "k");
    EXPECT_EQ(edited, block("## Summary\n\ns\n\n## Key Moments\n\nk\n\n<!-- zelmor:written-by agent -->"));
    EXPECT_EQ(Editor::machineProvenance(edited),
              std::optional<std::string>("<!-- zelmor:written-by agent -->"));
}

} // namespace
} // namespace zelmor
