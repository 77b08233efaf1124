// The platform layer on a real disk: reads into a reused buffer, what atomic and exclusive
// writes leave behind, the recursive folder walk, the home folder, and the freedesktop.org trash
// layout.
#include "platform/FileSystem.h"
#include "platform/FolderListing.h"
#include "platform/Trash.h"
#include "tests/kit/ActivityTestSupport.h"
#include "tests/support/Subprocess.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
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
    EXPECT_EQ(read("short.md"), "short\n");
    EXPECT_EQ(read("empty.md"), "");
    for (const char* name : {"folder.md", "pipe.md", "missing.md"}) // and a FIFO must not block
        EXPECT_EQ(read(name), std::nullopt) << name;
}

TEST(HomeDirectory, AnEmptyOrMissingHOMEFallsBackToTheAccountsHome) {
    const std::string account = ::getpwuid(::getuid())->pw_dir;
    for (const char* home : {"", static_cast<const char*>(nullptr)})
        EXPECT_EQ(test::runInChild([&] {
                      home ? ::setenv("HOME", home, 1) : ::unsetenv("HOME");
                      return platform::homeDirectory();
                  }),
                  account);
}

TEST(HomeDirectory, ATildeStartsAtTheGivenHomeOrANamedUsersAndNowhereElse) {
    const std::string root = ::getpwnam("root")->pw_dir;
    const std::pair<const char*, std::string> cases[] = {
        {"~", "/h"},
        {"~/a/b", "/h/a/b"},
        {"~root/x", root + "/x"},
        {"a/~", "a/~"},
        {"", ""},
        {"~no-such-zelmor-user/x", "~no-such-zelmor-user/x"}};
    for (const auto& [path, expanded] : cases) EXPECT_EQ(platform::expandTilde(path, "/h"), expanded) << path;
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
    // Neither mode is what a bare temporary file (0600) or a fixed 0644 or 0666 would give.
    WithUmask scoped(027);
    std::string file = folder.write("private.md", "old\n");
    ASSERT_EQ(::chmod(file.c_str(), 0604), 0);
    ASSERT_TRUE(platform::writeFileAtomically(file, "new\n"));
    EXPECT_EQ(readFile(file), "new\n");
    EXPECT_EQ(permissionsOf(file), 0604u);
    ASSERT_TRUE(platform::writeFileAtomically(folder / "new.md", "x"));
    EXPECT_EQ(permissionsOf(folder / "new.md"), 0640u);
    EXPECT_EQ(test::fileNames(folder.path()), (Paths{"new.md", "private.md"})) << "no temporary file is left";
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
    for (const char* taken : {"new.md", "folder.md"})
        EXPECT_EQ(platform::createFileExclusively(folder / taken, "2"),
                  platform::CreateOutcome::alreadyExists)
            << taken;
    EXPECT_EQ(platform::createFileExclusively(folder / "missing/x.md", "x"), platform::CreateOutcome::failed);
    EXPECT_EQ(test::fileNames(folder.path()), (Paths{"folder.md", "new.md"}));
}

TEST(FolderListing, ATrailingSlashChangesNothingAndFIFOsAreNeitherListedNorWaitedOn) {
    test::TempFolder root;
    root.write("a/b.md", "");
    ASSERT_EQ(::mkfifo((root / "pipe.md").c_str(), 0644), 0);
    EXPECT_EQ(platform::listFilesRecursively(root.path() + "/"), Paths{root / "a/b.md"});
    for (const char* name : {"missing", "a/b.md", "pipe.md"})
        EXPECT_FALSE(platform::listFilesRecursively(root / name)) << name;
}

#if defined(__linux__)

TEST(FreedesktopTrash, FilesGoToFilesUnderFreeNamesAndInfoRecordsTheEncodedPathAndLocalTime) {
    test::TempFolder folder, home;
    platform::TrashOwner owner{home.path(), std::nullopt};
    std::string file = folder.write("Weekly sync #3 ü.txt", "twin"), trash = home / ".local/share/Trash";
    EXPECT_EQ(platform::moveToTrash(file, owner), trash + "/files/Weekly sync #3 ü.txt");
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

    // Into another file system (a data home in /dev/shm, which is memory): copied, then removed.
    char memory[] = "/dev/shm/zelmor-trash-XXXXXX";
    ASSERT_NE(::mkdtemp(memory), nullptr);
    std::string far =
        platform::moveToTrash(folder.write("far.txt", "across"), {home.path(), memory}).value_or("");
    std::string farText = far.empty() ? "" : readFile(far);
    std::filesystem::remove_all(memory);
    EXPECT_EQ(std::make_tuple(far, farText, platform::exists(folder / "far.txt")),
              std::make_tuple(std::string(memory) + "/Trash/files/far.txt", "across", false));

    // An absolute data home replaces the default location.
    EXPECT_EQ(platform::trashedFilesFolder({home.path(), home / "data"}), home / "data/Trash/files");
    EXPECT_EQ(platform::trashedFilesFolder({home.path(), "relative"}), home / ".local/share/Trash/files");
}

#endif

} // namespace
} // namespace zelmor
