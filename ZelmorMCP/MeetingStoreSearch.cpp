// search_meetings over a fresh scan: the scope test for dates and participant, the keyword match
// for the query, newest-first or score order, and one clamped page.
#include "ZelmorMCP/MeetingStore.h"

#include "ZelmorMarkdownKit/AnswerScope.h"
#include "ZelmorMarkdownKit/RankedTranscriptSearch.h"

#include <algorithm>

namespace zelmor {

namespace {

bool asksForRelevance(const std::optional<std::string>& sort) {
    if (!sort) return false;
    std::string lowered = *sort;
    for (char& c : lowered) c = (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
    return lowered == "relevance";
}

} // namespace

MeetingStore::SearchResult MeetingStore::search(const SearchFilters& filters) const {
    const auto terms = RankedTranscriptSearch::terms(filters.query);
    const long long appliedOffset = std::max(filters.offset, 0LL);
    // Such a query can match nothing, so the folder is not even looked at.
    if (filters.query && !filters.query->empty() && terms.empty()) return {0, appliedOffset, {}};

    AnswerScope scope;
    scope.dateFrom = filters.dateFrom;
    scope.dateTo = filters.dateTo;
    scope.participant = filters.participant;

    struct Scored {
        SearchHit hit;
        long long score;
    };
    std::vector<Scored> found;
    for (Meeting& meeting : scan()) {
        if (!scope.admits(meeting.path, meeting.doc)) continue;
        if (terms.empty()) {
            found.push_back({SearchHit{std::move(meeting), 0, {}}, 0});
            continue;
        }
        auto match = RankedTranscriptSearch::match(meeting.doc, terms);
        if (!match) continue;
        found.push_back({SearchHit{std::move(meeting), match->matchingTurns, std::move(match->snippets)}, match->score});
    }
    if (asksForRelevance(filters.sort))
        std::stable_sort(found.begin(), found.end(), [](const Scored& a, const Scored& b) { return a.score > b.score; });

    const long long total = static_cast<long long>(found.size());
    const long long pageSize = std::clamp(filters.limit, 1LL, 100LL);
    const long long first = std::min(appliedOffset, total);
    const long long last = std::min(total, first + pageSize);
    SearchResult result{total, appliedOffset, {}};
    for (long long at = first; at < last; ++at) result.hits.push_back(std::move(found[static_cast<size_t>(at)].hit));
    return result;
}

} // namespace zelmor
