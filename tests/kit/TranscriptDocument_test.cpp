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

/// Every field set, each to a value no other field holds, so a swapped argument shows.
TranscriptDocument everyFieldSet() {
    return TranscriptDocument("t", "d", {"p"}, 3, "s", "n", {{"A", "x"}}, "sa", "asr", "st", "cal", {"a.m4a"}, 1.5,
                              true, "why", "sp", "hint", "asum", "app", {"tag"}, "sum", "mn", "ai", "km", true);
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

TEST(TranscriptDocument, FieldsLeftOutOfTheConstructorTakeTheirDefaults) {
    TranscriptDocument expected;
    expected.title = "T";
    expected.date = "2025-03-14";
    expected.source = "Zelmor";
    expected.notes = "n";
    EXPECT_EQ(withNotes("n"), expected);
    EXPECT_EQ(TranscriptDocument().pendingOffsetSeconds, 0);
    EXPECT_FALSE(TranscriptDocument().hasPendingOffset);
    EXPECT_FALSE(TranscriptDocument().isPrivate);
}

TEST(TranscriptDocument, EqualityTellsAChangeInAnyOneField) {
    using Change = void (*)(TranscriptDocument&);
    const std::pair<const char*, Change> changes[] = {
        {"title", [](TranscriptDocument& d) { d.title += "!"; }},
        {"date", [](TranscriptDocument& d) { d.date += "!"; }},
        {"participants", [](TranscriptDocument& d) { d.participants.push_back("q"); }},
        {"durationMin", [](TranscriptDocument& d) { d.durationMin += 1; }},
        {"source", [](TranscriptDocument& d) { d.source += "!"; }},
        {"notes", [](TranscriptDocument& d) { d.notes += "!"; }},
        {"turns", [](TranscriptDocument& d) { d.turns[0].text += "!"; }},
        {"startedAt", [](TranscriptDocument& d) { d.startedAt += "!"; }},
        {"asr", [](TranscriptDocument& d) { d.asr += "!"; }},
        {"status", [](TranscriptDocument& d) { d.status += "!"; }},
        {"calendarEventID", [](TranscriptDocument& d) { d.calendarEventID += "!"; }},
        {"pendingAudioPaths", [](TranscriptDocument& d) { d.pendingAudioPaths.clear(); }},
        {"pendingOffsetSeconds", [](TranscriptDocument& d) { d.pendingOffsetSeconds += 1; }},
        {"hasPendingOffset", [](TranscriptDocument& d) { d.hasPendingOffset = false; }},
        {"pendingReason", [](TranscriptDocument& d) { d.pendingReason += "!"; }},
        {"spendID", [](TranscriptDocument& d) { d.spendID += "!"; }},
        {"topicHint", [](TranscriptDocument& d) { d.topicHint += "!"; }},
        {"asrSummary", [](TranscriptDocument& d) { d.asrSummary += "!"; }},
        {"sourceApp", [](TranscriptDocument& d) { d.sourceApp += "!"; }},
        {"tags", [](TranscriptDocument& d) { d.tags.push_back("more"); }},
        {"summary", [](TranscriptDocument& d) { d.summary += "!"; }},
        {"meetingNotes", [](TranscriptDocument& d) { d.meetingNotes += "!"; }},
        {"actionItems", [](TranscriptDocument& d) { d.actionItems += "!"; }},
        {"keyMoments", [](TranscriptDocument& d) { d.keyMoments += "!"; }},
        {"isPrivate", [](TranscriptDocument& d) { d.isPrivate = false; }},
    };
    const TranscriptDocument full = everyFieldSet();
    EXPECT_EQ(TranscriptDocument(full), full);
    for (const auto& [field, change] : changes) {
        TranscriptDocument changed = full;
        change(changed);
        EXPECT_NE(changed, full) << field;
    }
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
