// JSON form of the speaker filter.
#include "ZelmorMarkdownKit/answer/SpeakerFilter.h"

#include <nlohmann/json.hpp>

namespace zelmor {

void to_json(nlohmann::json& json, const SpeakerFilter& filter) {
    json = nlohmann::json{{"userName", filter.userName}, {"minTurns", filter.minTurns}};
}

void from_json(const nlohmann::json& json, SpeakerFilter& filter) {
    auto userName = json.find("userName");
    filter.userName =
        userName == json.end() || userName->is_null() ? std::string() : userName->get<std::string>();
    auto minTurns = json.find("minTurns");
    filter.minTurns = minTurns == json.end() || minTurns->is_null() ? SpeakerFilter::defaultMinTurns
                                                                    : minTurns->get<long long>();
}

} // namespace zelmor
