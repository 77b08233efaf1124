// The speaker restriction of an answer scope: the user must have spoken substantively.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace zelmor {

struct SpeakerFilter {
    static constexpr long long defaultMinTurns = 2;

    /// The user's name as typed; see SpeakerIdentity.
    std::string userName = {};
    /// Least number of substantive turns; values below 1 still ask for one.
    long long minTurns = defaultMinTurns;

    bool operator==(const SpeakerFilter&) const = default;
};

/// JSON form {"userName", "minTurns"}; reading fills in "" and 2 for missing keys.
void to_json(nlohmann::json& json, const SpeakerFilter& filter);
void from_json(const nlohmann::json& json, SpeakerFilter& filter);

} // namespace zelmor
