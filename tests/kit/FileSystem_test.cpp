// The platform layer on a real disk: reads into a reused buffer, what atomic and exclusive
// writes leave behind, the recursive folder walk, and the freedesktop.org trash layout.
#include "platform/FileSystem.h"
#include "platform/FolderListing.h"
#include "platform/Trash.h"
#include "tests/kit/ActivityTestSupport.h"
#include "tests/support/Subprocess.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <regex>

namespace zelmor {
namespace {

using Paths = std::vector<std::string>;
using test::readFile;

TEST(ReadFileInto, EachFileReadsWhateverTheBufferHeldBeforeAndOnlyRegularFilesAreRead) {
    test::TempFolder folder;
    std::string longText = std::string(69999, 'x') + "y", buffer;
    folder.write("long.md", longText);
    folder.write("short.md", "short\n");
    folder.write("empty.md", "");
    folder.makeFolder("folder.md");
    ASSERT_EQ(::mkfifo((folder / "pipe.md").c_str(), 0644), 0);
    auto read = [&](const char* name) -> std::optional<std::string> {
        auto length = platform::readFileInto(folder / name, buffer);
        return length ? std::optional(buffer.substr(0, *length)) : std::nullopt;
    };
    EXPECT_EQ(read("long.md"), longText);
    size_t grown = buffer.size();
    EXPECT_EQ(read("short.md"), "short\n");
    EXPECT_EQ(buffer.size(), grown) << "the buffer never shrinks";
    EXPECT_EQ(read("empty.md"), "");
    for (const char* name : {"folder.md", "pipe.md", "missing.md"}) // and a FIFO must not block
        EXPECT_EQ(read(name), std::nullopt) << name;
}

unsigned permissionsOf(const std::string& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0 ? static_cast<unsigned>(st.st_mode) & 0777u : 07777u;
}

/// Sets the process umask for one scope and restores it after.
struct WithUmask {
    explicit WithUmask(mode_t mask) : saved(::umask(mask)) {}
    ~WithUmask() { ::umask(saved); }
    mode_t saved;
};

TEST(WriteFileAtomically, KeepsAReplacedFilesModeGivesANewOneWhatTheUmaskAllowsAndWritesThroughLinks) {
    test::TempFolder folder;
    for (unsigned mode : {0600u, 0640u, 0604u}) {
        WithUmask open(022);
        std::string file = folder.write("private.md", "old\n");
        ASSERT_EQ(::chmod(file.c_str(), static_cast<mode_t>(mode)), 0);
        ASSERT_TRUE(platform::writeFileAtomically(file, "new\n"));
        EXPECT_EQ(readFile(file), "new\n");
        EXPECT_EQ(permissionsOf(file), mode) << std::oct << mode;
    }
    for (auto [mask, mode] : {std::pair{077u, 0600u}, {022u, 0644u}, {0u, 0666u}}) {
        WithUmask scoped(static_cast<mode_t>(mask));
        std::string file = folder / ("new" + std::to_string(mask) + ".md");
        ASSERT_TRUE(platform::writeFileAtomically(file, "x"));
        EXPECT_EQ(permissionsOf(file), mode) << std::oct << mask;
    }
    EXPECT_EQ(test::fileNames(folder.path()), (Paths{"new0.md", "new18.md", "new63.md", "private.md"}))
        << "no temporary file is left";
    EXPECT_FALSE(platform::writeFileAtomically(folder / "missing/a.md", "x"));
    EXPECT_FALSE(platform::exists(folder / "missing")) << "the folder is not created";
    // A link is written through and stays a link.
    std::string target = folder.write("real/meeting.md", "old\n"), link = folder / "link.md";
    ASSERT_EQ(::chmod(target.c_str(), 0640), 0);
    ASSERT_EQ(::symlink("real/meeting.md", link.c_str()), 0);
    ASSERT_TRUE(platform::writeFileAtomically(link, "new\n"));
    EXPECT_EQ(readFile(target), "new\n");
    struct stat st {};
    ASSERT_EQ(::lstat(link.c_str(), &st), 0);
    EXPECT_TRUE(S_ISLNK(st.st_mode));
    EXPECT_EQ(permissionsOf(target), 0640u);
    EXPECT_EQ(test::fileNames(folder / "real"), Paths{"meeting.md"}) << "no temporary left";
}

TEST(WriteFileAtomically, NamesAtTheSystemsLimitAndFilesTheUserMayNotWrite) {
    test::TempFolder folder;
    std::string longName = folder / (std::string(252, 'n') + ".md"); // 255 bytes, the limit
    EXPECT_TRUE(platform::writeFileAtomically(longName, "x"));
    EXPECT_EQ(readFile(longName), "x");
    // The super-user may write anything, so the refusal is checked as "nobody".
    ASSERT_EQ(::chmod(folder.path().c_str(), 0777), 0);
    std::string locked = folder.write("locked.md", "mine\n");
    ASSERT_EQ(::chmod(locked.c_str(), 0444), 0);
    auto refused = test::runInChild(
        [&] {
            bool written = platform::writeFileAtomically(locked, "theirs\n");
            return std::string(written ? "written" : errno == EACCES ? "refused" : "failed otherwise");
        },
        /*unprivileged=*/true);
    EXPECT_EQ(refused, "refused");
    EXPECT_EQ(readFile(locked), "mine\n");
}

TEST(CreateFileExclusively, CreatesWholeFilesAndNeverReplacesAnything) {
    test::TempFolder folder;
    EXPECT_EQ(platform::createFileExclusively(folder / "new.md", "one\n"), platform::CreateOutcome::created);
    folder.makeFolder("folder.md");
    ASSERT_EQ(::symlink((folder / "nowhere.md").c_str(), (folder / "dangling.md").c_str()), 0);
    for (const char* taken : {"new.md", "folder.md", "dangling.md"})
        EXPECT_EQ(platform::createFileExclusively(folder / taken, "2"),
                  platform::CreateOutcome::alreadyExists)
            << taken;
    EXPECT_EQ(readFile(folder / "new.md"), "one\n");
    EXPECT_FALSE(platform::exists(folder / "nowhere.md"));
    EXPECT_EQ(platform::createFileExclusively(folder / "missing/x.md", "x"), platform::CreateOutcome::failed);
    EXPECT_EQ(test::fileNames(folder.path()), (Paths{"dangling.md", "folder.md", "new.md"}));
}

TEST(FolderListing, DepthFirstInByteOrderSkippingHiddenNamesWithNoDepthLimit) {
    test::TempFolder root;
    std::string deep;
    for (int level = 0; level < 100; ++level) deep += "d/";
    for (const char* name :
         {"b.md", "a/z.txt", "a/b/c.md", "B.md", ".hidden.md", ".git/objects/x.md", "a/.cache/y.md"})
        root.write(name, "");
    root.write(deep + "bottom.md", "");
    root.makeFolder("empty");
    EXPECT_EQ(platform::listFilesRecursively(root.path()),
              (Paths{root / "B.md", root / "a/b/c.md", root / "a/z.txt", root / "b.md",
                     root / (deep + "bottom.md")}));
    EXPECT_EQ(platform::listFilesRecursively(root.path() + "/"), platform::listFilesRecursively(root.path()));
}

TEST(FolderListing, LinksToFilesListedLinksToFoldersAndFIFOsNeverFollowedButTheRootMayBeALink) {
    test::TempFolder root, elsewhere;
    elsewhere.write("outside.md", "");
    elsewhere.write("sub/deep.md", "");
    root.write("real.md", "");
    ASSERT_EQ(::symlink((elsewhere / "outside.md").c_str(), (root / "file-link.md").c_str()), 0);
    ASSERT_EQ(::symlink(elsewhere.path().c_str(), (root / "folder-link").c_str()), 0);
    ASSERT_EQ(::symlink((root / "missing.md").c_str(), (root / "dangling.md").c_str()), 0);
    ASSERT_EQ(::mkfifo((root / "pipe.md").c_str(), 0644), 0);
    ASSERT_EQ(::symlink((root / "pipe.md").c_str(), (root / "pipe-link.md").c_str()), 0);
    EXPECT_EQ(platform::listFilesRecursively(root.path()), (Paths{root / "file-link.md", root / "real.md"}));
    EXPECT_EQ(platform::listFilesRecursively(root / "folder-link"),
              (Paths{root / "folder-link/outside.md", root / "folder-link/sub/deep.md"}));
    // Nothing when the folder itself cannot be read, and a FIFO is not waited on.
    for (const char* name : {"missing", "real.md", "pipe.md"})
        EXPECT_FALSE(platform::listFilesRecursively(root / name)) << name;
}

#if defined(__linux__)

TEST(FreedesktopTrash, FilesGoToFilesUnderFreeNamesAndInfoRecordsTheEncodedPathAndLocalTime) {
    test::TempFolder folder, home;
    platform::TrashOwner owner{home.path(), std::nullopt};
    std::string file = folder.write("Weekly sync #3 ü.txt", "twin"), trash = home / ".local/share/Trash";
    EXPECT_EQ(platform::moveToTrash(file, owner), trash + "/files/Weekly sync #3 ü.txt");
    EXPECT_FALSE(platform::exists(file));
    EXPECT_EQ(readFile(trash + "/files/Weekly sync #3 ü.txt"), "twin");
    std::string info = readFile(trash + "/info/Weekly sync #3 ü.txt.trashinfo"),
                prefix = "[Trash Info]\nPath=" + folder.path() +
                         "/Weekly%20sync%20%233%20%C3%BC.txt\nDeletionDate=";
    ASSERT_EQ(info.substr(0, prefix.size()), prefix);
    EXPECT_TRUE(
        std::regex_match(info.substr(prefix.size()), std::regex(R"(\d{4}-\d{2}-\d{2}T\d{2}:\d{2}:\d{2}\n)")))
        << info;
    EXPECT_EQ(platform::moveToTrash(folder / "gone.txt", owner), std::nullopt);
    EXPECT_FALSE(platform::exists(trash + "/info/gone.txt.trashinfo")) << "a missing file leaves no info";

    EXPECT_EQ(platform::moveToTrash(folder.write("a/notes.txt", "1"), owner), trash + "/files/notes.txt");
    EXPECT_EQ(platform::moveToTrash(folder.write("b/notes.txt", "2"), owner), trash + "/files/notes.2.txt");
    EXPECT_EQ(platform::moveToTrash(folder.write("c/README", "3"), owner), trash + "/files/README");
    EXPECT_EQ(platform::moveToTrash(folder.write("d/README", "4"), owner), trash + "/files/README.2");
    EXPECT_NE(
        readFile(trash + "/info/notes.2.txt.trashinfo").find("Path=" + folder.path() + "/b/notes.txt\n"),
        std::string::npos);
    EXPECT_TRUE(platform::exists(trash + "/info/README.2.trashinfo"));

    // An absolute data home replaces the default location.
    EXPECT_EQ(platform::trashedFilesFolder({home.path(), home / "data"}), home / "data/Trash/files");
    EXPECT_EQ(platform::trashedFilesFolder({home.path(), "relative"}), home / ".local/share/Trash/files");
    EXPECT_EQ(platform::moveToTrash(folder.write("x.txt", "x"), {home.path(), home / "data"}),
              home / "data/Trash/files/x.txt");
}

#endif

} // namespace
} // namespace zelmor
