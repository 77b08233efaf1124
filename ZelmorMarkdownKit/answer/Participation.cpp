// Counting the user's substantive, non-echo turns.
#include "ZelmorMarkdownKit/answer/Participation.h"

#include "ZelmorMarkdownKit/search/QueryTokenizer.h"
#include "ZelmorMarkdownKit/text/Whitespace.h"

#include <algorithm>
#include <set>

namespace zelmor::Participation {

bool isSubstantive(std::string_view text) {
    size_t words = 0;
    Whitespace::forEachWord(text, [&](std::string_view) { ++words; });
    return words >= minSubstantiveWords;
}

bool isEcho(std::string_view text, std::optional<std::string_view> previous) {
    if (!previous) return false;
    std::vector<std::string> mine = QueryTokenizer::tokens(text);
    std::vector<std::string> theirs = QueryTokenizer::tokens(*previous);
    if (mine.empty() || theirs.empty()) return false;
    if (mine == theirs) return true;
    std::set<std::string> mineSet(mine.begin(), mine.end()), theirSet(theirs.begin(), theirs.end());
    size_t shared = static_cast<size_t>(std::count_if(
        mineSet.begin(), mineSet.end(), [&](const std::string& token) { return theirSet.contains(token); }));
    return static_cast<double>(shared) / static_cast<double>(std::max(mineSet.size(), theirSet.size())) >=
           echoOverlap;
}

size_t substantiveTurnCount(const TranscriptDocument& document, const SpeakerIdentity& identity) {
    size_t count = 0;
    std::optional<std::string_view> previous;
    for (const auto& turn : document.turns) {
        if (!identity.matches(turn.speaker)) {
            previous = turn.text;
            continue;
        }
        if (isSubstantive(turn.text) && !isEcho(turn.text, previous)) ++count;
    }
    return count;
}

bool spoke(const TranscriptDocument& document, const SpeakerIdentity& identity, long long minTurns) {
    return static_cast<long long>(substantiveTurnCount(document, identity)) >= std::max(minTurns, 1LL);
}

} // namespace zelmor::Participation
