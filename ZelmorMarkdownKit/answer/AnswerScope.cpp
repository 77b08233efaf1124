// The scope test, the merge of two scopes, the folder test and the JSON form.
#include "ZelmorMarkdownKit/answer/AnswerScope.h"

#include "ZelmorMarkdownKit/answer/Participation.h"
#include "ZelmorMarkdownKit/text/ICUText.h"
#include "ZelmorMarkdownKit/text/TextFolding.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace zelmor {

namespace {

std::optional<std::string> nonEmpty(const std::optional<std::string>& value) {
    if (value && !value->empty()) return value;
    return std::nullopt;
}

std::vector<std::string> lowercasedPieces(std::string_view path) {
    std::vector<std::string> pieces;
    size_t start = 0;
    while (start <= path.size()) {
        size_t slash = path.find('/', start);
        if (slash == std::string_view::npos) slash = path.size();
        if (slash > start) pieces.push_back(ICUText::lowercased(path.substr(start, slash - start)));
        start = slash + 1;
    }
    return pieces;
}

template <typename T>
void readOptional(const nlohmann::json& json, const char* key, std::optional<T>& field) {
    auto found = json.find(key);
    if (found == json.end() || found->is_null())
        field.reset();
    else
        field = found->get<T>();
}

} // namespace

const AnswerScope& AnswerScope::all() {
    static const AnswerScope everything;
    return everything;
}

// Equality, not "admits everything": a scope holding an empty date is not `all`, though `admits`
// ignores that date, so `apply` still lets every meeting through for it.
bool AnswerScope::isAll() const {
    return *this == all();
}

bool AnswerScope::admits(std::string_view id, const TranscriptDocument& document) const {
    if (meetingIDs && !meetingIDs->contains(std::string(id))) return false;
    if (auto name = nonEmpty(participant)) {
        bool present =
            std::any_of(document.participants.begin(), document.participants.end(),
                        [&](const std::string& entry) { return TextFolding::contains(entry, *name); });
        if (!present) return false;
    }
    if (auto from = nonEmpty(dateFrom); from && document.date < *from) return false;
    if (auto to = nonEmpty(dateTo); to && *to < document.date) return false;
    if (speaker &&
        !Participation::spoke(document, SpeakerIdentity::fromUserName(speaker->userName), speaker->minTurns))
        return false;
    if (auto inside = nonEmpty(folder); inside && !pathIsInFolder(id, *inside)) return false;
    return true;
}

AnswerScope AnswerScope::merging(const AnswerScope& other) const {
    AnswerScope merged;
    auto from = nonEmpty(dateFrom), otherFrom = nonEmpty(other.dateFrom);
    merged.dateFrom = from && otherFrom ? std::max(*from, *otherFrom) : (from ? from : otherFrom);
    auto to = nonEmpty(dateTo), otherTo = nonEmpty(other.dateTo);
    merged.dateTo = to && otherTo ? std::min(*to, *otherTo) : (to ? to : otherTo);
    merged.lastN = lastN && other.lastN ? std::min(*lastN, *other.lastN) : (lastN ? lastN : other.lastN);
    if (meetingIDs && other.meetingIDs) {
        merged.meetingIDs.emplace();
        std::set_intersection(meetingIDs->begin(), meetingIDs->end(), other.meetingIDs->begin(),
                              other.meetingIDs->end(),
                              std::inserter(*merged.meetingIDs, merged.meetingIDs->end()));
    } else {
        merged.meetingIDs = meetingIDs ? meetingIDs : other.meetingIDs;
    }
    merged.participant = nonEmpty(other.participant) ? nonEmpty(other.participant) : nonEmpty(participant);
    merged.folder = nonEmpty(other.folder) ? nonEmpty(other.folder) : nonEmpty(folder);
    if (speaker && other.speaker) {
        merged.speaker =
            SpeakerFilter{other.speaker->userName.empty() ? speaker->userName : other.speaker->userName,
                          std::max(speaker->minTurns, other.speaker->minTurns)};
    } else {
        merged.speaker = speaker ? speaker : other.speaker;
    }
    return merged;
}

bool AnswerScope::pathIsInFolder(std::string_view path, std::string_view folder) {
    std::vector<std::string> directories = lowercasedPieces(path);
    if (directories.size() < 2) return false;
    directories.pop_back();
    std::vector<std::string> wanted = lowercasedPieces(folder);
    if (wanted.empty()) return false;
    return std::search(directories.begin(), directories.end(), wanted.begin(), wanted.end()) !=
           directories.end();
}

void to_json(nlohmann::json& json, const AnswerScope& scope) {
    json = nlohmann::json::object();
    if (scope.dateFrom) json["dateFrom"] = *scope.dateFrom;
    if (scope.dateTo) json["dateTo"] = *scope.dateTo;
    if (scope.lastN) json["lastN"] = *scope.lastN;
    if (scope.participant) json["participant"] = *scope.participant;
    if (scope.meetingIDs) json["meetingIDs"] = *scope.meetingIDs;
    if (scope.speaker) json["speaker"] = *scope.speaker;
    if (scope.folder) json["folder"] = *scope.folder;
}

void from_json(const nlohmann::json& json, AnswerScope& scope) {
    readOptional(json, "dateFrom", scope.dateFrom);
    readOptional(json, "dateTo", scope.dateTo);
    readOptional(json, "lastN", scope.lastN);
    readOptional(json, "participant", scope.participant);
    readOptional(json, "meetingIDs", scope.meetingIDs);
    readOptional(json, "speaker", scope.speaker);
    readOptional(json, "folder", scope.folder);
}

} // namespace zelmor
