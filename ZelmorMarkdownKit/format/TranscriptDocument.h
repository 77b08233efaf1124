// One parsed meeting transcript: frontmatter values, known sections and speaker turns.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace zelmor {

struct TranscriptDocument {
    /// One speaker turn; paragraphs of one turn are joined with "\n\n".
    struct Turn {
        std::string speaker;
        std::string text;
        bool operator==(const Turn&) const = default;
    };

    /// What a freshly written file carries under "## Notes" until the user types there.
    static constexpr const char* notesPlaceholder =
        "_(User-added context. Empty until the user types here in the Library window.)_";

    TranscriptDocument() = default;
    /// Memberwise, in field order; the fields from `startedAt` on may be left out.
    TranscriptDocument(std::string title, std::string date, std::vector<std::string> participants,
                       long long durationMin, std::string source, std::string notes, std::vector<Turn> turns,
                       std::string startedAt = {}, std::string asr = {}, std::string status = {},
                       std::string calendarEventID = {}, std::vector<std::string> pendingAudioPaths = {},
                       double pendingOffsetSeconds = 0, bool hasPendingOffset = false,
                       std::string pendingReason = {}, std::string spendID = {}, std::string topicHint = {},
                       std::string asrSummary = {}, std::string sourceApp = {},
                       std::vector<std::string> tags = {}, std::string summary = {},
                       std::string meetingNotes = {}, std::string actionItems = {},
                       std::string keyMoments = {}, bool isPrivate = false);

    std::string title;
    std::string date;
    std::vector<std::string> participants;
    long long durationMin = 0;
    std::string source;
    std::string notes;
    std::vector<Turn> turns;
    std::string startedAt;
    std::string asr;
    std::string status;
    std::string calendarEventID;
    std::vector<std::string> pendingAudioPaths;
    double pendingOffsetSeconds = 0;
    bool hasPendingOffset = false;
    std::string pendingReason;
    std::string spendID;
    std::string topicHint;
    std::string asrSummary;
    std::string sourceApp;
    std::vector<std::string> tags;
    std::string summary;
    std::string meetingNotes;
    std::string actionItems;
    std::string keyMoments;
    bool isPrivate = false;

    bool operator==(const TranscriptDocument&) const = default;

    /// The audio still awaits transcription (read from `asr`, not `status`).
    bool isPendingTranscription() const { return asr == "pending"; }
    /// The transcript was left unfinished.
    bool isIncomplete() const { return status == "incomplete"; }
    bool isRetryable() const { return isPendingTranscription() || isIncomplete(); }
    /// The notes hold something other than white space or the placeholder.
    bool hasUserNotes() const;
};

/// JSON form of a turn: exactly {"speaker", "text"}; decoding throws when either is missing.
void to_json(nlohmann::json& json, const TranscriptDocument::Turn& turn);
void from_json(const nlohmann::json& json, TranscriptDocument::Turn& turn);

} // namespace zelmor
