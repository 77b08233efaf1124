// Derived flags of a transcript document, its equality, and the JSON form of a turn.
#include "ZelmorMarkdownKit/TranscriptDocument.h"

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
    EXPECT_EQ(placeholder, "_(User-added context. Empty until the user types here in the Library window.)_");
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

TEST(TranscriptDocument, MemberwiseDefaultsAndEqualityCoverEveryField) {
    TranscriptDocument doc = withNotes("n");
    EXPECT_EQ(doc.startedAt, "");
    EXPECT_EQ(doc.pendingOffsetSeconds, 0);
    EXPECT_FALSE(doc.hasPendingOffset);
    EXPECT_FALSE(doc.isPrivate);
    EXPECT_TRUE(doc.tags.empty());

    TranscriptDocument full("t", "d", {"p"}, 3, "s", "n", {{"A", "x"}}, "sa", "asr", "st", "cal", {"a.m4a"}, 1.5,
                            true, "why", "sp", "hint", "asum", "app", {"tag"}, "sum", "mn", "ai", "km", true);
    EXPECT_EQ(full.startedAt, "sa");
    EXPECT_EQ(full.calendarEventID, "cal");
    EXPECT_EQ(full.pendingReason, "why");
    EXPECT_EQ(full.topicHint, "hint");
    EXPECT_EQ(full.asrSummary, "asum");
    EXPECT_EQ(full.sourceApp, "app");
    EXPECT_EQ(full.summary, "sum");
    EXPECT_EQ(full.meetingNotes, "mn");
    EXPECT_EQ(full.actionItems, "ai");
    EXPECT_EQ(full.keyMoments, "km");
    EXPECT_TRUE(full.isPrivate);

    TranscriptDocument other = doc;
    EXPECT_EQ(other, doc);
    other.keyMoments = "- 00:01";
    EXPECT_NE(other, doc);
    other = doc;
    other.isPrivate = true;
    EXPECT_NE(other, doc);
    other = doc;
    other.turns.push_back({"Ana", ""});
    EXPECT_NE(other, doc);
}

TEST(TranscriptDocument, TurnJSONHasExactlySpeakerAndText) {
    TranscriptDocument::Turn turn{"Tomás", "Hola \"todos\""};
    EXPECT_EQ(nlohmann::json(turn).dump(), R"({"speaker":"Tomás","text":"Hola \"todos\""})");
    EXPECT_EQ(nlohmann::json::parse(R"({"text":"t","speaker":"s","extra":1})").get<TranscriptDocument::Turn>(),
              (TranscriptDocument::Turn{"s", "t"}));
    EXPECT_THROW(nlohmann::json::parse(R"({"speaker":"s"})").get<TranscriptDocument::Turn>(), nlohmann::json::exception);
    EXPECT_THROW(nlohmann::json::parse(R"({"text":"t"})").get<TranscriptDocument::Turn>(), nlohmann::json::exception);
    EXPECT_THROW(nlohmann::json::parse(R"({"speaker":1,"text":"t"})").get<TranscriptDocument::Turn>(),
                 nlohmann::json::exception);
}

} // namespace
} // namespace zelmor
