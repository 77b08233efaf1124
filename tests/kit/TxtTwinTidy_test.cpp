// Planning which text twins may go, and moving them into the trash of a temporary home.
#include "ZelmorMarkdownKit/import/TxtTwinTidy.h"
#include "platform/FileSystem.h"
#include "platform/FolderListing.h"
#include "tests/kit/ImportTestSupport.h"

#include <gtest/gtest.h>

#include <set>

namespace zelmor {
namespace {

using test::readFile;
using test::TempFolder;

const std::string twinText = "---\ntitle: Sync\nsource: Zelmor\n---\n";

class TxtTwinTidyTest : public testing::Test {
protected:
    TempFolder folder;
    TempFolder home;
};

TEST_F(TxtTwinTidyTest, PlansMarkedTextFilesBesideMarkdownOfTheSameStem) {
    folder.write("a.md", twinText);
    folder.write("a.txt", twinText);
    folder.write("sub/b.md", twinText);
    folder.write("sub/b.txt", "notes\nsource: Zelmor");
    EXPECT_EQ(TxtTwinTidy::plan(folder.path()),
              (std::vector<std::string>{folder / "a.txt", folder / "sub/b.txt"}));
}

TEST_F(TxtTwinTidyTest, NeverPlansLoneUnmarkedCaseDifferentOrHiddenFiles) {
    folder.write("lone.txt", twinText);
    folder.write("mine.md", twinText);
    folder.write("mine.txt", "my own notes\n");
    folder.write("upper.md", twinText);
    folder.write("upper.TXT", twinText);
    folder.write("lower.MD", twinText);
    folder.write("lower.txt", twinText);
    folder.write("elsewhere.md", twinText);
    folder.write("other/elsewhere.txt", twinText);
    folder.write(".hidden/h.md", twinText);
    folder.write(".hidden/h.txt", twinText);
    folder.write(".dot.md", twinText);
    folder.write(".dot.txt", twinText);
    EXPECT_TRUE(TxtTwinTidy::plan(folder.path()).empty());
    EXPECT_TRUE(TxtTwinTidy::plan(folder / "missing").empty());
}

TEST_F(TxtTwinTidyTest, TheMarkerIsLiteral) {
    EXPECT_TRUE(TxtTwinTidy::isZelmorTwin("x source: Zelmor y"));
    EXPECT_FALSE(TxtTwinTidy::isZelmorTwin("source:  Zelmor"));
    EXPECT_FALSE(TxtTwinTidy::isZelmorTwin("Source: Zelmor"));
}

TEST_F(TxtTwinTidyTest, TrashMovesEveryFileEvenWhenNamesCollide) {
    std::string first = folder.write("a/notes.txt", "one");
    std::string second = folder.write("b/notes.txt", "two");
    std::string third = folder.write("c/notes.txt", "three");
    platform::TrashOwner owner{home.path(), std::nullopt};
    EXPECT_EQ(TxtTwinTidy::trash({first, second, third}, owner), 3u);
    EXPECT_FALSE(platform::exists(first) || platform::exists(second) || platform::exists(third));
    auto trashed = platform::listFilesRecursively(platform::trashedFilesFolder(owner));
    ASSERT_TRUE(trashed.has_value());
    std::multiset<std::string> contents;
    for (const std::string& path : *trashed) contents.insert(readFile(path));
    EXPECT_EQ(contents, (std::multiset<std::string>{"one", "three", "two"}));
}

TEST_F(TxtTwinTidyTest, TrashCountsOnlyWhatMovedAndGoesOnPastFailures) {
    platform::TrashOwner owner{home.path(), std::nullopt};
    EXPECT_EQ(TxtTwinTidy::trash({}, owner), 0u);
    std::string kept = folder.write("kept.txt", "k");
    EXPECT_EQ(TxtTwinTidy::trash({folder / "gone.txt", kept}, owner), 1u);
    EXPECT_EQ(readFile(platform::trashedFilesFolder(owner) + "/kept.txt"), "k");
}

} // namespace
} // namespace zelmor
