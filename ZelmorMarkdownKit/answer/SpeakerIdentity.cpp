// Building the user's aliases and comparing speaker labels with them.
#include "ZelmorMarkdownKit/answer/SpeakerIdentity.h"

#include "ZelmorMarkdownKit/text/TextFolding.h"
#include "ZelmorMarkdownKit/text/Whitespace.h"

namespace zelmor {

const std::vector<std::string>& SpeakerIdentity::selfLabels() {
    static const std::vector<std::string> labels{"Me", "You"};
    return labels;
}

SpeakerIdentity SpeakerIdentity::fromUserName(std::string_view userName) {
    SpeakerIdentity identity{selfLabels()};
    std::string_view name = Whitespace::trim(userName);
    if (name.empty()) return identity;
    identity.aliases.emplace_back(name);
    std::string_view first;
    Whitespace::forEachWord(name, [&](std::string_view word) {
        if (first.empty()) first = word;
    });
    if (first != name) identity.aliases.emplace_back(first);
    return identity;
}

SpeakerIdentity SpeakerIdentity::fromAliases(std::vector<std::string> aliases) {
    return SpeakerIdentity{std::move(aliases)};
}

bool SpeakerIdentity::matches(std::string_view label) const {
    std::string folded = TextFolding::folded(Whitespace::trim(label));
    if (folded.empty()) return false;
    for (const auto& alias : aliases) {
        if (TextFolding::folded(Whitespace::trim(alias)) == folded) return true;
    }
    return false;
}

} // namespace zelmor
