// Planning which text twins may go, and moving them into a freedesktop.org trash in a temporary home.
#include "ZelmorMarkdownKit/TxtTwinTidy.h"
#include "platform/FileSystem.h"
#include "tests/kit/ImportTestSupport.h"

#include <gtest/gtest.h>

#include <regex>

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
    EXPECT_EQ(TxtTwinTidy::plan(folder.path()), (std::vector<std::string>{folder / "a.txt", folder / "sub/b.txt"}));
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

TEST_F(TxtTwinTidyTest, TrashMovesFilesAndRecordsWhereTheyCameFrom) {
    std::string twin = folder.write("Weekly sync #3.txt", twinText);
    EXPECT_EQ(TxtTwinTidy::trash({twin}, {home.path(), std::nullopt}), 1u);
    EXPECT_FALSE(platform::exists(twin));
    std::string trash = home / ".local/share/Trash";
    EXPECT_EQ(readFile(trash + "/files/Weekly sync #3.txt"), twinText);
    std::string info = readFile(trash + "/info/Weekly sync #3.txt.trashinfo");
    std::string encoded = folder.path() + "/Weekly%20sync%20%233.txt";
    std::regex expected("\\[Trash Info\\]\nPath=" + std::regex_replace(encoded, std::regex(R"([.^$|()\[\]{}*+?\\])"), R"(\$&)") +
                        "\nDeletionDate=\\d{4}-\\d{2}-\\d{2}T\\d{2}:\\d{2}:\\d{2}\n");
    EXPECT_TRUE(std::regex_match(info, expected)) << info;
}

TEST_F(TxtTwinTidyTest, TrashNamesCollisionsUniquely) {
    std::string first = folder.write("a/notes.txt", "one");
    std::string second = folder.write("b/notes.txt", "two");
    std::string third = folder.write("c/notes.txt", "three");
    EXPECT_EQ(TxtTwinTidy::trash({first, second, third}, {home.path(), std::nullopt}), 3u);
    std::string files = home / ".local/share/Trash/files/";
    EXPECT_EQ(readFile(files + "notes.txt"), "one");
    EXPECT_EQ(readFile(files + "notes.2.txt"), "two");
    EXPECT_EQ(readFile(files + "notes.3.txt"), "three");
    EXPECT_TRUE(platform::exists(home / ".local/share/Trash/info/notes.3.txt.trashinfo"));
}

TEST_F(TxtTwinTidyTest, TrashUsesTheDataHomeWhenGiven) {
    std::string twin = folder.write("x.txt", "x");
    EXPECT_EQ(TxtTwinTidy::trash({twin}, {home.path(), home / "data"}), 1u);
    EXPECT_EQ(readFile(home / "data/Trash/files/x.txt"), "x");
    // A relative data home is not valid and falls back to the home's.
    std::string other = folder.write("y.txt", "y");
    EXPECT_EQ(TxtTwinTidy::trash({other}, {home.path(), "relative/data"}), 1u);
    EXPECT_EQ(readFile(home / ".local/share/Trash/files/y.txt"), "y");
}

TEST_F(TxtTwinTidyTest, TrashCountsOnlyWhatMovedAndGoesOnPastFailures) {
    EXPECT_EQ(TxtTwinTidy::trash({}, {home.path(), std::nullopt}), 0u);
    std::string kept = folder.write("kept.txt", "k");
    EXPECT_EQ(TxtTwinTidy::trash({folder / "gone.txt", kept}, {home.path(), std::nullopt}), 1u);
    EXPECT_FALSE(platform::exists(home / ".local/share/Trash/info/gone.txt.trashinfo"));
}

} // namespace
} // namespace zelmor
