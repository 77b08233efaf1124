// search_meetings over a fresh scan: the scope test for dates and participant, the keyword match
// for the query, newest-first or score order, and one clamped page. The scope needs only the
// frontmatter, and a cheap test on the raw file rules out most meetings before any body is parsed.
#include "ZelmorMCP/MeetingStore.h"

#include "ZelmorMarkdownKit/AnswerScope.h"
#include "ZelmorMarkdownKit/MarkdownTranscriptParser.h"
#include "ZelmorMarkdownKit/RankedTranscriptSearch.h"
#include "ZelmorMarkdownKit/TextFolding.h"

#include <algorithm>
#include <functional>

namespace zelmor {

namespace {

bool asksForRelevance(const std::optional<std::string>& sort) {
    if (!sort) return false;
    std::string lowered = *sort;
    for (char& c : lowered) c = (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
    return lowered == "relevance";
}

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
    explicit TermPrefilter(const std::string& term) : term(term) {
        std::string folded = TextFolding::folded(term);
        size_t start = 0;
        while (start <= folded.size()) {
            size_t end = folded.find('\n', start);
            if (end == std::string::npos) end = folded.size();
            if (end > start) pieces.emplace_back(folded.substr(start, end - start));
            start = end + 1;
        }
        for (const auto& piece : pieces) searchers.emplace_back(piece.begin(), piece.end());
    }

    /// False only when the document cannot hold the term.
    bool mayHold(const TranscriptDocument& header, std::string_view foldedText) const {
        if (RankedTranscriptSearch::termMatches(term, header.title)) return true;
        for (const auto& participant : header.participants)
            if (RankedTranscriptSearch::termMatches(term, participant)) return true;
        for (const auto& searcher : searchers)
            if (std::search(foldedText.begin(), foldedText.end(), searcher) == foldedText.end()) return false;
        return true;
    }

private:
    std::string term;
    std::vector<std::string> pieces;
    std::vector<std::boyer_moore_horspool_searcher<std::string::const_iterator>> searchers;
};

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

    std::vector<TermPrefilter> prefilters(terms.begin(), terms.end());

    struct Scored {
        SearchHit hit;
        long long score;
    };
    // Runs on the scan's threads: it reads the shared scope, terms and prefilters and writes only
    // its own file's result and its thread's folding buffer.
    auto visit = [&](FileVisit& file) -> std::optional<Scored> {
        if (!scope.admits(file.path, file.header)) return std::nullopt;
        if (terms.empty()) return Scored{SearchHit{Meeting{file.path, std::move(file.header)}, 0, {}}, 0};

        thread_local std::string foldedText;
        foldedText.clear();
        TextFolding::appendFolded(file.text, foldedText);
        for (const auto& prefilter : prefilters)
            if (!prefilter.mayHold(file.header, foldedText)) return std::nullopt;

        MarkdownTranscriptParser::parseBody(file.text, file.header);
        auto match = RankedTranscriptSearch::match(file.header, terms);
        if (!match) return std::nullopt;
        // A hit shows its frontmatter only; the body would hold the whole corpus in memory.
        TranscriptDocument& doc = file.header;
        doc.notes = doc.summary = doc.meetingNotes = doc.actionItems = doc.keyMoments = std::string();
        doc.turns = {};
        return Scored{SearchHit{Meeting{file.path, std::move(doc)}, match->matchingTurns, std::move(match->snippets)},
                      match->score};
    };
    std::vector<Scored> found = collect(visit);
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
