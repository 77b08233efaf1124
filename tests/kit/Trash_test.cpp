// The freedesktop.org trash layout that Linux file managers restore from, in a temporary home.
#include "platform/FileSystem.h"
#include "platform/Trash.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <regex>

namespace zelmor {
namespace {

using test::readFile;
using test::TempFolder;

#if defined(__linux__)

class FreedesktopTrashTest : public testing::Test {
protected:
    TempFolder folder;
    TempFolder home;
};

TEST_F(FreedesktopTrashTest, FileGoesToFilesAndInfoRecordsItsEncodedPathAndLocalTime) {
    std::string file = folder.write("Weekly sync #3 ü.txt", "twin");
    auto moved = platform::moveToTrash(file, {home.path(), std::nullopt});
    std::string trash = home / ".local/share/Trash";
    EXPECT_EQ(moved, trash + "/files/Weekly sync #3 ü.txt");
    EXPECT_FALSE(platform::exists(file));
    EXPECT_EQ(readFile(trash + "/files/Weekly sync #3 ü.txt"), "twin");
    std::string info = readFile(trash + "/info/Weekly sync #3 ü.txt.trashinfo");
    std::string prefix =
        "[Trash Info]\nPath=" + folder.path() + "/Weekly%20sync%20%233%20%C3%BC.txt\nDeletionDate=";
    ASSERT_EQ(info.substr(0, prefix.size()), prefix);
    EXPECT_TRUE(
        std::regex_match(info.substr(prefix.size()), std::regex(R"(\d{4}-\d{2}-\d{2}T\d{2}:\d{2}:\d{2}\n)")))
        << info;
}

TEST_F(FreedesktopTrashTest, CollisionsGetNumberedNamesWithTheirOwnInfo) {
    std::string trash = home / ".local/share/Trash";
    platform::TrashOwner owner{home.path(), std::nullopt};
    EXPECT_EQ(platform::moveToTrash(folder.write("a/notes.txt", "1"), owner), trash + "/files/notes.txt");
    EXPECT_EQ(platform::moveToTrash(folder.write("b/notes.txt", "2"), owner), trash + "/files/notes.2.txt");
    EXPECT_EQ(platform::moveToTrash(folder.write("c/README", "3"), owner), trash + "/files/README");
    EXPECT_EQ(platform::moveToTrash(folder.write("d/README", "4"), owner), trash + "/files/README.2");
    EXPECT_NE(
        readFile(trash + "/info/notes.2.txt.trashinfo").find("Path=" + folder.path() + "/b/notes.txt\n"),
        std::string::npos);
    EXPECT_TRUE(platform::exists(trash + "/info/README.2.trashinfo"));
}

TEST_F(FreedesktopTrashTest, AbsoluteDataHomeReplacesTheDefaultLocation) {
    EXPECT_EQ(platform::trashedFilesFolder({home.path(), home / "data"}), home / "data/Trash/files");
    EXPECT_EQ(platform::trashedFilesFolder({home.path(), "relative"}), home / ".local/share/Trash/files");
    EXPECT_EQ(platform::moveToTrash(folder.write("x.txt", "x"), {home.path(), home / "data"}),
              home / "data/Trash/files/x.txt");
}

TEST_F(FreedesktopTrashTest, MissingFileLeavesNoInfoBehind) {
    EXPECT_EQ(platform::moveToTrash(folder / "gone.txt", {home.path(), std::nullopt}), std::nullopt);
    EXPECT_FALSE(platform::exists(home / ".local/share/Trash/info/gone.txt.trashinfo"));
}

#endif

} // namespace
} // namespace zelmor
