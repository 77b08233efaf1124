// Derived flags of a transcript document, its constructor, and the JSON form of a turn.
#include "ZelmorMarkdownKit/format/TranscriptDocument.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace zelmor {
namespace {

TranscriptDocument withNotes(std::string notes) {
    return TranscriptDocument("T", "2025-03-14", {}, 0, "Zelmor", std::move(notes), {});
}

TEST(TranscriptDocument, UserNotesIgnoreWhiteSpaceAndThePlaceholder) {
    std::string placeholder = TranscriptDocument::notesPlaceholder;
    EXPECT_FALSE(withNotes("").hasUserNotes());
    EXPECT_FALSE(withNotes(" \n\t\u2029").hasUserNotes());
    EXPECT_FALSE(withNotes(placeholder).hasUserNotes());
    EXPECT_FALSE(withNotes("\n\n" + placeholder + "\n  ").hasUserNotes());
    EXPECT_TRUE(withNotes(placeholder + ".").hasUserNotes());
    EXPECT_TRUE(withNotes("x").hasUserNotes());
}

TEST(TranscriptDocument, PendingIsReadFromAsrAndIncompleteFromStatus) {
    TranscriptDocument doc = withNotes("");
    doc.asr = "Pending";
    EXPECT_FALSE(doc.isPendingTranscription());
    EXPECT_FALSE(doc.isRetryable());

    doc.asr = "";
    doc.status = "pending";
    EXPECT_FALSE(doc.isPendingTranscription());
    EXPECT_FALSE(doc.isIncomplete());
    EXPECT_FALSE(doc.isRetryable());

    doc.asr = "pending";
    EXPECT_TRUE(doc.isPendingTranscription());
    EXPECT_TRUE(doc.isRetryable());

    doc.asr = "incomplete";
    doc.status = "incomplete";
    EXPECT_FALSE(doc.isPendingTranscription());
    EXPECT_TRUE(doc.isIncomplete());
    EXPECT_TRUE(doc.isRetryable());
}

/// Every field set, each to a value no other field holds, so a swapped argument shows.
TranscriptDocument everyFieldSet() {
    return TranscriptDocument("t", "d", {"p"}, 3, "s", "n", {{"A", "x"}}, "sa", "asr", "st", "cal", {"a.m4a"},
                              1.5, true, "why", "sp", "hint", "asum", "app", {"tag"}, "sum", "mn", "ai", "km",
                              true);
}

TEST(TranscriptDocument, ConstructorFillsEveryFieldInOrder) {
    TranscriptDocument full = everyFieldSet();
    EXPECT_EQ(full.title, "t");
    EXPECT_EQ(full.date, "d");
    EXPECT_EQ(full.participants, std::vector<std::string>{"p"});
    EXPECT_EQ(full.durationMin, 3);
    EXPECT_EQ(full.source, "s");
    EXPECT_EQ(full.notes, "n");
    EXPECT_EQ(full.turns, (std::vector<TranscriptDocument::Turn>{{"A", "x"}}));
    EXPECT_EQ(full.startedAt, "sa");
    EXPECT_EQ(full.asr, "asr");
    EXPECT_EQ(full.status, "st");
    EXPECT_EQ(full.calendarEventID, "cal");
    EXPECT_EQ(full.pendingAudioPaths, std::vector<std::string>{"a.m4a"});
    EXPECT_EQ(full.pendingOffsetSeconds, 1.5);
    EXPECT_TRUE(full.hasPendingOffset);
    EXPECT_EQ(full.pendingReason, "why");
    EXPECT_EQ(full.spendID, "sp");
    EXPECT_EQ(full.topicHint, "hint");
    EXPECT_EQ(full.asrSummary, "asum");
    EXPECT_EQ(full.sourceApp, "app");
    EXPECT_EQ(full.tags, std::vector<std::string>{"tag"});
    EXPECT_EQ(full.summary, "sum");
    EXPECT_EQ(full.meetingNotes, "mn");
    EXPECT_EQ(full.actionItems, "ai");
    EXPECT_EQ(full.keyMoments, "km");
    EXPECT_TRUE(full.isPrivate);
}

TEST(TranscriptDocument, TurnJSONHasExactlySpeakerAndText) {
    TranscriptDocument::Turn turn{"Tomás", "Hola \"todos\""};
    EXPECT_EQ(nlohmann::json(turn).dump(), R"({"speaker":"Tomás","text":"Hola \"todos\""})");
    EXPECT_EQ(
        nlohmann::json::parse(R"({"text":"t","speaker":"s","extra":1})").get<TranscriptDocument::Turn>(),
        (TranscriptDocument::Turn{"s", "t"}));
    EXPECT_THROW(nlohmann::json::parse(R"({"speaker":"s"})").get<TranscriptDocument::Turn>(),
                 nlohmann::json::exception);
    EXPECT_THROW(nlohmann::json::parse(R"({"text":"t"})").get<TranscriptDocument::Turn>(),
                 nlohmann::json::exception);
    EXPECT_THROW(nlohmann::json::parse(R"({"speaker":1,"text":"t"})").get<TranscriptDocument::Turn>(),
                 nlohmann::json::exception);
}

} // namespace
} // namespace zelmor
