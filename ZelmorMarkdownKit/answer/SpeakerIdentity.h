// The speaker labels that mean "the user": the generic self labels and the user's own name.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zelmor {

struct SpeakerIdentity {
    /// Labels that always mean the user.
    static const std::vector<std::string>& selfLabels();

    std::vector<std::string> aliases;

    /// "Me", "You", then the trimmed name and its first word when that differs ("Dana Ruiz",
    /// "Dana"); a blank name adds nothing.
    static SpeakerIdentity fromUserName(std::string_view userName);
    /// Exactly these aliases.
    static SpeakerIdentity fromAliases(std::vector<std::string> aliases);

    /// Whether the label, trimmed and folded for case and diacritics, equals an alias folded
    /// alike; a blank label matches nothing.
    bool matches(std::string_view label) const;

    bool operator==(const SpeakerIdentity&) const = default;
};

} // namespace zelmor
