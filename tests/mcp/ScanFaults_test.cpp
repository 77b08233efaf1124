// The scan on folders in bad shape: locked files and folders, link loops, very many files,
// paths at the system's length limit, and names that are not UTF-8. One bad entry never costs
// the others.
#include "ZelmorMCP/MeetingStore.h"
#include "platform/FileSystem.h"
#include "platform/FolderListing.h"
#include "tests/mcp/StoreErrorPrinting.h"
#include "tests/support/Subprocess.h"
#include "tests/support/TempFolder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <cstdio>
#include <thread>

namespace zelmor {
namespace {

using Paths = std::vector<std::string>;

std::string transcript(const std::string& date) {
    return "---\ntitle: T\ndate: " + date + "\nsource: Zelmor\n---\n\n## Transcript\n\n**Ana:** Hi.\n";
}

Paths scanned(const MeetingStore& store) {
    Paths paths;
    for (const auto& meeting : store.scan(1)) paths.push_back(meeting.path);
    return paths;
}

std::string joined(const Paths& paths) {
    std::string text;
    for (const auto& path : paths) text += path + "\n";
    return text;
}

// Permissions do not stop the super-user, who runs these tests in CI; the scan therefore runs in
// a child that has given up that right.
TEST(ScanFaults, LockedFilesAndFoldersAreLeftOutAndTheRestListed) {
    test::TempFolder root;
    ASSERT_EQ(::chmod(root.path().c_str(), 0755), 0);
    root.write("a.md", transcript("2026-01-03"));
    root.write("locked/inner.md", transcript("2026-01-02"));
    root.write("secret.md", transcript("2026-01-04"));
    root.write("z/after.md", transcript("2026-01-01"));
    ASSERT_EQ(::chmod((root / "locked").c_str(), 0), 0);
    ASSERT_EQ(::chmod((root / "secret.md").c_str(), 0), 0);
    MeetingStore store{root.path()};

    auto outcome = test::runInChild(
        [&] {
            std::string refusal = "read";
            try {
                store.readInsideFolder(root / "secret.md");
            } catch (const MeetingStore::StoreError& error) {
                refusal =
                    error == MeetingStore::StoreError::notFound(root / "secret.md") ? "notFound" : "other";
            }
            return joined(scanned(store)) + refusal;
        },
        /*unprivileged=*/true);
    ASSERT_TRUE(outcome) << "the child failed";
    EXPECT_EQ(*outcome, joined({root / "a.md", root / "z/after.md"}) + "notFound");
}

TEST(ScanFaults, AnUnreadableTranscriptsFolderListsNothing) {
    test::TempFolder base;
    ASSERT_EQ(::chmod(base.path().c_str(), 0755), 0);
    base.write("Meetings/a.md", transcript("2026-01-01"));
    ASSERT_EQ(::chmod((base / "Meetings").c_str(), 0111), 0); // may be entered, not listed
    MeetingStore store{base / "Meetings"};
    auto outcome = test::runInChild([&] { return joined(scanned(store)) + "end"; }, /*unprivileged=*/true);
    EXPECT_EQ(outcome, "end");
}

TEST(ScanFaults, FolderLinkLoopsDoNotTrapTheWalk) {
    test::TempFolder root;
    root.write("a.md", transcript("2026-01-01"));
    ASSERT_EQ(::symlink((root / "self").c_str(), (root / "self").c_str()), 0);
    ASSERT_EQ(::symlink((root / "ping").c_str(), (root / "pong").c_str()), 0);
    ASSERT_EQ(::symlink((root / "pong").c_str(), (root / "ping").c_str()), 0);
    ASSERT_EQ(::symlink(root.path().c_str(), (root / "up").c_str()), 0);
    ASSERT_EQ(::symlink("loop.md", (root / "loop.md").c_str()), 0);
    EXPECT_EQ(scanned(MeetingStore{root.path()}), Paths{root / "a.md"});

    MeetingStore looped{root / "self"};
    try {
        looped.scan();
        ADD_FAILURE() << "a folder that is a link loop is missing";
    } catch (const MeetingStore::StoreError& error) {
        EXPECT_EQ(error, MeetingStore::StoreError::folderMissing(root / "self"));
    }
}

/// Creates the folders of `relative` below an open folder one at a time, so that the whole path
/// may be longer than the system would take at once; gives the innermost, open.
int makeFoldersAt(int folder, const Paths& names) {
    int fd = ::dup(folder);
    for (const auto& name : names) {
        if (::mkdirat(fd, name.c_str(), 0755) != 0) return -1;
        int next = ::openat(fd, name.c_str(), O_RDONLY | O_DIRECTORY);
        ::close(fd);
        fd = next;
    }
    return fd;
}

bool writeAt(int folder, const std::string& name, const std::string& contents) {
    int fd = ::openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd < 0) return false;
    bool ok = ::write(fd, contents.data(), contents.size()) == static_cast<ssize_t>(contents.size());
    return ::close(fd) == 0 && ok;
}

TEST(ScanFaults, PathsAtTheLengthLimitAreReadAndLongerOnesPassedOver) {
    test::TempFolder root;
    // Folders of 100 characters, then a file name that brings the path to PATH_MAX - 1 bytes,
    // the longest the system opens.
    size_t remaining = PATH_MAX - 1 - root.path().size();
    size_t folders = (remaining - 1 - 100) / 101;
    Paths names(folders, std::string(100, 'd'));
    std::string fileName = std::string(remaining - folders * 101 - 1 - 3, 'f') + ".md";
    std::string atLimit = root.path();
    for (const auto& name : names) atLimit += "/" + name;
    atLimit += "/" + fileName;
    ASSERT_EQ(atLimit.size(), size_t{PATH_MAX - 1});

    int top = ::open(root.path().c_str(), O_RDONLY | O_DIRECTORY);
    int inner = makeFoldersAt(top, names);
    ASSERT_GE(inner, 0);
    ASSERT_TRUE(writeAt(inner, fileName, transcript("2026-01-02")));
    int beyond = makeFoldersAt(inner, {"more"});
    ASSERT_GE(beyond, 0);
    std::string overName = std::string(200, 'o') + ".md";
    ASSERT_TRUE(writeAt(beyond, overName, transcript("2026-01-01")));
    for (int fd : {top, inner, beyond}) ::close(fd);

    MeetingStore store{root.path()};
    EXPECT_EQ(scanned(store), Paths{atLimit});
    EXPECT_EQ(store.readInsideFolder(atLimit), transcript("2026-01-02"));
    std::string over = atLimit.substr(0, atLimit.rfind('/')) + "/more/" + overName;
    ASSERT_GT(over.size(), size_t{PATH_MAX});
    try {
        store.readInsideFolder(over);
        ADD_FAILURE() << "read a path longer than the system allows";
    } catch (const MeetingStore::StoreError& error) {
        EXPECT_EQ(error, MeetingStore::StoreError::notFound(over));
    }
}

TEST(ScanFaults, NamesThatAreNotUTF8AreLeftOut) {
    test::TempFolder root;
    root.write("good.md", transcript("2026-01-01"));
    root.write("caf\xE9.md", transcript("2026-01-02"));
    root.write("bad\xFF/inner.md", transcript("2026-01-03"));
    EXPECT_EQ(scanned(MeetingStore{root.path()}), Paths{root / "good.md"});
}

} // namespace
} // namespace zelmor

namespace zelmor {
namespace {

// Files removed, recreated and rewritten while scans and searches run: each file is either left
// out or read whole as one of its versions, and no call fails.
TEST(ScanFaultsChurn, FilesThatVanishOrChangeDuringTheScanAreLeftOutOrReadWhole) {
    test::TempFolder folder;
    auto version = [](int file, int round) {
        std::string body =
            "**Ana:** round " + std::to_string(round) + " of file " + std::to_string(file) + ".\n";
        return "---\ntitle: File " + std::to_string(file) + " v" + std::to_string(round) +
               "\ndate: 2026-01-01\nsource: Zelmor\n---\n\n## Transcript\n\n" + body;
    };
    constexpr int files = 300;
    for (int i = 0; i < files; ++i) folder.write("m" + std::to_string(i) + ".md", version(i, 0));

    std::atomic<bool> done{false};
    std::thread churn([&] {
        for (int round = 1; !done; ++round) {
            for (int i = round % 3; i < files && !done; i += 3) {
                std::string path = folder / ("m" + std::to_string(i) + ".md");
                // Every other round the file is gone for a moment before it comes back.
                if (round % 2 == 0) ::unlink(path.c_str());
                platform::writeFileAtomically(path, version(i, round));
            }
        }
    });
    MeetingStore store(folder.path());
    MeetingStore::SearchFilters filters;
    filters.query = "round";
    for (int pass = 0; pass < 15; ++pass) {
        for (const auto& meeting : store.scan()) {
            ASSERT_EQ(meeting.doc.turns.size(), 1u) << meeting.path;
            EXPECT_EQ(meeting.doc.title.rfind("File ", 0), 0u) << meeting.path;
        }
        auto found = store.search(filters);
        EXPECT_LE(found.total, files);
        for (const auto& hit : found.hits) EXPECT_EQ(hit.matchCount, 1) << hit.meeting.path;
    }
    done = true;
    churn.join();
    EXPECT_EQ(store.scan().size(), static_cast<size_t>(files));
}

} // namespace
} // namespace zelmor
