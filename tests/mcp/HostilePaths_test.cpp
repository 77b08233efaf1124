// Paths an agent or another program might use to read what it should not, or to make a read or a
// scan hang or fail: the gate's order, links, loops, odd bytes and file kinds, overlong paths,
// locks, swaps mid-read.
#include "ZelmorMCP/MeetingStore.h"
#include "platform/FileSystem.h"
#include "tests/support/Subprocess.h"
#include "tests/support/TempFolder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zelmor {
namespace {

using Error = MeetingStore::StoreError;
using Paths = std::vector<std::string>;

const std::string transcript = "---\ndate: 2026-01-01\nparticipants:\n  - Mallory\nsource: Zelmor\n---\n";

class HostilePaths : public testing::Test {
protected:
    test::TempFolder base;
    std::string root = base.makeFolder("Meetings");
    std::string outside = base.makeFolder("Elsewhere");
    MeetingStore store{root};

    void SetUp() override {
        base.write("Meetings/sub/a.md", "inside\n");
        base.write("Elsewhere/secret.md", "secret\n");
    }
    void link(const std::string& target, const std::string& at) {
        ASSERT_EQ(::symlink(target.c_str(), at.c_str()), 0) << at;
    }
    std::optional<Error> readRefusal(const std::string& path) {
        try {
            store.readInsideFolder(path);
        } catch (const Error& error) {
            return error;
        }
        return std::nullopt;
    }
    Paths scanned() {
        Paths paths;
        for (const auto& meeting : store.scan()) paths.push_back(meeting.path);
        return paths;
    }
};

TEST_F(HostilePaths, GateRefusesOutsideThenNotMarkdownThenSkillsAndTakesLinksAndRelativePathsInside) {
    const std::string a = root + "/sub/a.md";
    link(a, base / "in.md");
    link(root, base / "alias");
    for (const std::string& path : {base / "in.md", base / "alias/sub/a.md"}) // from outside, pointing in
        EXPECT_EQ(store.resolveInsideFolder(path), a) << path;
    EXPECT_EQ(MeetingStore{base / "alias"}.resolveInsideFolder(a), a) << "a linked folder";
    base.write("Meetings/latin1.md", "caf\xE9\n");
    for (auto [path, error] : std::vector<std::pair<std::string, Error>>{
             {root + "/.md", Error::notMarkdown("")},
             {root + "/memory/skills/s.txt", Error::notMarkdown("")}, // before it counts as a skill
             {root + "/latin1.md", Error::notFound("")}})             // text that is not UTF-8
        EXPECT_EQ(readRefusal(path), (Error{error.kind, path}));
    // Relative paths start at the working folder.
    const std::string saved = platform::currentDirectory();
    ASSERT_EQ(::chdir(root.c_str()), 0);
    const std::string inside = store.resolveInsideFolder("sub/a.md");
    const auto up = readRefusal("../b.md");
    ASSERT_EQ(::chdir(saved.c_str()), 0);
    EXPECT_EQ(inside, a);
    EXPECT_EQ(up, Error::outsideFolder("../b.md"));
    // Serving the root of the disk lets nothing be read: containment needs the root followed by
    // "/", and no resolved path starts with "//".
    store.folder = "/";
    EXPECT_EQ(readRefusal(a), Error::outsideFolder(a));
    EXPECT_EQ(readRefusal("/"), Error::notMarkdown("/")) << "the root itself";
}

TEST_F(HostilePaths, ChainsOfLinksAreFollowedToTheirLastHop) {
    link(root + "/sub/a.md", root + "/two.md");
    link(root + "/two.md", root + "/one.md");
    EXPECT_EQ(store.resolveInsideFolder(root + "/one.md"), root + "/sub/a.md");
    EXPECT_EQ(store.readInsideFolder(root + "/one.md"), "inside\n");
    link(outside + "/secret.md", root + "/hop2.md");
    link(root + "/hop2.md", root + "/hop1.md");
    // Relative targets count from the link's own folder, dot-dot included.
    link("../sub/./a.md", root + "/sub/again.md");
    EXPECT_EQ(store.resolveInsideFolder(root + "/sub/again.md"), root + "/sub/a.md");
    link("../../Elsewhere/secret.md", root + "/sub/up.md");
    for (const char* path : {"/hop1.md", "/sub/up.md"})
        EXPECT_EQ(readRefusal(root + path), Error::outsideFolder(root + path));
    // A link into the skills folder, in any case, is a skill.
    base.write("Meetings/memory/SKILLS/s.md", "skill\n");
    link(root + "/memory/SKILLS/s.md", root + "/tips.md");
    EXPECT_EQ(readRefusal(root + "/tips.md"), Error::skillFile(root + "/tips.md"));
}

TEST_F(HostilePaths, TheScanListsOnlyLinksThatCouldBeRead) {
    for (const char* path : {"Elsewhere/outside.md", "Elsewhere/folder/far.md", "Elsewhere/notes.txt",
                             "Meetings/memory/Skills/skill.md", "Meetings/sub/inside.md"})
        base.write(path, transcript);
    link(outside + "/outside.md", root + "/out.md");
    link(outside + "/folder", root + "/folder"); // folders are never entered through links
    link(root + "/memory/Skills/skill.md", root + "/skill.md");
    link(root + "/sub/inside.md", root + "/in.md");
    link(outside + "/notes.txt", root + "/text.md");
    EXPECT_EQ(scanned(), (Paths{root + "/sub/inside.md", root + "/in.md"}));
}

TEST_F(HostilePaths, LoopsDanglingLinksHugeFilesFoldersAndFifosAreNotFoundLeftOutAndNeverWaitedOn) {
    base.write("Meetings/real.md", transcript);
    link(root + "/self", root + "/self"); // a folder that links to itself
    link(root + "/loop2.md", root + "/loop.md");
    link(root + "/loop.md", root + "/loop2.md");
    link(root + "/b", root + "/a");
    link(root + "/a", root + "/b");
    link(root + "/nowhere.md", root + "/gone.md");
    // A real header, then a sparse gigabyte: reading it whole would take the memory of many scans.
    ASSERT_EQ(::truncate(base.write("Meetings/huge.md", transcript).c_str(), off_t{1} << 30), 0);
    base.makeFolder("Meetings/folder.md");
    ASSERT_EQ(::mkfifo((root + "/fifo.md").c_str(), 0644), 0);
    link(root + "/fifo.md", root + "/to-fifo.md");
    EXPECT_EQ(scanned(), Paths{root + "/real.md"});
    EXPECT_THROW(MeetingStore{root + "/self"}.scan(), Error) << "a folder that is a link loop is missing";
    EXPECT_EQ(store.resolveInsideFolder(root + "/loop.md"), root + "/loop.md") << "kept as written";
    for (const char* path :
         {"/loop.md", "/a/x.md", "/gone.md", "/huge.md", "/folder.md", "/fifo.md", "/to-fifo.md"})
        EXPECT_EQ(readRefusal(root + path), Error::notFound(root + path));
    // Dangling while checked; once its target exists outside, the same path is outside.
    link(outside + "/later.md", root + "/later.md");
    EXPECT_EQ(readRefusal(root + "/later.md"), Error::notFound(root + "/later.md"));
    base.write("Elsewhere/later.md", "later\n");
    EXPECT_EQ(readRefusal(root + "/later.md"), Error::outsideFolder(root + "/later.md"));
}

TEST_F(HostilePaths, NulCharacterNeverShortensThePath) {
    std::string nul(1, '\0'), a = root + "/sub/a.md";
    for (auto [path, error] : std::vector<std::pair<std::string, Error>>{
             {outside + "/secret.md" + nul + a, Error::outsideFolder("")},
             {a + nul, Error::notMarkdown("")},
             {a + nul + ".md", Error::notFound("")},
             {a + nul + "/../../../Elsewhere/secret.md",
              Error::outsideFolder("")}}) // dot-dot after a NUL counts
        EXPECT_EQ(readRefusal(path), (Error{error.kind, path}));
}

TEST_F(HostilePaths, NamesAreBytesNeverDecodedEscapesNorNormalisedAndTheScanListsOnlyUTF8Ones) {
    // The Latin-1 name can be read when asked for, but no agent could be shown it or send it back.
    base.write("Meetings/caf\xE9.md", transcript);
    base.write("Meetings/bad\xFF/inner.md", transcript);
    base.write("Meetings/cafe\u0301.md", "decomposed\n"); // e and a combining acute
    EXPECT_EQ(store.readInsideFolder(root + "/caf\xE9.md"), transcript);
    EXPECT_EQ(store.readInsideFolder(root + "/cafe\u0301.md"), "decomposed\n");
    EXPECT_EQ(scanned(), Paths{});
    // é as one code point is another name, unless the file system folds the two.
    bool folds = platform::exists(root + "/caf\u00e9.md");
    for (const char* path :
         {"/caf%E9.md", folds ? "/caf%E9.md" : "/caf\u00e9.md", "/%2e%2e/Elsewhere/secret.md"})
        EXPECT_EQ(readRefusal(root + path), Error::notFound(root + path));
}

TEST_F(HostilePaths, PathsAtTheSystemsLimitAreReadAndLongerOnesRefusedCleanly) {
    // 3,000 folders that really nest: walking them once for each shorter prefix took minutes.
    std::string deep = root;
    std::vector<int> folders{::open(root.c_str(), O_RDONLY | O_DIRECTORY)};
    for (int i = 0; i < 3000; ++i, deep += "/d") {
        ASSERT_EQ(::mkdirat(folders.back(), "d", 0755), 0);
        folders.push_back(::openat(folders.back(), "d", O_RDONLY | O_DIRECTORY));
    }
    // A transcript whose path is PATH_MAX - 1 bytes, the longest the system opens, and one far beyond.
    size_t depth = (PATH_MAX - 1 - root.size() - 100) / 2;
    std::string name = std::string(PATH_MAX - 1 - root.size() - 2 * depth - 4, 'f') + ".md";
    std::string atLimit = deep.substr(0, root.size() + 2 * depth) + "/" + name;
    ASSERT_EQ(atLimit.size(), size_t{PATH_MAX - 1});
    for (auto [folder, file] : {std::pair{folders[depth], name}, {folders.back(), std::string("x.md")}}) {
        int fd = ::openat(folder, file.c_str(), O_WRONLY | O_CREAT, 0644);
        ASSERT_EQ(::write(fd, transcript.data(), transcript.size()), static_cast<ssize_t>(transcript.size()));
        ::close(fd);
    }
    EXPECT_EQ(scanned(), Paths{atLimit});
    EXPECT_EQ(store.readInsideFolder(atLimit), transcript);
    std::string shallower = deep.substr(0, root.size() + 2 * 1500) + "/x.md";
    deep += "/x.md";
    EXPECT_EQ(store.resolveInsideFolder(deep), deep);
    for (const std::string& path : {deep, shallower, root + "/" + std::string(1000, 'n') + ".md"})
        EXPECT_EQ(readRefusal(path), Error::notFound(path));
    // Too deep for the folder's own removal by path: taken down from the inside out.
    ::unlinkat(folders[depth], name.c_str(), 0);
    ::unlinkat(folders.back(), "x.md", 0);
    for (size_t i = folders.size() - 1; i > 0; --i) {
        ::close(folders[i]);
        ::unlinkat(folders[i - 1], "d", AT_REMOVEDIR);
    }
    ::close(folders[0]);
}

// Permissions do not stop the super-user, who runs these tests in CI; the scan and the read
// therefore run in a child that has given up that right.
TEST_F(HostilePaths, LockedFilesAndFoldersAreLeftOutAndTheRestListed) {
    for (const char* path : {"Meetings/a.md", "Meetings/locked/inner.md", "Meetings/secret.md",
                             "Meetings/z/b.md", "Meetings/unlisted/c.md"})
        base.write(path, transcript);
    for (const std::string& open : {base.path(), root}) ASSERT_EQ(::chmod(open.c_str(), 0755), 0);
    ASSERT_EQ(::chmod((root + "/locked").c_str(), 0), 0);
    ASSERT_EQ(::chmod((root + "/secret.md").c_str(), 0), 0);
    ASSERT_EQ(::chmod((root + "/unlisted").c_str(), 0111), 0); // may be entered, not listed
    auto outcome = test::runInChild(
        [&] {
            std::string found =
                readRefusal(root + "/secret.md") == Error::notFound(root + "/secret.md") ? "refused\n" : "";
            for (const std::string& path : scanned()) found += path + "\n";
            return found + std::to_string(MeetingStore{root + "/unlisted"}.scan().size());
        },
        /*unprivileged=*/true);
    EXPECT_EQ(outcome, "refused\n" + root + "/z/b.md\n" + root + "/a.md\n0");
}

// The store checks a path and then reads it; these swaps happen in between. The read opens the
// checked path without following links and only accepts the very file that was checked.
TEST_F(HostilePaths, FileSwappedAfterTheCheckIsNotRead) {
    std::string file = root + "/sub/a.md";
    auto checked = platform::regularFileIdentity(file);
    ASSERT_TRUE(checked);
    EXPECT_EQ(platform::readFileWithoutLinks(file, *checked), "inside\n");
    ASSERT_EQ(::rename(file.c_str(), (root + "/sub/a-old.md").c_str()), 0);
    link(outside + "/secret.md", file);
    EXPECT_EQ(platform::readFileWithoutLinks(file, *checked), std::nullopt) << "a link in its place";
    ASSERT_EQ(::unlink(file.c_str()), 0);
    base.write("Meetings/sub/a.md", "inside\n");
    EXPECT_EQ(platform::readFileWithoutLinks(file, *checked), std::nullopt)
        << "another file of the same text";

    auto again = platform::regularFileIdentity(file);
    ASSERT_TRUE(again);
    ASSERT_EQ(::rename((root + "/sub").c_str(), (root + "/sub-old").c_str()), 0);
    base.write("Elsewhere/sub/a.md", "secret\n");
    link(outside + "/sub", root + "/sub");
    EXPECT_EQ(platform::readFileWithoutLinks(file, *again), std::nullopt)
        << "a folder on the way became a link";
    EXPECT_EQ(platform::readFileWithoutLinks(root + "/sub-old/../sub-old/a.md", *again), std::nullopt)
        << "dot-dot is never walked";
    EXPECT_EQ(platform::readFileWithoutLinks(root + "/sub-old/a.md", *again), "inside\n")
        << "the same file, moved";
}

} // namespace
} // namespace zelmor
