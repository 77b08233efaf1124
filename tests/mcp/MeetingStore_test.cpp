// The meeting store on real temporary folders: which files are meetings, their order, the path
// gate for reads, and the participant directory.
#include "ZelmorMCP/MeetingStore.h"
#include "platform/FileSystem.h"
#include "tests/mcp/StoreErrorPrinting.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zelmor {

void PrintTo(const MeetingStore::ParticipantSummary& row, std::ostream* out) {
    *out << "{" << row.name << ", " << row.meetingCount << ", " << row.lastMeetingDate << ", "
         << row.lastMeetingTitle << ", " << row.isGenericLabel << "}";
}

namespace {

using Error = MeetingStore::StoreError;
using Paths = std::vector<std::string>;

std::string transcript(const std::string& title, const std::string& date, const std::string& startedAt = "",
                       const Paths& participants = {}) {
    std::string text = "---\ntitle: " + title + "\ndate: " + date + "\n";
    if (!startedAt.empty()) text += "started_at: " + startedAt + "\n";
    text += "participants:\n";
    for (const auto& name : participants) text += "  - " + name + "\n";
    return text + "source: Zelmor\n---\n\n## Notes\n\n## Transcript\n\n**Ana:** Hello.\n";
}

Paths pathsOf(const std::vector<MeetingStore::Meeting>& meetings) {
    Paths paths;
    for (const auto& meeting : meetings) paths.push_back(meeting.path);
    return paths;
}

/// Runs the call and returns the store error it threw, or nothing.
template <typename F> std::optional<Error> errorOf(F&& call) {
    try {
        call();
    } catch (const Error& error) {
        return error;
    }
    return std::nullopt;
}

TEST(MeetingStoreScan, ListsOnlyVisibleMarkedMarkdownOutsideTheSkillsFolder) {
    test::TempFolder root, elsewhere;
    root.write("a.md", transcript("A", "2026-01-09"));
    root.write("B.MD", transcript("B", "2026-01-08"));
    root.write("c.markdown", transcript("C", "2026-01-07"));
    root.write("c.md.txt", transcript("C", "2026-01-07"));
    root.write(".hidden/d.md", transcript("D", "2026-01-06"));
    root.write(".e.md", transcript("E", "2026-01-05"));
    root.write("Memory/Skills/x.md", transcript("Skill", "2026-01-04"));
    root.write("team/memory/SKILLS/deep/y.md", transcript("Deep skill", "2026-01-04"));
    root.write("Memory/m.md", transcript("Memory note", "2026-01-03"));
    root.write("README.md", "# Read me\n\nNot a meeting.\n");
    root.write("latin1.md", transcript("Caf\xE9", "2026-01-02"));
    root.write("no-frontmatter.md", "source: Zelmor\n\n**Ana:** hi\n");
    root.write("folder.md/inside.md", transcript("Inside", "2026-01-01"));
    ASSERT_EQ(::mkfifo((root / "x.md").c_str(), 0644), 0); // must neither block nor be listed
    elsewhere.write("linked/far.md", transcript("Far", "2026-02-01"));
    elsewhere.write("single.md", transcript("Single", "2026-02-02"));
    ASSERT_EQ(::symlink((elsewhere / "linked").c_str(), (root / "linked").c_str()), 0);
    ASSERT_EQ(::symlink((elsewhere / "single.md").c_str(), (root / "single-link.md").c_str()), 0);

    auto meetings = MeetingStore{root.path()}.scan();
    EXPECT_EQ(pathsOf(meetings),
              (Paths{root / "a.md", root / "B.MD", root / "Memory/m.md", root / "folder.md/inside.md"}))
        << "neither a linked folder nor a link to a file outside is followed";
}

TEST(MeetingStoreScan, SkillsFolderFollowsTheMemoryFolderName) {
    test::TempFolder root;
    root.write("Memory/Skills/x.md", transcript("X", "2026-01-02"));
    root.write("brain/skills/y.md", transcript("Y", "2026-01-01"));
    MeetingStore store{root.path(), "Brain"};
    EXPECT_EQ(pathsOf(store.scan()), Paths{root / "Memory/Skills/x.md"});
}

TEST(MeetingStoreScan, EmptyAndMissingFolders) {
    test::TempFolder root;
    root.write("plain-file", "");
    EXPECT_TRUE(MeetingStore{root.path()}.scan().empty());
    EXPECT_EQ(errorOf([&] { MeetingStore{root / "missing"}.scan(); }),
              Error::folderMissing(root / "missing"));
    EXPECT_EQ(errorOf([&] { MeetingStore{root / "plain-file"}.scan(); }),
              Error::folderMissing(root / "plain-file"));
}

TEST(MeetingStoreScan, PathsAreStandardisedButLinksKept) {
    test::TempFolder base;
    base.write("real/2026/a.md", transcript("A", "2026-01-01"));
    ASSERT_EQ(::symlink((base / "real").c_str(), (base / "alias").c_str()), 0);
    EXPECT_EQ(pathsOf(MeetingStore{base.path() + "/./alias/../alias/"}.scan()),
              Paths{base / "alias/2026/a.md"});
}

TEST(MeetingStoreScan, NewestFirstByStartTimeOrDateThenPath) {
    test::TempFolder root;
    root.write("1.md", transcript("Day only", "2025-03-14"));
    root.write("2.md", transcript("Started", "2025-03-14", "2025-03-14T09:00"));
    root.write("3.md", transcript("Later start, earlier date", "2025-03-01", "2025-03-15T08:00"));
    root.write("a/same.md", transcript("Same day, lesser path", "2025-03-10"));
    root.write("b/same.md", transcript("Same day, greater path", "2025-03-10"));
    root.write("old.md", transcript("Old", "2024-12-31"));
    root.write("undated.md", transcript("Undated", ""));
    EXPECT_EQ(pathsOf(MeetingStore{root.path()}.scan()),
              (Paths{root / "3.md", root / "2.md", root / "1.md", root / "b/same.md", root / "a/same.md",
                     root / "old.md", root / "undated.md"}));
}

class MeetingStoreResolve : public testing::Test {
protected:
    test::TempFolder base;
    std::string root = base.makeFolder("Meetings");
    MeetingStore store{root};

    void SetUp() override {
        base.write("Meetings/a.md", transcript("A", "2026-01-01"));
        base.write("Meetings/notes.txt", "text");
        base.write("Meetings/Memory/Skills/s.md", transcript("S", "2026-01-01"));
        base.write("Meetings-archive/b.md", transcript("B", "2026-01-01"));
    }
    std::optional<Error> refusal(const std::string& path) {
        return errorOf([&] { store.resolveInsideFolder(path); });
    }
};

TEST_F(MeetingStoreResolve, AcceptsWhatLiesInsideRefusesTheRestInOrderOutsideNotMarkdownSkills) {
    ASSERT_EQ(::symlink((root + "/a.md").c_str(), (base / "in.md").c_str()), 0);
    ASSERT_EQ(::symlink((base / "Meetings-archive/b.md").c_str(), (root + "/escape.md").c_str()), 0);
    for (auto [path, resolved] : std::vector<std::pair<std::string, std::string>>{
             {root + "/a.md", root + "/a.md"},
             {root + "/./sub/../a.md", root + "/a.md"},
             {root + "/Missing.MD", root + "/Missing.MD"},
             {base / "in.md", root + "/a.md"}}) // a link outside that points in
        EXPECT_EQ(store.resolveInsideFolder(path), resolved) << path;
    using Make = Error (*)(std::string);
    for (auto [path, make] : std::vector<std::pair<std::string, Make>>{
             {root + "/../Meetings-archive/b.md", Error::outsideFolder}, // a sibling sharing the prefix
             {"/etc/passwd", Error::outsideFolder},                      // outside wins over not markdown
             {root + "/escape.md", Error::outsideFolder},
             {root + "/notes.txt", Error::notMarkdown},
             {root, Error::notMarkdown}, // the folder itself
             {root + "/", Error::notMarkdown},
             {root + "/.md", Error::notMarkdown},
             {root + "/memory/skills/s.txt", Error::notMarkdown},
             {root + "/MEMORY/skills/new.md", Error::skillFile}})
        EXPECT_EQ(refusal(path), make(path)) << path;
}

TEST_F(MeetingStoreResolve, RelativePathsStartAtTheWorkingFolder) {
    std::string saved = platform::currentDirectory();
    ASSERT_EQ(::chdir(root.c_str()), 0);
    std::string inside = store.resolveInsideFolder("a.md");
    auto outside = refusal("../Meetings-archive/b.md");
    ASSERT_EQ(::chdir(saved.c_str()), 0);
    EXPECT_EQ(inside, root + "/a.md");
    EXPECT_EQ(outside, Error::outsideFolder("../Meetings-archive/b.md"));
}

TEST_F(MeetingStoreResolve, TheFolderItselfNamedMarkdownIsAcceptedButCannotBeRead) {
    std::string dotted = base.makeFolder("Calls.md");
    MeetingStore calls{dotted};
    EXPECT_EQ(calls.resolveInsideFolder(dotted), dotted);
    EXPECT_EQ(errorOf([&] { calls.readInsideFolder(dotted); }), Error::notFound(dotted));
}

TEST_F(MeetingStoreResolve, ReadGivesTheRawTextOfAnyMarkdownInside) {
    std::string raw = "# No marker here\r\nJust notes.\n";
    base.write("Meetings/plain.md", raw);
    EXPECT_EQ(store.readInsideFolder(root + "/plain.md"), raw);
    EXPECT_EQ(errorOf([&] { store.readInsideFolder(root + "/gone.md"); }),
              Error::notFound(root + "/gone.md"));
    base.write("Meetings/latin1.md", "caf\xE9\n");
    EXPECT_EQ(errorOf([&] { store.readInsideFolder(root + "/latin1.md"); }),
              Error::notFound(root + "/latin1.md"));
    EXPECT_EQ(errorOf([&] { store.readInsideFolder(root + "/notes.txt"); }),
              Error::notMarkdown(root + "/notes.txt"));
    std::string withNul = root + "/a.md" + std::string(1, '\0') + ".md";
    EXPECT_EQ(errorOf([&] { store.readInsideFolder(withNul); }), Error::notFound(withNul));
}

TEST_F(MeetingStoreResolve, TheFolderMayBeALink) {
    ASSERT_EQ(::symlink(root.c_str(), (base / "alias").c_str()), 0);
    MeetingStore linked{base / "alias"};
    EXPECT_EQ(linked.resolveInsideFolder(base / "alias/a.md"), root + "/a.md");
    EXPECT_EQ(linked.resolveInsideFolder(root + "/a.md"), root + "/a.md");
}

TEST_F(MeetingStoreResolve, ServingTheRootFolderLetsNothingBeRead) {
    // Containment needs the root followed by "/", and no resolved path starts with "//".
    MeetingStore disk{"/"};
    std::string inside = root + "/a.md";
    EXPECT_EQ(errorOf([&] { disk.resolveInsideFolder(inside); }), Error::outsideFolder(inside));
    EXPECT_EQ(errorOf([&] { disk.readInsideFolder(inside); }), Error::outsideFolder(inside));
    EXPECT_EQ(errorOf([&] { disk.resolveInsideFolder("/"); }), Error::notMarkdown("/")) << "the root itself";
}

TEST(MeetingStoreParticipants, CountsListingsAndKeepsTheNewestMeeting) {
    test::TempFolder root;
    // File names sort against the dates, so disk order cannot stand in for meeting order.
    root.write("a.md", transcript("Oldest", "2026-10-01", "",
                                  {"Speaker 12", "Speaker 3b", "speaker 3", "Speaker", "Ana "}));
    root.write("b.md", transcript("Middle", "2026-10-02", "", {"Bob", "alice", "Ana", "Ana"}));
    root.write("c.md", transcript("Newest", "2026-10-03", "", {"Ana", "  Bob\t", "Speaker 2", "   "}));
    using Row = MeetingStore::ParticipantSummary;
    EXPECT_EQ(MeetingStore{root.path()}.participants(), (std::vector<Row>{
                                                            {"Ana", 4, "2026-10-03", "Newest", false},
                                                            {"Bob", 2, "2026-10-03", "Newest", false},
                                                            {"Speaker", 1, "2026-10-01", "Oldest", false},
                                                            {"Speaker 12", 1, "2026-10-01", "Oldest", true},
                                                            {"Speaker 2", 1, "2026-10-03", "Newest", true},
                                                            {"Speaker 3b", 1, "2026-10-01", "Oldest", false},
                                                            {"alice", 1, "2026-10-02", "Middle", false},
                                                            {"speaker 3", 1, "2026-10-01", "Oldest", false},
                                                        }));
}

TEST(MeetingStoreParticipants, EmptyFolderAndMissingFolder) {
    test::TempFolder root;
    EXPECT_TRUE(MeetingStore{root.path()}.participants().empty());
    EXPECT_EQ(errorOf([&] { MeetingStore{root / "gone"}.participants(); }),
              Error::folderMissing(root / "gone"));
}

TEST(MeetingStoreParticipants, GenericLabelIsSpeakerThenNumericCharacters) {
    for (const char* generic : {"Speaker 1", "Speaker 007", "Speaker ٣", "Speaker Ⅻ"})
        EXPECT_TRUE(MeetingStore::isGenericSpeakerLabel(generic)) << generic;
    for (const char* person : {"Speaker", "Speaker ", "Speaker A", "speaker 3", "Speaker  3", "Speaker 3 ",
                               "Speaker -1", "Speakers 3", "SPEAKER 3"})
        EXPECT_FALSE(MeetingStore::isGenericSpeakerLabel(person)) << person;
}

} // namespace
} // namespace zelmor
