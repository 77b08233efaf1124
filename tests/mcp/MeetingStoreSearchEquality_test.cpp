// The store's search (frontmatter scope, raw-text prefilter, bodies parsed only for candidates,
// several threads) against the plain search over the sequential reading of the whole folder.
#include "ZelmorMCP/MeetingStore.h"
#include "ZelmorMarkdownKit/AnswerScope.h"
#include "ZelmorMarkdownKit/RankedTranscriptSearch.h"
#include "bench/corpus/CorpusGenerator.h"
#include "tests/mcp/SequentialScan.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace zelmor::test {
namespace {

/// search_meetings as the obvious loop: every meeting parsed whole, scope, match, order, page.
MeetingStore::SearchResult plainSearch(const std::string& folder, const MeetingStore::SearchFilters& filters) {
    auto terms = RankedTranscriptSearch::terms(filters.query);
    MeetingStore::SearchResult result{0, std::max(filters.offset, 0LL), {}};
    if (filters.query && !filters.query->empty() && terms.empty()) return result;
    AnswerScope scope;
    scope.dateFrom = filters.dateFrom;
    scope.dateTo = filters.dateTo;
    scope.participant = filters.participant;
    std::vector<std::pair<MeetingStore::SearchHit, long long>> found;
    for (auto& meeting : sequentialScan(folder, "Memory")) {
        if (!scope.admits(meeting.path, meeting.doc)) continue;
        if (terms.empty()) {
            found.push_back({{meeting, 0, {}}, 0});
            continue;
        }
        if (auto match = RankedTranscriptSearch::match(meeting.doc, terms))
            found.push_back({{meeting, match->matchingTurns, match->snippets}, match->score});
    }
    if (filters.sort == "relevance")
        std::stable_sort(found.begin(), found.end(), [](auto& a, auto& b) { return a.second > b.second; });
    result.total = static_cast<long long>(found.size());
    long long first = std::min(result.offset, result.total);
    long long last = std::min(result.total, first + std::clamp(filters.limit, 1LL, 100LL));
    for (long long at = first; at < last; ++at) result.hits.push_back(found[static_cast<size_t>(at)].first);
    return result;
}

std::string transcript(const std::string& frontmatter, const std::string& body) {
    return "---\n" + frontmatter + "source: Zelmor\n---\n\n" + body;
}

class SearchEquality : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        folder = new TempFolder;
        bench::CorpusOptions options;
        options.meetings = 120;
        options.minWords = 60;
        options.maxWords = 600;
        options.nonASCIIShare = 0.3;
        options.crlfShare = 0.25;
        bench::generateCorpus(folder->path(), options);
        const TempFolder& f = *folder;
        // A phrase broken over a CRLF line end, and one over a paragraph break with extra blank lines.
        f.write("tricky/crlf-phrase.md",
                "---\r\ntitle: Line ends\r\ndate: 2030-02-01\r\nparticipants:\r\n  - Zoë Martin\r\nsource: Zelmor\r\n"
                "---\r\n\r\n## Transcript\r\n\r\n**Zoë Martin:** we ship the\r\nwinter build\r\n\r\n\r\n"
                "and then the spring one\r\n");
        // A comment line between two lines of the summary disappears from the parsed text.
        f.write("tricky/comment.md",
                transcript("title: Comment\ndate: 2030-02-02\n",
                           "## Summary\n\nalpha\n<!-- aside -->\nomega\n\n## Transcript\n\n**Ana:** Hi.\n"));
        // Terms only in the title and only in a quoted participant, with an escaped quote.
        f.write("tricky/title-only.md",
                transcript("title: \"Quarterly \\\"Zanzibar\\\" roadmap\"\ndate: 2030-02-03\n"
                           "participants:\n  - \"Björn Ødegaard\"\n",
                           "## Transcript\n\n**Björn Ødegaard:** Nothing to see.\n"));
        // Accents written decomposed and precomposed, a ligature and a sharp s.
        f.write("tricky/accents.md",
                transcript("title: Accents\ndate: 2030-02-04\n",
                           "## Transcript\n\n**Ana:** Cafe\xCC\x81 au lait, re\xCC\x81sume\xCC\x81, "
                           "e\xEF\xAC\x81nal rounds, Stra\xC3\x9F" "e.\n\n## Notes\n\nRésumé in notes.\n"));
        f.write("tricky/Memory/Skills/skill.md",
                transcript("title: Zanzibar skill\ndate: 2031-01-01\n", "## Transcript\n\n**Ana:** zeppelin\n"));
    }
    static void TearDownTestSuite() { delete folder; }

    static void expectSame(const MeetingStore::SearchFilters& filters) {
        auto fast = MeetingStore(folder->path()).search(filters);
        auto plain = plainSearch(folder->path(), filters);
        std::string label = "query " + filters.query.value_or("(none)");
        EXPECT_EQ(fast.total, plain.total) << label;
        EXPECT_EQ(fast.offset, plain.offset) << label;
        ASSERT_EQ(fast.hits.size(), plain.hits.size()) << label;
        auto headers = withoutBodies([&] {
            std::vector<MeetingStore::Meeting> meetings;
            for (auto& hit : plain.hits) meetings.push_back(hit.meeting);
            return meetings;
        }());
        for (size_t i = 0; i < fast.hits.size(); ++i) {
            EXPECT_EQ(fast.hits[i].meeting, headers[i]) << label << " hit " << i;
            EXPECT_EQ(fast.hits[i].matchCount, plain.hits[i].matchCount) << label << " hit " << i;
            EXPECT_EQ(fast.hits[i].snippets, plain.hits[i].snippets) << label << " hit " << i;
        }
    }

    static TempFolder* folder;
};

TempFolder* SearchEquality::folder = nullptr;

TEST_F(SearchEquality, QueriesGiveWhatThePlainSearchGives) {
    for (const char* query :
         {bench::CorpusWords::rare, bench::CorpusWords::frequent, "zeppelin customer", "\"pricing page\"",
          "tomás", "TOMAS", "the winter", "\"the\nwinter\"", "\"build\n\nand then\"", "build and",
          "\"alpha\nomega\"", "alpha omega", "zanzibar", "\"zanzibar\" roadmap", "ødegaard", "bjorn",
          "café résumé", "resume", "final", "strasse", "“pricing page”", "zeppelin nowhereword"})
        for (const char* sort : {"newest", "relevance"}) {
            MeetingStore::SearchFilters filters;
            filters.query = query;
            filters.sort = sort;
            filters.limit = 100;
            expectSame(filters);
        }
}

TEST_F(SearchEquality, FiltersAndPagesGiveWhatThePlainSearchGives) {
    MeetingStore::SearchFilters filters;
    expectSame(filters);
    filters.participant = "tomas";
    expectSame(filters);
    filters.query = bench::CorpusWords::frequent;
    filters.dateFrom = "2026-01-01";
    filters.dateTo = "2030-12-31";
    filters.offset = 3;
    filters.limit = 5;
    filters.sort = "relevance";
    expectSame(filters);
    filters.participant.reset();
    filters.offset = 10'000;
    expectSame(filters);
}

TEST_F(SearchEquality, TrickyFilesAreFoundAtAll) {
    // Guards the comparison itself: each probe must find its file, or equality proves nothing.
    for (const char* query : {"\"the\nwinter\"", "\"alpha\nomega\"", "\"zanzibar\" roadmap", "bjorn", "resume",
                              "final", "strasse"}) {
        MeetingStore::SearchFilters filters;
        filters.query = query;
        EXPECT_GE(MeetingStore(folder->path()).search(filters).total, 1) << query;
    }
}

} // namespace
} // namespace zelmor::test
