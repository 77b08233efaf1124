// Derived flags and the JSON form of a turn.
#include "ZelmorMarkdownKit/format/TranscriptDocument.h"

#include "ZelmorMarkdownKit/text/Whitespace.h"

#include <nlohmann/json.hpp>

namespace zelmor {

TranscriptDocument::TranscriptDocument(
    std::string title, std::string date, std::vector<std::string> participants, long long durationMin,
    std::string source, std::string notes, std::vector<Turn> turns, std::string startedAt, std::string asr,
    std::string status, std::string calendarEventID, std::vector<std::string> pendingAudioPaths,
    double pendingOffsetSeconds, bool hasPendingOffset, std::string pendingReason, std::string spendID,
    std::string topicHint, std::string asrSummary, std::string sourceApp, std::vector<std::string> tags,
    std::string summary, std::string meetingNotes, std::string actionItems, std::string keyMoments,
    bool isPrivate)
    : title(std::move(title)), date(std::move(date)), participants(std::move(participants)),
      durationMin(durationMin), source(std::move(source)), notes(std::move(notes)), turns(std::move(turns)),
      startedAt(std::move(startedAt)), asr(std::move(asr)), status(std::move(status)),
      calendarEventID(std::move(calendarEventID)), pendingAudioPaths(std::move(pendingAudioPaths)),
      pendingOffsetSeconds(pendingOffsetSeconds), hasPendingOffset(hasPendingOffset),
      pendingReason(std::move(pendingReason)), spendID(std::move(spendID)), topicHint(std::move(topicHint)),
      asrSummary(std::move(asrSummary)), sourceApp(std::move(sourceApp)), tags(std::move(tags)),
      summary(std::move(summary)), meetingNotes(std::move(meetingNotes)), actionItems(std::move(actionItems)),
      keyMoments(std::move(keyMoments)), isPrivate(isPrivate) {}

bool TranscriptDocument::hasUserNotes() const {
    std::string_view trimmed = Whitespace::trim(notes);
    return !trimmed.empty() && trimmed != notesPlaceholder;
}

void to_json(nlohmann::json& json, const TranscriptDocument::Turn& turn) {
    json = nlohmann::json{{"speaker", turn.speaker}, {"text", turn.text}};
}

void from_json(const nlohmann::json& json, TranscriptDocument::Turn& turn) {
    json.at("speaker").get_to(turn.speaker);
    json.at("text").get_to(turn.text);
}

} // namespace zelmor
