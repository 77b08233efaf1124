// Each document is tokenized once per field, on all cores, into the positions of the question's
// stems; every keyword's evidence is counted over those, so the cost is one pass over the
// folder's words plus a count per keyword.
#include "ZelmorMarkdownKit/answer/AnswerRanking.h"

#include "ZelmorMarkdownKit/answer/Participation.h"
#include "ZelmorMarkdownKit/answer/SpeakerIdentity.h"
#include "ZelmorMarkdownKit/search/QueryTokenizer.h"
#include "ZelmorMarkdownKit/text/ICUText.h"
#include "ZelmorMarkdownKit/text/Workers.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <functional>
#include <map>
#include <mutex>
#include <set>

namespace zelmor::RankedTranscriptSearch {

namespace {

using Tokens = std::vector<std::string>;
/// Words as the position of their stem among the question's stems, -1 for any other stem: a
/// keyword's stems stand in a field exactly where their positions do.
using StemIDs = std::vector<int>;

constexpr size_t snippetContext = 90;
constexpr size_t maximumSnippets = 3;

/// The four body texts searched beside the turns, in their fixed order.
std::vector<const std::string*> bodyTexts(const TranscriptDocument& document) {
    return {&document.notes, &document.summary, &document.actionItems, &document.keyMoments};
}

/// The distinct stems of the question's keywords, and each keyword as their positions.
struct KeywordStems {
    std::map<std::string, int, std::less<>> ids;
    std::vector<StemIDs> keywords;

    explicit KeywordStems(const std::vector<Tokens>& stemsOfKeywords) {
        for (const auto& stems : stemsOfKeywords) {
            StemIDs keyword;
            for (const auto& stem : stems)
                keyword.push_back(ids.emplace(stem, static_cast<int>(ids.size())).first->second);
            keywords.push_back(std::move(keyword));
        }
    }

    QueryTokenizer::WordCache cache() const {
        return QueryTokenizer::WordCache([this](const QueryTokenizer::Word& word) {
            auto found = ids.find(word.stem);
            return found == ids.end() ? -1 : found->second;
        });
    }
};

struct FieldTokens {
    StemIDs title;
    std::vector<StemIDs> participants;
    std::vector<StemIDs> turns;
    std::vector<StemIDs> bodies;

    FieldTokens(const TranscriptDocument& document, QueryTokenizer::WordCache& cache)
        : title(cache.tags(document.title)) {
        for (const auto& name : document.participants) participants.push_back(cache.tags(name));
        for (const auto& turn : document.turns) turns.push_back(cache.tags(turn.text));
        for (const std::string* body : bodyTexts(document)) bodies.push_back(cache.tags(*body));
    }
};

/// How often the keyword stands in the field, overlaps included.
size_t count(const StemIDs& keyword, const StemIDs& field) {
    if (keyword.empty() || keyword.size() > field.size()) return 0;
    size_t found = 0;
    for (auto at = field.begin(); at + static_cast<std::ptrdiff_t>(keyword.size()) <= field.end(); ++at)
        found += std::equal(keyword.begin(), keyword.end(), at);
    return found;
}

struct TermEvidence {
    double tf = 0;
    std::vector<size_t> turnIndexes;
    std::vector<size_t> bodyIndexes;
    bool titleHit = false;
    bool participantHit = false;
};

TermEvidence evidenceOf(const StemIDs& stems, const FieldTokens& fields) {
    TermEvidence found;
    for (size_t i = 0; i < fields.turns.size(); ++i) {
        if (size_t c = count(stems, fields.turns[i])) {
            found.turnIndexes.push_back(i);
            found.tf += static_cast<double>(c);
        }
    }
    for (size_t j = 0; j < fields.bodies.size(); ++j) {
        if (size_t c = count(stems, fields.bodies[j])) {
            found.bodyIndexes.push_back(j);
            found.tf += static_cast<double>(c);
        }
    }
    size_t inTitle = count(stems, fields.title);
    size_t inParticipants = 0;
    for (const auto& name : fields.participants) inParticipants += count(stems, name);
    found.titleHit = inTitle > 0;
    found.participantHit = inParticipants > 0;
    found.tf += titleTermWeight * static_cast<double>(inTitle) +
                participantTermWeight * static_cast<double>(inParticipants);
    return found;
}

/// One snippet per matched keyword (at most three): its first turn not yet used, else its first
/// body text, cut around the keyword's first place.
DocumentMatch matchOf(const TranscriptDocument& document, const std::vector<const Tokens*>& stems,
                      const std::vector<const TermEvidence*>& evidence) {
    DocumentMatch result;
    std::set<size_t> touchedTurns;
    bool titleHit = false;
    bool participantHit = false;
    for (const TermEvidence* found : evidence) {
        touchedTurns.insert(found->turnIndexes.begin(), found->turnIndexes.end());
        titleHit = titleHit || found->titleHit;
        participantHit = participantHit || found->participantHit;
    }
    result.matchingTurns = static_cast<long long>(touchedTurns.size());
    result.score = result.matchingTurns + (titleHit ? 3 : 0) + (participantHit ? 2 : 0);

    auto cut = [&](const std::string& text, const Tokens& keyword) {
        if (auto range = QueryTokenizer::firstRange(keyword, text))
            return excerpt(text, *range, snippetContext);
        return std::string(ICUText::prefixCharacters(text, 2 * snippetContext));
    };
    std::set<size_t> usedTurns;
    const auto bodies = bodyTexts(document);
    for (size_t k = 0; k < evidence.size() && result.snippets.size() < maximumSnippets; ++k) {
        auto turn = std::find_if(evidence[k]->turnIndexes.begin(), evidence[k]->turnIndexes.end(),
                                 [&](size_t index) { return !usedTurns.count(index); });
        if (turn != evidence[k]->turnIndexes.end()) {
            usedTurns.insert(*turn);
            const auto& spoken = document.turns[*turn];
            result.snippets.push_back("**" + spoken.speaker + ":** " + cut(spoken.text, *stems[k]));
        } else if (!evidence[k]->bodyIndexes.empty()) {
            result.snippets.push_back(cut(*bodies[evidence[k]->bodyIndexes.front()], *stems[k]));
        }
    }
    return result;
}

} // namespace

std::vector<std::string> splitStems(std::string_view keyword) {
    std::vector<std::string> stems;
    size_t start = 0;
    while (start <= keyword.size()) {
        size_t space = std::min(keyword.find(' ', start), keyword.size());
        if (space > start) stems.emplace_back(keyword.substr(start, space - start));
        start = space + 1;
    }
    return stems;
}

std::optional<std::chrono::system_clock::time_point> utcMidnight(std::string_view day) {
    auto digits = [&](size_t from, size_t count) -> std::optional<int> {
        int value = 0;
        for (size_t i = from; i < from + count; ++i) {
            if (day[i] < '0' || day[i] > '9') return std::nullopt;
            value = value * 10 + (day[i] - '0');
        }
        return value;
    };
    if (day.size() != 10 || day[4] != '-' || day[7] != '-') return std::nullopt;
    auto year = digits(0, 4), month = digits(5, 2), date = digits(8, 2);
    if (!year || !month || !date) return std::nullopt;
    std::chrono::year_month_day civil{std::chrono::year(*year),
                                      std::chrono::month(static_cast<unsigned>(*month)),
                                      std::chrono::day(static_cast<unsigned>(*date))};
    if (!civil.ok()) return std::nullopt;
    return std::chrono::sys_days(civil);
}

double recencyFactor(std::string_view date, std::chrono::system_clock::time_point now,
                     std::optional<double> halfLifeDays) {
    if (!halfLifeDays || !(*halfLifeDays > 0)) return 1;
    auto midnight = utcMidnight(date);
    if (!midnight) return 1;
    double age = std::chrono::duration<double>(now - *midnight).count() / 86400;
    if (age < 0) return 1;
    return std::exp2(-age / *halfLifeDays);
}

std::vector<detail::RankedIndex> detail::answerRank(const std::vector<const TranscriptDocument*>& documents,
                                                    std::string_view question,
                                                    const AnswerRankOptions& options) {
    std::vector<Tokens> keywords;
    for (const auto& keyword : QueryTokenizer::keywords(question)) keywords.push_back(splitStems(keyword));
    if (keywords.empty()) return {};

    // evidence[d][q]: keyword q in document d. Each thread fills only its own documents' slots
    // and reads with its own word cache.
    const KeywordStems stems(keywords);
    std::vector<std::vector<TermEvidence>> evidence(documents.size());
    const unsigned workers = Workers::count(0, documents.size());
    std::vector<QueryTokenizer::WordCache> caches(workers, stems.cache());
    std::exception_ptr failure;
    std::mutex failureLock;
    Workers::forEachIndex(documents.size(), workers, [&](size_t d, unsigned worker) {
        try {
            FieldTokens fields(*documents[d], caches[worker]);
            for (const auto& keyword : stems.keywords) evidence[d].push_back(evidenceOf(keyword, fields));
        } catch (...) {
            std::lock_guard<std::mutex> hold(failureLock);
            if (!failure) failure = std::current_exception();
        }
    });
    if (failure) std::rethrow_exception(failure);

    const double n = static_cast<double>(documents.size());
    std::vector<double> weights;
    double total = 0, unmatched = 0;
    for (size_t q = 0; q < keywords.size(); ++q) {
        size_t df = std::count_if(evidence.begin(), evidence.end(),
                                  [&](const auto& perKeyword) { return perKeyword[q].tf > 0; });
        double weight = options.useIDF ? std::log((n + 1) / (static_cast<double>(df) + 1)) + 1 : 1;
        weights.push_back(weight);
        total += weight;
        if (df == 0) unmatched += weight;
    }
    if (options.useIDF && keywords.size() >= 2 && options.unmatchedMassLimit < 1 && total > 0 &&
        unmatched / total > options.unmatchedMassLimit)
        return {};

    const double k = std::max(options.tfSaturationK, 0.0);
    std::vector<RankedIndex> ranked;
    for (size_t d = 0; d < documents.size(); ++d) {
        const TranscriptDocument& document = *documents[d];
        std::vector<const Tokens*> matchedStems;
        std::vector<const TermEvidence*> matchedEvidence;
        double relevance = 0;
        for (size_t q = 0; q < keywords.size(); ++q) {
            double tf = evidence[d][q].tf;
            if (tf <= 0) continue;
            matchedStems.push_back(&keywords[q]);
            matchedEvidence.push_back(&evidence[d][q]);
            relevance += weights[q] * ((k + 1) * tf / (k + tf));
        }
        if (matchedEvidence.empty()) continue;
        relevance *= recencyFactor(document.date, options.now, options.recencyHalfLifeDays);
        if (const auto& boost = options.participation) {
            auto identity = SpeakerIdentity::fromAliases(boost->userAliases);
            if (Participation::spoke(document, identity, boost->minTurns)) relevance *= 1 + boost->boost;
        }
        ranked.push_back({d, static_cast<long long>(matchedEvidence.size()),
                          matchOf(document, matchedStems, matchedEvidence), relevance});
    }
    std::stable_sort(ranked.begin(), ranked.end(), [&](const RankedIndex& a, const RankedIndex& b) {
        if (a.relevance != b.relevance) return a.relevance > b.relevance;
        return documents[a.index]->date > documents[b.index]->date;
    });
    return ranked;
}

ScopedAnswerResult answerRank(const std::vector<std::pair<std::string, TranscriptDocument>>& items,
                              std::string_view question, const AnswerScope& scope,
                              const AnswerRankOptions& options) {
    auto admitted = scope.apply(items);
    ScopedAnswerResult result;
    result.scannedCount = static_cast<long long>(admitted.size());
    result.hits = answerRank(admitted, question, options);
    return result;
}

} // namespace zelmor::RankedTranscriptSearch
