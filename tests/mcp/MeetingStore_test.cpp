// The meeting store: the order of its meetings and their participants; and its fast scans and search
// held to a plain sequential reading of a generated folder with tricky files. The path gate is
// checked in HostilePaths_test.
#include "ZelmorMCP/MeetingStore.h"
#include "ZelmorMarkdownKit/answer/AnswerScope.h"
#include "ZelmorMarkdownKit/format/MarkdownTranscriptParser.h"
#include "ZelmorMarkdownKit/format/ZelmorTranscriptMarker.h"
#include "ZelmorMarkdownKit/search/RankedTranscriptSearch.h"
#include "ZelmorMarkdownKit/text/UTF8.h"
#include "bench/corpus/CorpusGenerator.h"
#include "platform/FileSystem.h"
#include "platform/FolderListing.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <stdexcept>
#include <tuple>

namespace zelmor::test {
namespace {

using Meetings = std::vector<MeetingStore::Meeting>;
using Paths = std::vector<std::string>;

std::string transcript(const std::string& date, const Paths& participants = {},
                       const std::string& title = "T") {
    std::string text = "---\ntitle: " + title + "\ndate: " + date + "\nparticipants:\n";
    for (const auto& name : participants) text += "  - " + name + "\n";
    return text + "source: Zelmor\n---\n\n## Transcript\n\n**Ana:** Hello.\n";
}

// The order of the meetings is held to the plain scan below.
TEST(MeetingStoreScan, PathsAreStandardisedWithLinksKept) {
    test::TempFolder base;
    base.write("real/sub/a.md", transcript("2025-03-14"));
    const std::string alias = base / "alias";
    ASSERT_EQ(::symlink((base / "real").c_str(), alias.c_str()), 0);
    auto meetings = MeetingStore{base.path() + "/./alias/../alias/"}.scan();
    ASSERT_EQ(meetings.size(), 1u);
    EXPECT_EQ(meetings[0].path, alias + "/sub/a.md");
}

TEST(MeetingStoreParticipants, CountsListingsAndKeepsTheNewestMeeting) {
    test::TempFolder root;
    // File names sort against the dates, so disk order cannot stand in for meeting order.
    root.write("a.md", transcript("2026-10-01", {"Speaker 12", "Ana "}, "Oldest"));
    root.write("b.md", transcript("2026-10-02", {"Bob", "alice", "Ana", "Ana"}, "Middle"));
    root.write("c.md", transcript("2026-10-03", {"Ana", "  Bob\t", "Speaker 2", "   "}, "Newest"));
    using Row = MeetingStore::ParticipantSummary;
    EXPECT_EQ(MeetingStore{root.path()}.participants(),
              (std::vector<Row>{{"Ana", 4, "2026-10-03", "Newest", false},
                                {"Bob", 2, "2026-10-03", "Newest", false},
                                {"Speaker 12", 1, "2026-10-01", "Oldest", true},
                                {"Speaker 2", 1, "2026-10-03", "Newest", true},
                                {"alice", 1, "2026-10-02", "Middle", false}}));
    for (const char* generic : {"Speaker 1", "Speaker 007", "Speaker ٣", "Speaker Ⅻ"})
        EXPECT_TRUE(MeetingStore::isGenericSpeakerLabel(generic)) << generic;
    for (const char* person : {"Speaker", "Speaker ", "Speaker A", "speaker 3", "Speakers 3", "Speaker 3b"})
        EXPECT_FALSE(MeetingStore::isGenericSpeakerLabel(person)) << person;
}

/// The scan written as plainly as possible (list, filter, read, check, parse, sort, one file at a
/// time): the reference the store's fast paths are held to.
Meetings sequentialScan(const std::string& folder) {
    Meetings meetings;
    auto listed = platform::listFilesRecursively(folder);
    for (const auto& path : listed.value()) {
        std::string name = path.substr(path.rfind('/') + 1);
        std::transform(name.begin(), name.end(), name.begin(),
                       [](unsigned char c) { return std::tolower(c); });
        auto text = platform::readFile(path);
        if (name.size() <= 3 || !name.ends_with(".md") || SkillsFolder::holds(path, "Memory") || !text ||
            !UTF8::isValid(*text) || !ZelmorTranscriptMarker::declares(*text))
            continue;
        if (auto doc = MarkdownTranscriptParser::parse(*text))
            meetings.push_back({platform::standardizePath(path), std::move(*doc)});
    }
    std::sort(meetings.begin(), meetings.end(), [](const auto& a, const auto& b) {
        const std::string& keyA = a.doc.startedAt.empty() ? a.doc.date : a.doc.startedAt;
        const std::string& keyB = b.doc.startedAt.empty() ? b.doc.date : b.doc.startedAt;
        return keyA != keyB ? keyA > keyB : a.path > b.path;
    });
    return meetings;
}

/// The documents as a listing shows them: the frontmatter only.
Meetings withoutBodies(Meetings meetings) {
    for (auto& meeting : meetings) {
        TranscriptDocument& doc = meeting.doc;
        doc.notes = doc.summary = doc.meetingNotes = doc.actionItems = doc.keyMoments = "";
        doc.turns.clear();
    }
    return meetings;
}

/// search_meetings as the obvious loop: every meeting parsed whole, scope, match, order, page.
MeetingStore::SearchResult plainSearch(const Meetings& all, const MeetingStore::SearchFilters& filters) {
    auto terms = RankedTranscriptSearch::terms(filters.query);
    MeetingStore::SearchResult result{0, std::max(filters.offset, 0LL), {}};
    if (filters.query && !filters.query->empty() && terms.empty()) return result;
    const AnswerScope scope{
        .dateFrom = filters.dateFrom, .dateTo = filters.dateTo, .participant = filters.participant};
    std::vector<std::pair<MeetingStore::SearchHit, long long>> found;
    for (const auto& meeting : all) {
        if (!scope.admits(meeting.path, meeting.doc)) continue;
        if (terms.empty())
            found.push_back({{meeting, 0, {}}, 0});
        else if (auto match = RankedTranscriptSearch::match(meeting.doc, terms))
            found.push_back({{meeting, match->matchingTurns, match->snippets}, match->score});
    }
    std::string sort = filters.sort.value_or("");
    std::transform(sort.begin(), sort.end(), sort.begin(), [](unsigned char c) { return std::tolower(c); });
    if (sort == "relevance")
        std::stable_sort(found.begin(), found.end(), [](auto& a, auto& b) { return a.second > b.second; });
    result.total = static_cast<long long>(found.size());
    long long first = std::min(result.offset, result.total);
    long long last = std::min(result.total, first + std::clamp(filters.limit, 1LL, 100LL));
    for (long long at = first; at < last; ++at) result.hits.push_back(found[static_cast<size_t>(at)].first);
    return result;
}

std::string file(const std::string& frontmatter,
                 const std::string& body = "## Transcript\n\n**Ana:** Hi.\n") {
    return "---\n" + frontmatter + "source: Zelmor\n---\n\n" + body;
}

/// The generated meetings (all before 2031), then files that probe each rule of the scan (dated
/// 2031 and later) and of the search.
const std::string& corpus() {
    static const TempFolder folder;
    static const bool written = [] {
        bench::generateCorpus(
            folder.path(),
            {.meetings = 120, .minWords = 60, .maxWords = 600, .nonASCIIShare = 0.3, .crlfShare = 0.25});
        for (const auto& [name, text] : std::vector<std::pair<std::string, std::string>>{
                 // Searched for, and left out all the same.
                 {"invalid-utf8-body.md", file("title: Broken\ndate: 2031-05-07\n",
                                               "## Transcript\n\n**Ana:** zeppelin roadmap\xFF\n")},
                 {"no-marker.md", "---\ntitle: Plain notes\ndate: 2031-05-01\n---\n"},
                 {"no-frontmatter.md", "source: Zelmor\n\n**Ana:** hi\n"},
                 // A later start on an earlier date; equal keys, ordered by path.
                 {"later-start.md", file("title: L\ndate: 2031-04-01\nstarted_at: 2031-05-05T11:00:00Z\n")},
                 {"same-day-a.md", file("title: Same day\ndate: 2031-05-04\nparticipants:\n  - Ana\n")},
                 {"same-day-b.md", file("title: Same day\ndate: 2031-05-04\nparticipants:\n  - Ana\n")},
                 {"same-day-c.MD", file("title: Same day\ndate: 2031-05-04\nparticipants:\n  - Ana\n")},
                 {"same-start-1.md", file("title: S\ndate: 2031-05-05\nstarted_at: 2031-05-05T10:00:00Z\n")},
                 {"same-start-2.md", file("title: S\ndate: 2031-05-05\nstarted_at: 2031-05-05T10:00:00Z\n")},
                 {"fallback-close.md", "---\ntitle: Closed\ndate: 2031-05-06\nsource: Zelmor\n---"},
                 // A phrase over a CRLF line end and over a paragraph break with extra blank lines.
                 {"crlf-phrase.md",
                  "---\r\ndate: 2030-02-01\r\nsource: Zelmor\r\n---\r\n\r\n## Transcript\r\n\r\n"
                  "**Zoë:** we ship the\r\nwinter build\r\n\r\n\r\nand then the spring one\r\n"},
                 // A comment line between two lines of the summary disappears from the parsed text.
                 {"comment.md",
                  file("title: Comment\ndate: 2030-02-02\n",
                       "## Summary\n\nalpha\n<!-- aside -->\nomega\n\n## Transcript\n\n**Ana:** Hi.\n")},
                 // Terms only in the title and only in a quoted participant, with an escaped quote.
                 {"title-only.md", file("title: \"Quarterly \\\"Zanzibar\\\" roadmap\"\ndate: 2030-02-03\n"
                                        "participants:\n  - \"Björn Ødegaard\"\n",
                                        "## Transcript\n\n**Björn Ødegaard:** Nothing to see.\n")},
                 // Accents written decomposed and precomposed, a ligature and a sharp s.
                 {"accents.md",
                  file("title: Accents\ndate: 2030-02-04\n",
                       "## Transcript\n\n**Ana:** Cafe\xCC\x81 au lait, re\xCC\x81sume\xCC\x81, "
                       "e\xEF\xAC\x81nal rounds, Stra\xC3\x9F"
                       "e.\n\n## Notes\n\nRésumé in notes.\n")}})
            folder.write("tricky/" + name, text);
        return true;
    }();
    (void)written;
    return folder.path();
}

const Meetings& reference() {
    static const Meetings meetings = sequentialScan(corpus());
    return meetings;
}

MeetingStore::SearchFilters filtersOf(std::optional<std::string> query,
                                      std::optional<std::string> participant = {}, long long limit = 20,
                                      long long offset = 0, const char* sort = "relevance") {
    return {.query = query,
            .participant = participant,
            .dateFrom = {},
            .dateTo = {},
            .limit = limit,
            .offset = offset,
            .sort = sort};
}

void expectSameSearch(const MeetingStore::SearchFilters& filters) {
    // The fast search lists the frontmatter only; the plain one parsed every meeting whole.
    auto rows = [](const MeetingStore::SearchResult& result, bool strip) {
        std::vector<std::tuple<MeetingStore::Meeting, long long, Paths>> hits;
        for (const auto& hit : result.hits)
            hits.emplace_back(strip ? withoutBodies({hit.meeting})[0] : hit.meeting, hit.matchCount,
                              hit.snippets);
        return std::make_tuple(result.total, result.offset, hits);
    };
    EXPECT_EQ(rows(MeetingStore(corpus()).search(filters), false),
              rows(plainSearch(reference(), filters), true))
        << filters.query.value_or("(no query)") << ", " << filters.sort.value_or("") << ", " << filters.limit;
}

TEST(StoreEquality, ScansOnAnyNumberOfThreadsAreTheSequentialReadingAndRethrowAVisitorsFailure) {
    // The generated meetings, the four search probes and the seven tricky files that pass.
    ASSERT_EQ(reference().size(), 131u);
    MeetingStore store(corpus());
    auto refuse = [](MeetingStore::FileVisit& file) -> std::optional<int> {
        if (file.header.title == "Comment") throw std::runtime_error("refused");
        return 1;
    };
    for (unsigned workers : {0u, 1u, 3u}) {
        EXPECT_EQ(store.scan(workers), reference()) << workers;
        EXPECT_EQ(store.scanHeaders(workers), withoutBodies(reference())) << workers;
        EXPECT_THROW(store.collect(refuse, workers), std::runtime_error) << workers;
    }
}

TEST(StoreEquality, QueriesFiltersOrdersAndPagesGiveWhatThePlainSearchGives) {
    // The probes of the tricky files must find them, or their equality would prove nothing.
    const Paths probes = {"\"the\nwinter\"", "\"alpha\nomega\"", "\"zanzibar\" roadmap", "bjorn", "resume",
                          "final",           "strasse"};
    Paths queries = {"zeppelin customer", "\"pricing page\"", "tomás",          "TOMAS",
                     "the winter",        "build and",        "alpha omega",    "zanzibar",
                     "ødegaard",          "café résumé",      "“pricing page”", "zeppelin nowhereword"};
    queries.insert(queries.end(),
                   {"\"build\n\nand then\"", bench::CorpusWords::rare, bench::CorpusWords::frequent});
    queries.insert(queries.end(), probes.begin(), probes.end());
    for (const std::string& probe : probes)
        EXPECT_GE(MeetingStore(corpus()).search(filtersOf(probe)).total, 1) << probe;
    for (const std::string& query : queries)
        for (const char* sort : {"newest", "Relevance"}) expectSameSearch(filtersOf(query, {}, 100, 0, sort));
    std::string repeated;
    for (int i = 0; i < 2000; ++i) repeated += i % 2 ? "PRICING " : "customer ";
    const std::string frequent = bench::CorpusWords::frequent;
    // Pages clamped to 1 to 100 meetings, filters, repeated terms, a name that folds to nothing, and
    // one no one has, too long to compare at leisure.
    using Filters = MeetingStore::SearchFilters;
    for (Filters filters :
         {filtersOf(frequent, {}, 500), filtersOf(frequent, {}, 0), filtersOf({}, {}, 100),
          filtersOf({}, "tomas", 100), filtersOf(repeated, "TOMAS", 100), filtersOf(frequent, "tomas", 5, 3),
          filtersOf(frequent, {}, 5, 10'000), filtersOf(frequent, "\xCC\x81")}) {
        expectSameSearch(filters);
        std::tie(filters.dateFrom, filters.dateTo) = std::pair("2026-01-01", "2030-12-31");
        expectSameSearch(filters);
    }
    EXPECT_EQ(MeetingStore(corpus()).search(filtersOf(frequent, std::string(2 << 20, 'x'))).total, 0);
}

} // namespace
} // namespace zelmor::test
