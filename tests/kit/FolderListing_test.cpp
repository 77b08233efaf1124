// The recursive folder walk on a real disk: what is listed, what is skipped, and in what order.
#include "platform/FolderListing.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zelmor {
namespace {

using Paths = std::vector<std::string>;

TEST(FolderListing, DepthFirstInByteOrderSkippingHiddenNames) {
    test::TempFolder root;
    root.write("b.md", "");
    root.write("a/z.txt", "");
    root.write("a/b/c.md", "");
    root.write("B.md", "");
    root.write(".hidden.md", "");
    root.write(".git/objects/x.md", "");
    root.write("a/.cache/y.md", "");
    root.makeFolder("empty");
    EXPECT_EQ(platform::listFilesRecursively(root.path()),
              (Paths{root / "B.md", root / "a/b/c.md", root / "a/z.txt", root / "b.md"}));
    EXPECT_EQ(platform::listFilesRecursively(root.path() + "/"), platform::listFilesRecursively(root.path()));
}

TEST(FolderListing, LinksToFilesListedLinksToFoldersNeverFollowed) {
    test::TempFolder root, elsewhere;
    elsewhere.write("outside.md", "");
    elsewhere.write("sub/deep.md", "");
    root.write("real.md", "");
    ASSERT_EQ(::symlink((elsewhere / "outside.md").c_str(), (root / "file-link.md").c_str()), 0);
    ASSERT_EQ(::symlink(elsewhere.path().c_str(), (root / "folder-link").c_str()), 0);
    ASSERT_EQ(::symlink(root.path().c_str(), (root / "cycle").c_str()), 0);
    ASSERT_EQ(::symlink((root / "missing.md").c_str(), (root / "dangling.md").c_str()), 0);
    ASSERT_EQ(::mkfifo((root / "pipe.md").c_str(), 0644), 0);
    ASSERT_EQ(::mkfifo((root / "pipe-target").c_str(), 0644), 0);
    ASSERT_EQ(::symlink((root / "pipe-target").c_str(), (root / "pipe-link.md").c_str()), 0);
    EXPECT_EQ(platform::listFilesRecursively(root.path()), (Paths{root / "file-link.md", root / "real.md"}));
}

TEST(FolderListing, TheRootMayBeALinkToAFolder) {
    test::TempFolder base;
    base.write("real/a.md", "");
    ASSERT_EQ(::symlink((base / "real").c_str(), (base / "alias").c_str()), 0);
    EXPECT_EQ(platform::listFilesRecursively(base / "alias"), Paths{base / "alias/a.md"});
}

TEST(FolderListing, NoDepthLimit) {
    test::TempFolder root;
    std::string relative;
    for (int level = 0; level < 100; ++level) relative += "d/";
    root.write(relative + "bottom.md", "");
    EXPECT_EQ(platform::listFilesRecursively(root.path()), Paths{root / (relative + "bottom.md")});
}

TEST(FolderListing, AnUnreadableSubfolderDoesNotStopTheWalk) {
    test::TempFolder root;
    root.write("a.md", "");
    root.write("locked/inner.md", "");
    root.write("z/after.md", "");
    ASSERT_EQ(::chmod((root / "locked").c_str(), 0), 0);
    auto listed = platform::listFilesRecursively(root.path());
    ::chmod((root / "locked").c_str(), 0755);
    ASSERT_TRUE(listed.has_value());
    // The super-user reads the locked folder anyway; everyone else passes over it.
    Paths expected = {root / "a.md", root / "z/after.md"};
    if (::geteuid() == 0) expected.insert(expected.begin() + 1, root / "locked/inner.md");
    EXPECT_EQ(*listed, expected);
}

TEST(FolderListing, NothingWhenTheFolderCannotBeRead) {
    test::TempFolder root;
    root.write("file.md", "");
    EXPECT_FALSE(platform::listFilesRecursively(root / "missing"));
    EXPECT_FALSE(platform::listFilesRecursively(root / "file.md"));
    ASSERT_EQ(::mkfifo((root / "pipe").c_str(), 0644), 0);
    EXPECT_FALSE(platform::listFilesRecursively(root / "pipe")) << "and a FIFO is not waited on";
}

} // namespace
} // namespace zelmor
