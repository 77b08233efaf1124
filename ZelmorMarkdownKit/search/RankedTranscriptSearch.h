// Plain keyword search over parsed transcripts: query terms, an all-terms match with a score of
// touched turns plus title and participant bonuses, and up to three snippets in context.
#pragma once

#include "ZelmorMarkdownKit/format/TranscriptDocument.h"
#include "ZelmorMarkdownKit/text/FoldedNeedle.h"
#include "ZelmorMarkdownKit/text/TextRange.h"

#include <algorithm>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zelmor::RankedTranscriptSearch {

struct DocumentMatch {
    /// `matchingTurns`, plus 3 when a term is in the title, plus 2 when one is in a participant.
    long long score = 0;
    /// Turns whose text holds at least one term.
    long long matchingTurns = 0;
    /// At most three, in the order they were made.
    std::vector<std::string> snippets;

    bool operator==(const DocumentMatch&) const = default;
};

template <typename ID> struct RankedHit {
    ID id;
    TranscriptDocument document;
    DocumentMatch match;

    bool operator==(const RankedHit&) const = default;
};

inline constexpr double titleTermWeight = 3.0;
inline constexpr double participantTermWeight = 2.0;

/// Words and double-quoted phrases (typographic quotes count as plain ones), as written.
/// Text glued to an opening quote joins the quoted phrase; an unclosed quote still ends a phrase.
std::vector<std::string> terms(std::optional<std::string_view> query);

/// Whether the text contains the term anywhere, ignoring case and diacritics together.
bool termMatches(std::string_view term, std::string_view text);

/// The match of a document that holds every term somewhere: in a turn's text, the notes,
/// summary, action items, key moments, title or a participant. The machine-written meeting notes
/// are not searched. Nothing when a term is missing or there are no terms.
std::optional<DocumentMatch> match(const TranscriptDocument& document, const std::vector<std::string>& terms);

/// The distinct terms folded, in the order they first appear, ready to match many documents
/// (a repeated term adds nothing to an all-terms match); nothing when a term folds to nothing (no
/// document can match it).
std::optional<std::vector<FoldedNeedle>> needles(const std::vector<std::string>& terms);

/// `match` without the snippets, at a fraction of its cost: whether the document holds every
/// term, its score and its matching turns, exactly as `match` gives them.
std::optional<DocumentMatch> matchWithoutSnippets(const TranscriptDocument& document,
                                                  const std::vector<FoldedNeedle>& needles);

/// `matchWithoutSnippets` taking the turns one at a time, so that nobody has to keep them.
class TurnScorer {
public:
    explicit TurnScorer(const std::vector<FoldedNeedle>& needles);

    /// The next turn, given as its paragraphs: joined by "\n\n" they are its text.
    void addTurn(std::span<const std::string_view> paragraphs);

    /// Whether the turns so far hold every term: the document is a hit, whatever else it holds.
    bool foundEveryTerm() const { return std::find(found.begin(), found.end(), false) == found.end(); }

    /// The match once every turn is in; `document` gives the other searched texts (its turns
    /// are not looked at).
    std::optional<DocumentMatch> finish(const TranscriptDocument& document);

private:
    bool anyIn(std::string_view text);

    const std::vector<FoldedNeedle>& needles;
    std::vector<bool> found;
    /// Per needle: it holds a line break, so it may span paragraphs and is sought in the joined text.
    std::vector<bool> spansParagraphs;
    long long matchingTurns = 0;
    std::string joined;
};

/// The text around the range, `context` characters each side, trimmed, with "…" on cut ends.
std::string excerpt(std::string_view text, TextRange range, size_t context);

/// The excerpt around the first occurrence of the term, or the first 2·context characters.
std::string excerpt(std::string_view text, std::string_view term, size_t context);

/// Same as QueryTokenizer::keywords.
std::vector<std::string> keywords(std::string_view question);

/// The items that match the query, best score first; equal scores keep the input order.
template <typename ID>
std::vector<RankedHit<ID>> rank(const std::vector<std::pair<ID, TranscriptDocument>>& items,
                                std::optional<std::string_view> query) {
    std::vector<std::string> queryTerms = terms(query);
    std::vector<RankedHit<ID>> hits;
    if (queryTerms.empty()) return hits;
    for (const auto& [id, document] : items) {
        if (auto found = match(document, queryTerms))
            hits.push_back(RankedHit<ID>{id, document, std::move(*found)});
    }
    std::stable_sort(hits.begin(), hits.end(), [](const RankedHit<ID>& a, const RankedHit<ID>& b) {
        return a.match.score > b.match.score;
    });
    return hits;
}

} // namespace zelmor::RankedTranscriptSearch
