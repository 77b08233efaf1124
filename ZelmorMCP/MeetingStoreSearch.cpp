// search_meetings over a fresh scan: the scope test for dates and participant, the keyword match
// for the query, newest-first or score order, and one clamped page. The scope needs only the
// frontmatter, a cheap test on the raw file rules out most meetings before any body is parsed,
// and snippets are made only for the page returned.
#include "ZelmorMCP/MeetingStore.h"

#include "ZelmorMarkdownKit/answer/AnswerScope.h"
#include "ZelmorMarkdownKit/format/MarkdownTranscriptParser.h"
#include "ZelmorMarkdownKit/search/RankedTranscriptSearch.h"
#include "ZelmorMarkdownKit/text/ASCII.h"
#include "ZelmorMarkdownKit/text/FileLimits.h"
#include "ZelmorMarkdownKit/text/FoldedNeedle.h"
#include "ZelmorMarkdownKit/text/TextFolding.h"
#include "ZelmorMarkdownKit/text/UTF8.h"
#include "platform/FileSystem.h"

#include <algorithm>
#include <numeric>

namespace zelmor {

namespace {

/// What the raw text of a file must hold for a term to be found in its body.
///
/// The parser turns the body into turns and sections by cutting it at line breaks, trimming,
/// dropping "\r" before "\n" and whole comment lines, and joining paragraphs with "\n\n". So every
/// line of a parsed text is a piece of one line of the file, and folding works code point by
/// code point: wherever a term occurs in parsed text, each of its folded pieces between line
/// breaks occurs in the folded file. The title and participants are unquoted by the parser, so
/// those are tested on the parsed header instead.
class TermPrefilter {
public:
    explicit TermPrefilter(const FoldedNeedle& term) : term(&term) {
        const std::string& folded = term.folded();
        size_t start = 0;
        while (start <= folded.size()) {
            size_t end = folded.find('\n', start);
            if (end == std::string::npos) end = folded.size();
            if (end > start) pieces.emplace_back(folded.substr(start, end - start));
            start = end + 1;
        }
    }

    /// False only when the document cannot hold the term.
    bool mayHold(const TranscriptDocument& header, std::string_view text) const {
        if (term->occursIn(header.title)) return true;
        for (const auto& participant : header.participants)
            if (term->occursIn(participant)) return true;
        return piecesOccurIn(text);
    }

    /// Whether every piece occurs in the text.
    bool piecesOccurIn(std::string_view text) const {
        return std::all_of(pieces.begin(), pieces.end(),
                           [&](const FoldedNeedle& piece) { return piece.occursIn(text); });
    }

    /// Whether `piecesOccurIn` holds for the bytes of every file whose document holds the term,
    /// its title and participants included: they are unquoted only by dropping a "\" before a
    /// '"', so a term without '"' found in them is found in the line they come from.
    bool rawBytesMustHold() const { return term->folded().find('"') == std::string::npos; }

private:
    const FoldedNeedle* term;
    std::vector<FoldedNeedle> pieces;
};

/// The match of a hit with its snippets, from the file read again: the scan kept no bodies. A
/// file changed since the scan gives what it gives now, and nothing when it no longer matches.
std::optional<RankedTranscriptSearch::DocumentMatch> matchAgain(const std::string& path,
                                                                const std::vector<std::string>& terms) {
    auto doc = MeetingStore::readAgain(path);
    return doc ? RankedTranscriptSearch::match(*doc, terms) : std::nullopt;
}

} // namespace

bool MeetingStore::SearchFilters::ordersByRelevance() const {
    return sort && ASCII::lowercased(*sort) == "relevance";
}

std::optional<std::string> MeetingStore::readTextAgain(const std::string& path) {
    auto text = platform::readFile(path, FileLimits::transcriptBytes);
    if (!text || !UTF8::isValid(*text)) return std::nullopt;
    return text;
}

std::optional<TranscriptDocument> MeetingStore::readAgain(const std::string& path) {
    auto text = readTextAgain(path);
    return text ? MarkdownTranscriptParser::parse(*text) : std::nullopt;
}

std::vector<const MeetingStore::Meeting*> MeetingStore::admitted(const std::vector<Meeting>& meetings,
                                                                 const AnswerScope& scope) {
    std::vector<const Meeting*> kept;
    for (const auto& meeting : meetings) {
        if (scope.lastN && static_cast<long long>(kept.size()) >= *scope.lastN) break;
        if (scope.admits(meeting.path, meeting.doc)) kept.push_back(&meeting);
    }
    return kept;
}

MeetingStore::SearchResult MeetingStore::search(const SearchFilters& filters) const {
    const auto terms = RankedTranscriptSearch::terms(filters.query);
    const long long appliedOffset = std::max(filters.offset, 0LL);
    // Such a query can match nothing, so the folder is not even looked at.
    if (filters.query && !filters.query->empty() && terms.empty()) return {0, appliedOffset, {}};

    AnswerScope scope;
    scope.dateFrom = filters.dateFrom;
    scope.dateTo = filters.dateTo;
    // The scope's participant test, with the name folded once here rather than once for every
    // participant of every meeting: it is as long as the agent made it.
    std::optional<FoldedNeedle> participant;
    bool nobodyMatches = false;
    if (filters.participant && !filters.participant->empty()) {
        std::string folded = TextFolding::folded(*filters.participant);
        if (folded.empty())
            nobodyMatches = true; // as the scope: a name that folds to nothing is in no one's
        else
            participant.emplace(std::move(folded));
    }
    auto admitsParticipant = [&](const TranscriptDocument& header) {
        if (nobodyMatches) return false;
        return !participant ||
               std::any_of(header.participants.begin(), header.participants.end(),
                           [&](const std::string& name) { return participant->occursIn(name); });
    };

    const auto needles = RankedTranscriptSearch::needles(terms);
    std::vector<TermPrefilter> prefilters;
    if (needles)
        for (const auto& needle : *needles) prefilters.emplace_back(needle);

    // Without dates or a participant, a file that cannot hold a term is left before its bytes
    // are checked as UTF-8, which spares that check for all but the few files a rare word is in.
    // With them, the frontmatter rules most files out for less than searching their bytes. A
    // term tested on the raw bytes is not tested again on the same bytes in the visit.
    const bool scopeFromFrontmatter = scope.dateFrom || scope.dateTo || participant || nobodyMatches;
    std::vector<const TermPrefilter*> onRawBytes, onHeader;
    for (const auto& prefilter : prefilters)
        (!scopeFromFrontmatter && prefilter.rawBytesMustHold() ? onRawBytes : onHeader).push_back(&prefilter);

    const bool byScore = filters.ordersByRelevance();
    struct Scored {
        SearchHit hit;
        long long score;
    };
    // Runs on the scan's threads: it reads the shared scope, needles and prefilters and writes
    // only its own file's result.
    auto visit = [&](FileVisit& file) -> std::optional<Scored> {
        if (!scope.admits(file.path, file.header) || !admitsParticipant(file.header)) return std::nullopt;
        if (terms.empty()) return Scored{SearchHit{Meeting{file.path, std::move(file.header)}, 0, {}}, 0};
        if (!needles) return std::nullopt;
        for (const TermPrefilter* prefilter : onHeader)
            if (!prefilter->mayHold(file.header, file.text)) return std::nullopt;

        // The turns are scored as they are read, never copied out of the text. Newest first, the
        // order asks only whether a meeting is a hit, so its turns are read until they hold every
        // term; a row on the page counts its turns when its snippets are made.
        RankedTranscriptSearch::TurnScorer scorer(*needles);
        MarkdownTranscriptParser::parseBody(file.text, file.header,
                                            [&](const MarkdownTranscriptParser::TurnText& turn) {
                                                scorer.addTurn(turn.paragraphs);
                                                return byScore || !scorer.foundEveryTerm();
                                            });
        auto match = scorer.finish(file.header);
        if (!match) return std::nullopt;
        // A hit shows its frontmatter only; the sections would add up to much of the corpus.
        // Swapping with empties frees the buffers; clearing or assigning would keep them.
        TranscriptDocument& doc = file.header;
        for (std::string* body :
             {&doc.notes, &doc.summary, &doc.meetingNotes, &doc.actionItems, &doc.keyMoments})
            std::string().swap(*body);
        return Scored{SearchHit{Meeting{file.path, std::move(doc)}, match->matchingTurns, {}}, match->score};
    };
    RawTest mayYield;
    if (!onRawBytes.empty())
        mayYield = [&](std::string_view raw) {
            return std::all_of(onRawBytes.begin(), onRawBytes.end(),
                               [&](const TermPrefilter* prefilter) { return prefilter->piecesOccurIn(raw); });
        };
    std::vector<Scored> found = collect(visit, mayYield);
    // Hits are sorted by place, not moved about: each holds a whole frontmatter.
    std::vector<size_t> order(found.size());
    std::iota(order.begin(), order.end(), size_t{0});
    if (byScore)
        std::stable_sort(order.begin(), order.end(),
                         [&](size_t a, size_t b) { return found[a].score > found[b].score; });

    const long long total = static_cast<long long>(found.size());
    const long long pageSize = std::clamp(filters.limit, 1LL, 100LL);
    const long long first = std::min(appliedOffset, total);
    const long long last = std::min(total, first + pageSize);
    SearchResult result{total, appliedOffset, {}};
    for (long long at = first; at < last; ++at) {
        SearchHit& hit = found[order[static_cast<size_t>(at)]].hit;
        if (auto match = terms.empty() ? std::nullopt : matchAgain(hit.meeting.path, terms)) {
            hit.snippets = std::move(match->snippets);
            if (!byScore) hit.matchCount = match->matchingTurns;
        }
        result.hits.push_back(std::move(hit));
    }
    return result;
}

} // namespace zelmor
