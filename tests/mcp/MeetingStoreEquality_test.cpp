// The store's fast scans and search (threads, reused buffers, frontmatter-only parsing, raw-text
// prefilter, visitors) against the plain sequential reading of one generated folder with tricky files.
#include "ZelmorMCP/MeetingStore.h"
#include "ZelmorMarkdownKit/answer/AnswerScope.h"
#include "ZelmorMarkdownKit/format/MarkdownTranscriptParser.h"
#include "ZelmorMarkdownKit/search/RankedTranscriptSearch.h"
#include "bench/corpus/CorpusGenerator.h"
#include "tests/mcp/SequentialScan.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

namespace zelmor::test {
namespace {

using Meetings = std::vector<MeetingStore::Meeting>;

/// search_meetings as the obvious loop: every meeting parsed whole, scope, match, order, page.
MeetingStore::SearchResult plainSearch(const Meetings& all, const MeetingStore::SearchFilters& filters) {
    auto terms = RankedTranscriptSearch::terms(filters.query);
    MeetingStore::SearchResult result{0, std::max(filters.offset, 0LL), {}};
    if (filters.query && !filters.query->empty() && terms.empty()) return result;
    AnswerScope scope;
    scope.dateFrom = filters.dateFrom;
    scope.dateTo = filters.dateTo;
    scope.participant = filters.participant;
    std::vector<std::pair<MeetingStore::SearchHit, long long>> found;
    for (const auto& meeting : all) {
        if (!scope.admits(meeting.path, meeting.doc)) continue;
        if (terms.empty())
            found.push_back({{meeting, 0, {}}, 0});
        else if (auto match = RankedTranscriptSearch::match(meeting.doc, terms))
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

std::string file(const std::string& frontmatter,
                 const std::string& body = "## Transcript\n\n**Ana:** Hi.\n") {
    return "---\n" + frontmatter + "---\n\n" + body;
}

class StoreEquality : public ::testing::Test {
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
        // Files that probe each rule of the scan (all dated 2031, after the generated ones).
        f.write("tricky/invalid-utf8.md", file("title: Caf\xE9\ndate: 2031-05-01\nsource: Zelmor\n"));
        f.write("tricky/no-marker.md", file("title: Plain notes\ndate: 2031-05-01\n"));
        f.write("tricky/marker-in-body.md",
                file("title: Body marker\ndate: 2031-05-02\n", "source: Zelmor\n"));
        f.write("tricky/no-frontmatter.md", "source: Zelmor\n\n**Ana:** hi\n");
        f.write("tricky/crlf.md",
                "---\r\ntitle: Windows\r\ndate: 2031-05-03\r\nparticipants:\r\n  - Zoë Martin\r\n"
                "source: Zelmor\r\n---\r\n\r\n## Transcript\r\n\r\n**Zoë Martin:** Hej.\r\n");
        // Equal keys: ordered by path.
        for (const char* name : {"tricky/same-day-a.md", "tricky/same-day-b.md", "tricky/same-day-c.MD"})
            f.write(name,
                    file("title: Same day\ndate: 2031-05-04\nparticipants:\n  - Ana\nsource: Zelmor\n"));
        for (const char* name : {"tricky/same-start-1.md", "tricky/same-start-2.md"})
            f.write(name, file("title: Same start\ndate: 2031-05-05\nstarted_at: 2031-05-05T10:00:00Z\n"
                               "participants:\n  - \" Ana\"\n  -  Ana \n  - Speaker 12\nsource: Zelmor\n"));
        f.write("tricky/Memory/Skills/skill.md",
                file("title: Zanzibar skill\ndate: 2032-01-01\nsource: Zelmor\n",
                     "## Transcript\n\n**Ana:** zeppelin\n"));
        f.write("tricky/.hidden/secret.md", file("title: Hidden\ndate: 2032-01-01\nsource: Zelmor\n"));
        f.write("tricky/fallback-close.md",
                "---\ntitle: Closed at the end\ndate: 2031-05-06\nsource: Zelmor\n---");
        f.write("tricky/empty.md", "");
        f.makeFolder("tricky/folder.md");
        // Search probes: a phrase over a CRLF line end and over a paragraph break with extra blank lines.
        f.write("search/crlf-phrase.md",
                "---\r\ntitle: Line ends\r\ndate: 2030-02-01\r\nparticipants:\r\n  - Zoë Martin\r\nsource: "
                "Zelmor\r\n"
                "---\r\n\r\n## Transcript\r\n\r\n**Zoë Martin:** we ship the\r\nwinter build\r\n\r\n\r\n"
                "and then the spring one\r\n");
        // A comment line between two lines of the summary disappears from the parsed text.
        f.write("search/comment.md",
                file("title: Comment\ndate: 2030-02-02\nsource: Zelmor\n",
                     "## Summary\n\nalpha\n<!-- aside -->\nomega\n\n## Transcript\n\n**Ana:** Hi.\n"));
        // Terms only in the title and only in a quoted participant, with an escaped quote.
        f.write("search/title-only.md",
                file("title: \"Quarterly \\\"Zanzibar\\\" roadmap\"\ndate: 2030-02-03\n"
                     "participants:\n  - \"Björn Ødegaard\"\nsource: Zelmor\n",
                     "## Transcript\n\n**Björn Ødegaard:** Nothing to see.\n"));
        // Accents written decomposed and precomposed, a ligature and a sharp s.
        f.write("search/accents.md",
                file("title: Accents\ndate: 2030-02-04\nsource: Zelmor\n",
                     "## Transcript\n\n**Ana:** Cafe\xCC\x81 au lait, re\xCC\x81sume\xCC\x81, "
                     "e\xEF\xAC\x81nal rounds, Stra\xC3\x9F"
                     "e.\n\n## Notes\n\nRésumé in notes.\n"));
        reference = new Meetings(sequentialScan(folder->path(), "Memory"));
    }
    static void TearDownTestSuite() {
        delete reference;
        delete folder;
    }

    static void expectSameSearch(const MeetingStore::SearchFilters& filters) {
        auto fast = MeetingStore(folder->path()).search(filters);
        auto plain = plainSearch(*reference, filters);
        std::string label = "query " + filters.query.value_or("(none)");
        EXPECT_EQ(fast.total, plain.total) << label;
        EXPECT_EQ(fast.offset, plain.offset) << label;
        ASSERT_EQ(fast.hits.size(), plain.hits.size()) << label;
        for (size_t i = 0; i < fast.hits.size(); ++i) {
            EXPECT_EQ(fast.hits[i].meeting, withoutBodies({plain.hits[i].meeting})[0])
                << label << " hit " << i;
            EXPECT_EQ(fast.hits[i].matchCount, plain.hits[i].matchCount) << label << " hit " << i;
            EXPECT_EQ(fast.hits[i].snippets, plain.hits[i].snippets) << label << " hit " << i;
        }
    }

    static TempFolder* folder;
    static Meetings* reference;
};

TempFolder* StoreEquality::folder = nullptr;
Meetings* StoreEquality::reference = nullptr;

TEST_F(StoreEquality, TheReferenceKeepsWhatTheRulesKeep) {
    // A check on the oracle itself: the generated meetings (all before 2031), the four search
    // probes, then the eight tricky files that pass, newest first and by path on equal keys.
    ASSERT_EQ(reference->size(), 132u);
    std::vector<std::string> newest;
    for (size_t i = 0; i < 8; ++i) newest.push_back((*reference)[i].path.substr(folder->path().size() + 8));
    EXPECT_EQ(newest, (std::vector<std::string>{"fallback-close.md", "same-start-2.md", "same-start-1.md",
                                                "same-day-c.MD", "same-day-b.md", "same-day-a.md", "crlf.md",
                                                "marker-in-body.md"}));
}

TEST_F(StoreEquality, ScansOnAnyNumberOfThreadsAreTheSequentialReading) {
    MeetingStore store(folder->path());
    for (unsigned workers : {0u, 1u, 3u}) {
        EXPECT_EQ(store.scan(workers), *reference) << workers;
        EXPECT_EQ(store.scanHeaders(workers), withoutBodies(*reference)) << workers;
    }
}

TEST_F(StoreEquality, ParticipantsFromHeadersAreTheDirectoryOfTheFullScan) {
    auto rows = MeetingStore(folder->path()).participants();
    EXPECT_EQ(rows, MeetingStore::participantsOf(*reference));
    auto ana = std::find_if(rows.begin(), rows.end(), [](const auto& row) { return row.name == "Ana"; });
    ASSERT_NE(ana, rows.end());
    EXPECT_EQ(ana->meetingCount, 5);
    EXPECT_EQ(ana->lastMeetingDate, "2031-05-05") << "the newest meeting listing the name";
    EXPECT_EQ(ana->lastMeetingTitle, "Same start");
}

TEST_F(StoreEquality, CollectKeepsWhatTheVisitorReturnsInScanOrderAndStopsAtItsFirstFailure) {
    MeetingStore store(folder->path());
    auto titled = store.collect([](MeetingStore::FileVisit& file) -> std::optional<std::string> {
        if (file.header.date < "2031-05-01" || file.header.date > "2031-05-05") return std::nullopt;
        MarkdownTranscriptParser::parseBody(file.text, file.header);
        return file.header.title + " / " + (file.header.turns.empty() ? "" : file.header.turns[0].speaker);
    });
    EXPECT_EQ(titled, (std::vector<std::string>{"Same start / Ana", "Same start / Ana", "Same day / Ana",
                                                "Same day / Ana", "Same day / Ana", "Windows / Zoë Martin",
                                                "Body marker / "}));
    for (unsigned workers : {1u, 2u}) {
        try {
            store.collect(
                [](MeetingStore::FileVisit& file) -> std::optional<int> {
                    if (file.header.title == "Windows")
                        throw std::runtime_error("refused " + file.header.date);
                    return 1;
                },
                workers);
            ADD_FAILURE() << "no exception with " << workers << " workers";
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ(error.what(), "refused 2031-05-03");
        }
    }
}

TEST_F(StoreEquality, QueriesFiltersAndPagesGiveWhatThePlainSearchGives) {
    for (const char* query : {bench::CorpusWords::rare,
                              bench::CorpusWords::frequent,
                              "zeppelin customer",
                              "\"pricing page\"",
                              "tomás",
                              "TOMAS",
                              "the winter",
                              "\"the\nwinter\"",
                              "\"build\n\nand then\"",
                              "build and",
                              "\"alpha\nomega\"",
                              "alpha omega",
                              "zanzibar",
                              "\"zanzibar\" roadmap",
                              "ødegaard",
                              "bjorn",
                              "café résumé",
                              "resume",
                              "final",
                              "strasse",
                              "“pricing page”",
                              "zeppelin nowhereword"})
        for (const char* sort : {"newest", "relevance"}) {
            MeetingStore::SearchFilters filters;
            filters.query = query;
            filters.sort = sort;
            filters.limit = 100;
            expectSameSearch(filters);
        }
    MeetingStore::SearchFilters filters;
    expectSameSearch(filters);
    filters.participant = "tomas";
    expectSameSearch(filters);
    filters.query = bench::CorpusWords::frequent;
    filters.dateFrom = "2026-01-01";
    filters.dateTo = "2030-12-31";
    filters.offset = 3;
    filters.limit = 5;
    filters.sort = "relevance";
    expectSameSearch(filters);
    filters.participant.reset();
    filters.offset = 10'000;
    expectSameSearch(filters);
}

TEST_F(StoreEquality, TrickySearchProbesAreFoundAtAll) {
    // Guards the comparison itself: each probe must find its file, or equality proves nothing.
    for (const char* query : {"\"the\nwinter\"", "\"alpha\nomega\"", "\"zanzibar\" roadmap", "bjorn",
                              "resume", "final", "strasse"}) {
        MeetingStore::SearchFilters filters;
        filters.query = query;
        EXPECT_GE(MeetingStore(folder->path()).search(filters).total, 1) << query;
    }
}

TEST(StoreEqualityErrors, AMissingFolderIsRefusedBeforeAnyVisit) {
    MeetingStore store("/nonexistent/zelmor-folder");
    bool visited = false;
    EXPECT_THROW(
        store.collect([&](MeetingStore::FileVisit&) { return std::optional<int>((visited = true, 1)); }),
        MeetingStore::StoreError);
    EXPECT_THROW(store.participants(), MeetingStore::StoreError);
    EXPECT_FALSE(visited);
}

} // namespace
} // namespace zelmor::test
