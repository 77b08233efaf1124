// Derived flags and the JSON form of a turn.
#include "ZelmorMarkdownKit/TranscriptDocument.h"

#include "ZelmorMarkdownKit/Whitespace.h"

#include <nlohmann/json.hpp>

namespace zelmor {

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
