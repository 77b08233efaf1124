// Matching folds every searched text of a meeting once into one buffer, so each term is looked
// for in one pass: a missing term rejects the meeting before any turn is looked at, and every
// hit tells which text it fell in. A byte that folded text never holds keeps texts apart.
#include "ZelmorMarkdownKit/search/RankedTranscriptSearch.h"

#include "ZelmorMarkdownKit/search/QueryTokenizer.h"
#include "ZelmorMarkdownKit/text/ICUText.h"
#include "ZelmorMarkdownKit/text/TextFolding.h"
#include "ZelmorMarkdownKit/text/UTF8.h"
#include "ZelmorMarkdownKit/text/Whitespace.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <set>

namespace zelmor::RankedTranscriptSearch {

namespace {

/// Never part of valid UTF-8, and folded text (terms included) is always valid UTF-8.
constexpr char separator = '\xFF';
constexpr size_t snippetContext = 90;
constexpr size_t maxSnippets = 3;

/// The searched texts of a document, folded into one buffer in a fixed order: turns, the four
/// document texts, the title, the participants.
class FoldedDocument {
public:
    explicit FoldedDocument(const TranscriptDocument& document) : document_(document) {
        for (const auto& turn : document.turns) add(turn.text);
        for (std::string_view field : fields()) add(field);
        add(document.title);
        for (const auto& participant : document.participants) add(participant);
        starts_.push_back(buffer_.size());
    }

    /// For each text that holds the folded term, in order: the text's index and where the term
    /// first stands in its folded form.
    std::vector<std::pair<size_t, size_t>> occurrences(std::string_view term) const {
        std::vector<std::pair<size_t, size_t>> found;
        size_t from = 0;
        while (true) {
            size_t at = find(term, from);
            if (at == std::string_view::npos) break;
            size_t index =
                static_cast<size_t>(std::upper_bound(starts_.begin(), starts_.end(), at) - starts_.begin()) -
                1;
            found.emplace_back(index, at - starts_[index]);
            from = starts_[index + 1];
        }
        return found;
    }

    bool holds(std::string_view term) const { return find(term, 0) != std::string_view::npos; }

    size_t turnCount() const { return document_.turns.size(); }
    size_t firstField() const { return turnCount(); }
    size_t titleIndex() const { return turnCount() + 4; }
    bool isTurn(size_t index) const { return index < turnCount(); }
    bool isField(size_t index) const { return index >= firstField() && index < titleIndex(); }
    bool isParticipant(size_t index) const { return index > titleIndex(); }

    std::string_view text(size_t index) const {
        if (isTurn(index)) return document_.turns[index].text;
        if (isField(index)) return fields()[index - firstField()];
        if (index == titleIndex()) return document_.title;
        return document_.participants[index - titleIndex() - 1];
    }

private:
    std::array<std::string_view, 4> fields() const {
        return {document_.notes, document_.summary, document_.actionItems, document_.keyMoments};
    }

    /// memmem (glibc, macOS) outruns string_view::find on terms whose first letter is common.
    size_t find(std::string_view term, size_t from) const {
        if (from >= buffer_.size()) return std::string_view::npos;
        const void* found = ::memmem(buffer_.data() + from, buffer_.size() - from, term.data(), term.size());
        return found ? static_cast<size_t>(static_cast<const char*>(found) - buffer_.data())
                     : std::string_view::npos;
    }

    void add(std::string_view text) {
        starts_.push_back(buffer_.size());
        TextFolding::appendFolded(text, buffer_);
        buffer_ += separator;
    }

    const TranscriptDocument& document_;
    std::string buffer_;
    std::vector<size_t> starts_;
};

/// The original range behind a folded position of a text; ASCII folds byte for byte.
TextRange originalRange(std::string_view text, size_t foldedStart, size_t foldedLength) {
    if (UTF8::isASCII(text)) return {foldedStart, foldedStart + foldedLength};
    return TextFolding::foldedWithSources(text).originalRange(foldedStart, foldedStart + foldedLength);
}

} // namespace

std::vector<std::string> terms(std::optional<std::string_view> query) {
    std::vector<std::string> found;
    if (!query || query->empty()) return found;
    std::string_view text = *query;
    std::string current;
    bool inQuotes = false;
    size_t at = 0;
    while (at < text.size()) {
        size_t start = at;
        char32_t c = UTF8::decode(text, at);
        if (c == U'"' || c == U'\u201C' || c == U'\u201D' || c == U'\u201E') {
            if (inQuotes && !current.empty()) found.push_back(std::exchange(current, {}));
            inQuotes = !inQuotes;
        } else if (!inQuotes && Whitespace::isWhitespaceOrNewline(c)) {
            if (!current.empty()) found.push_back(std::exchange(current, {}));
        } else {
            current.append(text.substr(start, at - start));
        }
    }
    if (!current.empty()) found.push_back(std::move(current));
    return found;
}

bool termMatches(std::string_view term, std::string_view text) {
    return TextFolding::contains(text, term);
}

std::optional<DocumentMatch> match(const TranscriptDocument& document,
                                   const std::vector<std::string>& terms) {
    if (terms.empty()) return std::nullopt;
    // A query may repeat a word thousands of times: each distinct folded term is searched once,
    // and `distinct[t]` says which one term t is. Only the snippets see the repeats.
    std::vector<std::string> foldedTerms;
    std::vector<size_t> distinct;
    std::map<std::string, size_t, std::less<>> seen;
    for (const auto& term : terms) {
        std::string foldedTerm = TextFolding::folded(term);
        if (foldedTerm.empty()) return std::nullopt;
        auto [at, added] = seen.emplace(std::move(foldedTerm), foldedTerms.size());
        if (added) foldedTerms.push_back(at->first);
        distinct.push_back(at->second);
    }
    FoldedDocument folded(document);
    for (const auto& term : foldedTerms) {
        if (!folded.holds(term)) return std::nullopt;
    }

    std::vector<std::vector<std::pair<size_t, size_t>>> places;
    std::vector<bool> turnMatches(folded.turnCount(), false);
    bool inTitle = false, inParticipant = false;
    for (const auto& term : foldedTerms) {
        places.push_back(folded.occurrences(term));
        for (const auto& [index, offset] : places.back()) {
            if (folded.isTurn(index)) turnMatches[index] = true;
            inTitle = inTitle || index == folded.titleIndex();
            inParticipant = inParticipant || folded.isParticipant(index);
        }
    }

    DocumentMatch result;
    result.matchingTurns = std::count(turnMatches.begin(), turnMatches.end(), true);
    result.score = result.matchingTurns + (inTitle ? 3 : 0) + (inParticipant ? 2 : 0);

    auto snippetAt = [&](size_t index, size_t offset, size_t term) {
        std::string_view text = folded.text(index);
        return excerpt(text, originalRange(text, offset, foldedTerms[term].size()), snippetContext);
    };
    std::vector<bool> usedTurns(folded.turnCount(), false);
    // Turns only get used, so a term that found no free turn never finds one later.
    std::vector<bool> placeless(foldedTerms.size(), false);
    std::vector<size_t> unplaced;
    for (size_t t = 0; t < terms.size() && result.snippets.size() < maxSnippets; ++t) {
        const auto& termPlaces = places[distinct[t]];
        auto turn = placeless[distinct[t]]
                        ? termPlaces.end()
                        : std::find_if(termPlaces.begin(), termPlaces.end(), [&](const auto& place) {
                              return folded.isTurn(place.first) && !usedTurns[place.first];
                          });
        if (turn == termPlaces.end()) {
            placeless[distinct[t]] = true;
            unplaced.push_back(distinct[t]);
            continue;
        }
        usedTurns[turn->first] = true;
        result.snippets.push_back("**" + document.turns[turn->first].speaker + ":** " +
                                  snippetAt(turn->first, turn->second, distinct[t]));
    }
    for (size_t term : unplaced) {
        if (result.snippets.size() >= maxSnippets) break;
        auto field = std::find_if(places[term].begin(), places[term].end(),
                                  [&](const auto& place) { return folded.isField(place.first); });
        if (field != places[term].end())
            result.snippets.push_back(snippetAt(field->first, field->second, term));
    }
    return result;
}

std::optional<std::vector<FoldedNeedle>> needles(const std::vector<std::string>& terms) {
    std::vector<FoldedNeedle> found;
    std::set<std::string, std::less<>> seen;
    for (const auto& term : terms) {
        std::string folded = TextFolding::folded(term);
        if (folded.empty()) return std::nullopt;
        if (seen.insert(folded).second) found.emplace_back(std::move(folded));
    }
    return found;
}

std::optional<DocumentMatch> matchWithoutSnippets(const TranscriptDocument& document,
                                                  const std::vector<FoldedNeedle>& needles) {
    TurnScorer scorer(needles);
    for (const auto& turn : document.turns) {
        std::string_view text = turn.text;
        scorer.addTurn({&text, 1});
    }
    return scorer.finish(document);
}

TurnScorer::TurnScorer(const std::vector<FoldedNeedle>& needles)
    : needles(needles), found(needles.size(), false) {
    for (const auto& needle : needles)
        spansParagraphs.push_back(needle.folded().find('\n') != std::string::npos);
}

void TurnScorer::addTurn(std::span<const std::string_view> paragraphs) {
    // A term with no line break in it lies within one paragraph of the joined text, since
    // folding goes code point by code point.
    bool any = false, isJoined = false;
    for (size_t t = 0; t < needles.size(); ++t) {
        if (any && found[t]) continue; // the turn counts already, and so does the term
        bool here = false;
        if (!spansParagraphs[t]) {
            for (std::string_view paragraph : paragraphs)
                if ((here = needles[t].occursIn(paragraph))) break;
        } else {
            if (!isJoined) {
                joined.clear();
                for (size_t k = 0; k < paragraphs.size(); ++k) {
                    if (k > 0) joined += "\n\n";
                    joined += paragraphs[k];
                }
                isJoined = true;
            }
            here = needles[t].occursIn(joined);
        }
        if (here) found[t] = any = true;
    }
    if (any) ++matchingTurns;
}

bool TurnScorer::anyIn(std::string_view text) {
    bool any = false;
    for (size_t t = 0; t < needles.size(); ++t) {
        if (needles[t].occursIn(text)) found[t] = any = true;
    }
    return any;
}

std::optional<DocumentMatch> TurnScorer::finish(const TranscriptDocument& document) {
    if (needles.empty()) return std::nullopt;
    // The texts `match` searches; each is searched on its own, so no term spans two of them.
    for (std::string_view field : std::array<std::string_view, 4>{document.notes, document.summary,
                                                                  document.actionItems, document.keyMoments})
        anyIn(field);
    bool inTitle = anyIn(document.title);
    bool inParticipant = false;
    for (const auto& participant : document.participants) inParticipant = anyIn(participant) || inParticipant;
    if (std::find(found.begin(), found.end(), false) != found.end()) return std::nullopt;
    DocumentMatch result;
    result.matchingTurns = matchingTurns;
    result.score = matchingTurns + (inTitle ? 3 : 0) + (inParticipant ? 2 : 0);
    return result;
}

std::string excerpt(std::string_view text, TextRange range, size_t context) {
    long reach = static_cast<long>(context);
    size_t start = ICUText::movedByCharacters(text, range.start, -reach);
    size_t end = ICUText::movedByCharacters(text, std::max(range.start, range.end), reach);
    std::string out;
    if (start > 0) out += "\u2026";
    out += Whitespace::trim(text.substr(start, end - start));
    if (end < text.size()) out += "\u2026";
    return out;
}

std::string excerpt(std::string_view text, std::string_view term, size_t context) {
    if (auto found = TextFolding::find(text, term)) return excerpt(text, *found, context);
    return std::string(ICUText::prefixCharacters(text, 2 * context));
}

std::vector<std::string> keywords(std::string_view question) {
    return QueryTokenizer::keywords(question);
}

} // namespace zelmor::RankedTranscriptSearch
