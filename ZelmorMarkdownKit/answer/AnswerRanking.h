// Ranking meetings for a natural-language question: every content keyword may or may not occur,
// weighted by how rare it is, saturated in frequency, decayed by age and boosted where the user
// spoke. Part of the keyword search namespace, beside the plain AND match.
#pragma once

#include "ZelmorMarkdownKit/answer/AnswerScope.h"
#include "ZelmorMarkdownKit/search/RankedTranscriptSearch.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zelmor::RankedTranscriptSearch {

/// Relevance is multiplied by 1 + `boost` in meetings where the user spoke substantively.
struct ParticipationBoost {
    /// The speaker labels that mean the user.
    std::vector<std::string> userAliases;
    double boost = 0;
    /// Least number of substantive user turns; below 1 counts as 1.
    long long minTurns = 2;
};

struct AnswerRankOptions {
    /// Off: every keyword weighs 1 and the unmatched-mass refusal is off.
    bool useIDF = true;
    /// Saturation constant K of the frequency term; below 0 counts as 0.
    double tfSaturationK = 1.2;
    /// Absent or not above 0: no decay with age.
    std::optional<double> recencyHalfLifeDays;
    std::optional<ParticipationBoost> participation;
    /// The largest share of keyword weight that may fall on keywords no meeting holds; 1 or more
    /// switches the refusal off.
    double unmatchedMassLimit = 1.0;
    std::chrono::system_clock::time_point now;
};

template <typename ID> struct AnswerHit {
    ID id;
    TranscriptDocument document;
    /// How many of the question's keywords occur in the meeting.
    long long matchedKeywords = 0;
    DocumentMatch match;
    double relevance = 0;
};

struct ScopedAnswerResult {
    std::vector<AnswerHit<std::string>> hits;
    /// Meetings left after the scope was applied.
    long long scannedCount = 0;
};

/// The stems of a keyword from `QueryTokenizer::keywords` (a quoted term holds several, joined by
/// single spaces).
std::vector<std::string> splitStems(std::string_view keyword);

/// Midnight UTC of a "yyyy-MM-dd" day; nothing when the text is not such a day.
std::optional<std::chrono::system_clock::time_point> utcMidnight(std::string_view day);

/// 2^(-age/halfLife) with the age in days since the day's UTC midnight; 1 without a positive
/// half-life, for a day that does not parse, and for a day in the future.
double recencyFactor(std::string_view date, std::chrono::system_clock::time_point now,
                     std::optional<double> halfLifeDays);

namespace detail {
struct RankedIndex {
    size_t index;
    long long matchedKeywords;
    DocumentMatch match;
    double relevance;
};
/// The ranking over documents by position, best first.
std::vector<RankedIndex> answerRank(const std::vector<const TranscriptDocument*>& documents,
                                    std::string_view question, const AnswerRankOptions& options);
} // namespace detail

/// The meetings holding any of the question's keywords, best first; none when most of the
/// question's weight lies on keywords no meeting holds.
template <typename ID>
std::vector<AnswerHit<ID>> answerRank(const std::vector<std::pair<ID, TranscriptDocument>>& items,
                                      std::string_view question, const AnswerRankOptions& options) {
    std::vector<const TranscriptDocument*> documents;
    documents.reserve(items.size());
    for (const auto& item : items) documents.push_back(&item.second);
    std::vector<AnswerHit<ID>> hits;
    for (auto& ranked : detail::answerRank(documents, question, options)) {
        const auto& [id, document] = items[ranked.index];
        hits.push_back(
            AnswerHit<ID>{id, document, ranked.matchedKeywords, std::move(ranked.match), ranked.relevance});
    }
    return hits;
}

/// The scope first (items newest first, so `lastN` keeps the latest), then the ranking.
ScopedAnswerResult answerRank(const std::vector<std::pair<std::string, TranscriptDocument>>& items,
                              std::string_view question, const AnswerScope& scope,
                              const AnswerRankOptions& options);

} // namespace zelmor::RankedTranscriptSearch
