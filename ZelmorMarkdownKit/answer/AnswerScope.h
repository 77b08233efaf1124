// Which meetings a question may draw on: dates, the latest N, a participant, explicit meetings,
// a speaker who took part, and a folder. Every restriction is optional; none admits everything.
#pragma once

#include "ZelmorMarkdownKit/answer/SpeakerFilter.h"
#include "ZelmorMarkdownKit/format/TranscriptDocument.h"

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

namespace zelmor {

/// A present but empty string restriction counts as absent everywhere.
struct AnswerScope {
    /// Earliest meeting day, "yyyy-MM-dd", inclusive.
    std::optional<std::string> dateFrom = {};
    /// Latest meeting day, "yyyy-MM-dd", inclusive.
    std::optional<std::string> dateTo = {};
    /// Keep only the first N admitted meetings of the caller's order (newest first, usually).
    std::optional<long long> lastN = {};
    /// A name that some participant must contain, ignoring case and diacritics.
    std::optional<std::string> participant = {};
    /// The meeting's identifier (its path) must be one of these.
    std::optional<std::set<std::string>> meetingIDs = {};
    std::optional<SpeakerFilter> speaker = {};
    /// The meeting's path must lie inside this folder (see pathIsInFolder).
    std::optional<std::string> folder = {};

    bool operator==(const AnswerScope&) const = default;

    /// The scope with no restriction at all.
    static const AnswerScope& all();

    bool isAll() const;

    /// Whether the meeting passes every restriction except `lastN`.
    bool admits(std::string_view id, const TranscriptDocument& document) const;

    /// The admitted items in the caller's order, cut to `lastN`.
    template <typename Item> std::vector<Item> apply(const std::vector<Item>& items) const;

    /// The narrower of the two scopes; `other` wins where only one value can stand.
    AnswerScope merging(const AnswerScope& other) const;

    /// Whether the folder's names occur as a run among the path's folder names, ignoring case.
    /// Not anchored at the root: "Clients/Acme" holds "/Work/clients/acme/2024/a.md".
    static bool pathIsInFolder(std::string_view path, std::string_view folder);
};

/// JSON form: only present fields, under their own names.
void to_json(nlohmann::json& json, const AnswerScope& scope);
void from_json(const nlohmann::json& json, AnswerScope& scope);

/// Items are (id, document) pairs.
template <typename Item> std::vector<Item> AnswerScope::apply(const std::vector<Item>& items) const {
    if (isAll()) return items;
    std::vector<Item> admitted;
    for (const Item& item : items) {
        if (lastN && static_cast<long long>(admitted.size()) >= *lastN) break;
        if (admits(std::get<0>(item), std::get<1>(item))) admitted.push_back(item);
    }
    return admitted;
}

} // namespace zelmor
