// The store's fast scans (threads, reused buffers, frontmatter-only parsing, visitors) against
// the plain reading of the folder one file at a time, on a generated folder with tricky files.
#include "ZelmorMCP/MeetingStore.h"
#include "ZelmorMarkdownKit/MarkdownTranscriptParser.h"
#include "bench/corpus/CorpusGenerator.h"
#include "platform/FileSystem.h"
#include "tests/mcp/SequentialScan.h"
#include "tests/support/TempFolder.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <stdexcept>

namespace zelmor {
namespace {

using Meetings = std::vector<MeetingStore::Meeting>;

using test::sequentialScan;
using test::withoutBodies;

std::vector<std::string> pathsOf(const Meetings& meetings) {
    std::vector<std::string> paths;
    for (const auto& meeting : meetings) paths.push_back(meeting.path);
    return paths;
}

std::string file(const std::string& frontmatter,
                 const std::string& body = "## Transcript\n\n**Ana:** Hi.\n") {
    return "---\n" + frontmatter + "---\n\n" + body;
}

/// A generated folder (accents, typographic quotes, CRLF files, a skills folder, hidden and
/// non-transcript files) plus files that probe each rule of the scan.
class FastPaths : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        folder = new test::TempFolder;
        bench::CorpusOptions options;
        options.meetings = 80;
        options.minWords = 40;
        options.maxWords = 400;
        options.nonASCIIShare = 0.3;
        options.crlfShare = 0.2;
        bench::generateCorpus(folder->path(), options);
        const test::TempFolder& f = *folder;
        f.write("tricky/invalid-utf8.md", file("title: Caf\xE9\ndate: 2031-05-01\nsource: Zelmor\n"));
        f.write("tricky/no-marker.md", file("title: Plain notes\ndate: 2031-05-01\n"));
        f.write("tricky/marker-in-body.md",
                file("title: Body marker\ndate: 2031-05-02\n", "source: Zelmor\n"));
        f.write("tricky/no-frontmatter.md", "source: Zelmor\n\n**Ana:** hi\n");
        f.write("tricky/crlf.md",
                "---\r\ntitle: Windows\r\ndate: 2031-05-03\r\nparticipants:\r\n  - Zoë Martin\r\n"
                "source: Zelmor\r\n---\r\n\r\n## Transcript\r\n\r\n**Zoë Martin:** Hej.\r\n");
        // Equal keys: the same date without start times, and the same start time, ordered by path.
        for (const char* name : {"tricky/same-day-a.md", "tricky/same-day-b.md", "tricky/same-day-c.MD"})
            f.write(name,
                    file("title: Same day\ndate: 2031-05-04\nparticipants:\n  - Ana\nsource: Zelmor\n"));
        for (const char* name : {"tricky/same-start-1.md", "tricky/same-start-2.md"})
            f.write(name, file("title: Same start\ndate: 2031-05-05\nstarted_at: 2031-05-05T10:00:00Z\n"
                               "participants:\n  - \" Ana\"\n  -  Ana \n  - Speaker 12\nsource: Zelmor\n"));
        f.write("tricky/Memory/Skills/skill.md", file("title: Skill\ndate: 2032-01-01\nsource: Zelmor\n"));
        f.write("tricky/.hidden/secret.md", file("title: Hidden\ndate: 2032-01-01\nsource: Zelmor\n"));
        f.write("tricky/fallback-close.md",
                "---\ntitle: Closed at the end\ndate: 2031-05-06\nsource: Zelmor\n---");
        f.write("tricky/empty.md", "");
        f.makeFolder("tricky/folder.md");
        reference = new Meetings(sequentialScan(folder->path(), "Memory"));
    }
    static void TearDownTestSuite() {
        delete reference;
        delete folder;
    }

    static test::TempFolder* folder;
    static Meetings* reference;
};

test::TempFolder* FastPaths::folder = nullptr;
Meetings* FastPaths::reference = nullptr;

TEST_F(FastPaths, TheFolderHoldsWhatTheRulesKeep) {
    // A check on the oracle itself: 80 generated meetings (all before 2031), then the eight
    // tricky files that pass, newest first and by path on equal keys.
    ASSERT_EQ(reference->size(), 88u);
    auto paths = pathsOf(*reference);
    EXPECT_EQ(
        std::vector<std::string>(paths.begin(), paths.begin() + 8),
        (std::vector<std::string>{*folder / "tricky/fallback-close.md", *folder / "tricky/same-start-2.md",
                                  *folder / "tricky/same-start-1.md", *folder / "tricky/same-day-c.MD",
                                  *folder / "tricky/same-day-b.md", *folder / "tricky/same-day-a.md",
                                  *folder / "tricky/crlf.md", *folder / "tricky/marker-in-body.md"}));
}

TEST_F(FastPaths, FullScanOnAnyNumberOfThreadsIsTheSequentialReading) {
    MeetingStore store(folder->path());
    EXPECT_EQ(store.scan(), *reference);
    EXPECT_EQ(store.scan(1), *reference);
    EXPECT_EQ(store.scan(3), *reference);
}

TEST_F(FastPaths, HeaderScanIsTheFullScanWithoutSectionsOrTurns) {
    MeetingStore store(folder->path());
    EXPECT_EQ(store.scanHeaders(), withoutBodies(*reference));
    EXPECT_EQ(store.scanHeaders(1), withoutBodies(*reference));
}

TEST_F(FastPaths, ParticipantsFromHeadersAreTheDirectoryOfTheFullScan) {
    auto rows = MeetingStore(folder->path()).participants();
    EXPECT_EQ(rows, MeetingStore::participantsOf(*reference));
    auto ana = std::find_if(rows.begin(), rows.end(), [](const auto& row) { return row.name == "Ana"; });
    ASSERT_NE(ana, rows.end());
    EXPECT_EQ(ana->meetingCount, 5);
    EXPECT_EQ(ana->lastMeetingDate, "2031-05-05") << "the newest meeting listing the name";
    EXPECT_EQ(ana->lastMeetingTitle, "Same start");
}

TEST_F(FastPaths, CollectKeepsWhatTheVisitorReturnsInScanOrder) {
    MeetingStore store(folder->path());
    auto titled = store.collect([](MeetingStore::FileVisit& file) -> std::optional<std::string> {
        if (file.header.date < "2031-05-01" || file.header.date > "2031-05-05") return std::nullopt;
        MarkdownTranscriptParser::parseBody(file.text, file.header);
        return file.header.title + " / " + (file.header.turns.empty() ? "" : file.header.turns[0].speaker);
    });
    EXPECT_EQ(titled, (std::vector<std::string>{"Same start / Ana", "Same start / Ana", "Same day / Ana",
                                                "Same day / Ana", "Same day / Ana", "Windows / Zoë Martin",
                                                "Body marker / "}));
}

TEST_F(FastPaths, TheVisitorsFirstFailureEndsTheScanAndReachesTheCaller) {
    MeetingStore store(folder->path());
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

TEST(MeetingStoreFastPathsErrors, AMissingFolderIsRefusedBeforeAnyVisit) {
    MeetingStore store("/nonexistent/zelmor-folder");
    bool visited = false;
    EXPECT_THROW(
        store.collect([&](MeetingStore::FileVisit&) { return std::optional<int>((visited = true, 1)); }),
        MeetingStore::StoreError);
    EXPECT_THROW(store.participants(), MeetingStore::StoreError);
    EXPECT_FALSE(visited);
}

} // namespace
} // namespace zelmor
