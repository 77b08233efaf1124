// Paths an agent (or another program sharing the folder) might use to read what it should not,
// or to make a read hang: links, odd bytes, odd file kinds, and files swapped mid-read.
#include "ZelmorMCP/MeetingStore.h"
#include "platform/FileSystem.h"
#include "tests/mcp/StoreErrorPrinting.h"
#include "tests/support/TempFolder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

namespace zelmor {

namespace {

using Error = MeetingStore::StoreError;

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
    std::optional<Error> resolveRefusal(const std::string& path) {
        try {
            store.resolveInsideFolder(path);
        } catch (const Error& error) {
            return error;
        }
        return std::nullopt;
    }
};

TEST_F(HostilePaths, ChainsOfLinksAreFollowedToTheirLastHop) {
    link(root + "/sub/a.md", root + "/two.md");
    link(root + "/two.md", root + "/one.md");
    EXPECT_EQ(store.resolveInsideFolder(root + "/one.md"), root + "/sub/a.md");
    EXPECT_EQ(store.readInsideFolder(root + "/one.md"), "inside\n");

    link(outside + "/secret.md", root + "/hop2.md");
    link(root + "/hop2.md", root + "/hop1.md");
    EXPECT_EQ(readRefusal(root + "/hop1.md"), Error::outsideFolder(root + "/hop1.md"));
    link(outside, root + "/folderlink");
    link(root + "/folderlink", root + "/folderlink2");
    EXPECT_EQ(readRefusal(root + "/folderlink2/secret.md"),
              Error::outsideFolder(root + "/folderlink2/secret.md"));

    // Relative targets count from the link's own folder, dot-dot included.
    link("../sub/./a.md", root + "/sub/again.md");
    EXPECT_EQ(store.resolveInsideFolder(root + "/sub/again.md"), root + "/sub/a.md");
    link("../../Elsewhere/secret.md", root + "/sub/up.md");
    EXPECT_EQ(readRefusal(root + "/sub/up.md"), Error::outsideFolder(root + "/sub/up.md"));
}

TEST_F(HostilePaths, TheScanListsOnlyLinksThatCouldBeRead) {
    const std::string meeting =
        "---\ntitle: Linked\ndate: 2026-01-01\nparticipants:\n  - Mallory\nsource: Zelmor\n---\n";
    base.write("Elsewhere/outside.md", meeting);
    base.write("Meetings/memory/Skills/skill.md", meeting);
    base.write("Meetings/sub/inside.md", meeting);
    base.write("Elsewhere/notes.txt", meeting);
    link(outside + "/outside.md", root + "/out.md");
    link(root + "/memory/Skills/skill.md", root + "/skill.md");
    link(root + "/sub/inside.md", root + "/in.md");
    link(outside + "/notes.txt", root + "/text.md");
    std::vector<std::string> listed;
    for (const auto& found : store.scanHeaders()) listed.push_back(found.path);
    EXPECT_EQ(listed, (std::vector<std::string>{root + "/sub/inside.md", root + "/in.md"}));
    EXPECT_EQ(MeetingStore::participantsOf(store.scanHeaders()).front().meetingCount, 2);
}

TEST_F(HostilePaths, LoopsAndDanglingLinksAreNotFoundAndNeverFollowedLater) {
    link(root + "/loop2.md", root + "/loop.md");
    link(root + "/loop.md", root + "/loop2.md");
    EXPECT_EQ(store.resolveInsideFolder(root + "/loop.md"), root + "/loop.md") << "kept as written";
    EXPECT_EQ(readRefusal(root + "/loop.md"), Error::notFound(root + "/loop.md"));

    link(root + "/b", root + "/a");
    link(root + "/a", root + "/b");
    EXPECT_EQ(readRefusal(root + "/a/x.md"), Error::notFound(root + "/a/x.md"));

    link(root + "/nowhere.md", root + "/gone.md");
    EXPECT_EQ(readRefusal(root + "/gone.md"), Error::notFound(root + "/gone.md"));

    // Dangling while checked; once its target exists outside, the same path is outside.
    link(outside + "/later.md", root + "/later.md");
    EXPECT_EQ(readRefusal(root + "/later.md"), Error::notFound(root + "/later.md"));
    base.write("Elsewhere/later.md", "later\n");
    EXPECT_EQ(readRefusal(root + "/later.md"), Error::outsideFolder(root + "/later.md"));
}

TEST_F(HostilePaths, NulCharacterNeverShortensThePath) {
    std::string nul(1, '\0');
    std::string pointsOut = outside + "/secret.md" + nul + root + "/sub/a.md";
    EXPECT_EQ(readRefusal(pointsOut), Error::outsideFolder(pointsOut));
    std::string trailing = root + "/sub/a.md" + nul;
    EXPECT_EQ(readRefusal(trailing), Error::notMarkdown(trailing));
    std::string climbs = root + "/sub/a.md" + nul + "/../../../Elsewhere/secret.md";
    EXPECT_EQ(readRefusal(climbs), Error::outsideFolder(climbs)) << "dot-dot after a NUL still counts";
    EXPECT_EQ(platform::readFile(root + "/sub/a.md" + nul + "x"), std::nullopt);
}

TEST_F(HostilePaths, NamesAreBytesNeverDecodedEscapes) {
    base.write("Meetings/caf\xE9.md", "latin\n");
    EXPECT_EQ(store.readInsideFolder(root + "/caf\xE9.md"), "latin\n");
    EXPECT_EQ(readRefusal(root + "/caf%E9.md"), Error::notFound(root + "/caf%E9.md"));
    EXPECT_EQ(readRefusal(root + "/caf\u00e9.md"), Error::notFound(root + "/caf\u00e9.md"));
    EXPECT_EQ(readRefusal(root + "/%2e%2e/Elsewhere/secret.md"),
              Error::notFound(root + "/%2e%2e/Elsewhere/secret.md"));
}

TEST_F(HostilePaths, PathsLongerThanTheSystemAllowsAreRefusedCleanly) {
    // 3,000 folders that really nest: walking them once for each shorter prefix took minutes.
    std::string deep = root;
    std::vector<int> folders{::open(root.c_str(), O_RDONLY | O_DIRECTORY)};
    for (int i = 0; i < 3000; ++i, deep += "/d") {
        ASSERT_EQ(::mkdirat(folders.back(), "d", 0755), 0);
        folders.push_back(::openat(folders.back(), "d", O_RDONLY | O_DIRECTORY));
    }
    std::string shallower = deep.substr(0, root.size() + 2 * 1500) + "/x.md";
    deep += "/x.md";
    ASSERT_GT(deep.size(), size_t{PATH_MAX});
    EXPECT_EQ(store.resolveInsideFolder(deep), deep);
    EXPECT_EQ(readRefusal(deep), Error::notFound(deep));
    EXPECT_EQ(readRefusal(shallower), Error::notFound(shallower));
    // Too deep for the folder's own removal by path: taken down from the inside out.
    for (size_t i = folders.size() - 1; i > 0; --i) {
        ::close(folders[i]);
        ::unlinkat(folders[i - 1], "d", AT_REMOVEDIR);
    }
    ::close(folders[0]);

    std::string climbing = root;
    for (int i = 0; i < 2000; ++i) climbing += "/x/..";
    climbing += "/../Elsewhere/secret.md";
    EXPECT_EQ(readRefusal(climbing), Error::outsideFolder(climbing));

    std::string longName = root + "/" + std::string(1000, 'n') + ".md";
    EXPECT_EQ(readRefusal(longName), Error::notFound(longName));
}

TEST_F(HostilePaths, FilesLargerThanAnyTranscriptAreLeftOutAndNotRead) {
    // A real header, then a sparse gigabyte: reading it whole would take the memory of many scans.
    std::string huge =
        base.write("Meetings/huge.md", "---\ntitle: Huge\ndate: 2026-01-01\nsource: Zelmor\n---\n");
    ASSERT_EQ(::truncate(huge.c_str(), off_t{1} << 30), 0);
    EXPECT_EQ(store.scan(), std::vector<MeetingStore::Meeting>{});
    EXPECT_EQ(readRefusal(huge), Error::notFound(huge));
}

TEST_F(HostilePaths, FoldersFifosAndSocketsNamedMarkdownAreNotFoundWithoutBlocking) {
    base.makeFolder("Meetings/folder.md");
    ASSERT_EQ(::mkfifo((root + "/fifo.md").c_str(), 0644), 0);
    int sock = ::socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_GE(sock, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::string socketPath = root + "/socket.md";
    ASSERT_LT(socketPath.size(), sizeof address.sun_path);
    std::memcpy(address.sun_path, socketPath.c_str(), socketPath.size() + 1);
    ASSERT_EQ(::bind(sock, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    link(root + "/fifo.md", root + "/to-fifo.md");

    for (const char* name : {"/folder.md", "/fifo.md", "/socket.md", "/to-fifo.md"})
        EXPECT_EQ(readRefusal(root + name), Error::notFound(root + name));
    base.write("Meetings/real.md", "---\ndate: 2026-01-01\nsource: Zelmor\n---\n");
    std::vector<std::string> listed;
    for (const auto& meeting : store.scan()) listed.push_back(meeting.path);
    EXPECT_EQ(listed, std::vector<std::string>{root + "/real.md"});
    ::close(sock);
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

TEST_F(HostilePaths, ComposedAndDecomposedNamesAreDistinctUnlessTheFileSystemFoldsThem) {
    const std::string composed = "Caf\u00e9.md";    // é as one code point
    const std::string decomposed = "Cafe\u0301.md"; // e and a combining acute
    base.write("Meetings/" + decomposed, "decomposed\n");
    bool folds = platform::exists(root + "/" + composed);
    EXPECT_EQ(store.readInsideFolder(root + "/" + decomposed), "decomposed\n");
    if (folds) {
        EXPECT_EQ(store.readInsideFolder(root + "/" + composed), "decomposed\n");
    } else {
        EXPECT_EQ(readRefusal(root + "/" + composed), Error::notFound(root + "/" + composed));
        base.write("Meetings/" + composed, "composed\n");
        EXPECT_EQ(store.readInsideFolder(root + "/" + composed), "composed\n");
        EXPECT_EQ(store.readInsideFolder(root + "/" + decomposed), "decomposed\n");
    }
}

TEST_F(HostilePaths, SkillsFolderInAnyCaseAndBehindLinksIsRefused) {
    base.write("Meetings/memory/SKILLS/s.md", "skill\n");
    EXPECT_EQ(readRefusal(root + "/memory/SKILLS/s.md"), Error::skillFile(root + "/memory/SKILLS/s.md"));
    EXPECT_EQ(readRefusal(root + "/mEmOrY/sKiLlS/s.md"), Error::skillFile(root + "/mEmOrY/sKiLlS/s.md"));
    link(root + "/memory/SKILLS/s.md", root + "/alias.md");
    EXPECT_EQ(readRefusal(root + "/alias.md"), Error::skillFile(root + "/alias.md"));
    link(root + "/memory/SKILLS", root + "/tips");
    EXPECT_EQ(readRefusal(root + "/tips/s.md"), Error::skillFile(root + "/tips/s.md"));
}

} // namespace
} // namespace zelmor
