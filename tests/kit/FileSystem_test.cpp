// Reading files into a reused buffer, as the scan does file after file on each thread; what an
// atomic write leaves (permissions, links, long names) and what an exclusive create never touches.
#include "platform/FileSystem.h"
#include "tests/kit/ActivityTestSupport.h"
#include "tests/support/Subprocess.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace zelmor {
namespace {

TEST(ReadFileInto, EachFileReadsWhateverTheBufferHeldBefore) {
    test::TempFolder folder;
    std::string longText(70000, 'x');
    longText.back() = 'y';
    folder.write("long.md", longText);
    folder.write("short.md", "short\n");
    folder.write("empty.md", "");

    std::string buffer;
    auto length = platform::readFileInto(folder / "long.md", buffer);
    ASSERT_EQ(length, std::optional<size_t>(longText.size()));
    EXPECT_EQ(std::string_view(buffer.data(), *length), longText);

    size_t grown = buffer.size();
    length = platform::readFileInto(folder / "short.md", buffer);
    ASSERT_EQ(length, std::optional<size_t>(6));
    EXPECT_EQ(std::string_view(buffer.data(), *length), "short\n");
    EXPECT_EQ(buffer.size(), grown) << "the buffer never shrinks";

    EXPECT_EQ(platform::readFileInto(folder / "empty.md", buffer), std::optional<size_t>(0));
    EXPECT_EQ(platform::readFile(folder / "short.md"), std::optional<std::string>("short\n"));
}

TEST(ReadFileInto, FoldersFIFOsAndMissingFilesGiveNothing) {
    test::TempFolder folder;
    folder.makeFolder("folder.md");
    ASSERT_EQ(::mkfifo((folder / "pipe.md").c_str(), 0644), 0);
    std::string buffer = "left over";
    EXPECT_EQ(platform::readFileInto(folder / "folder.md", buffer), std::nullopt);
    EXPECT_EQ(platform::readFileInto(folder / "pipe.md", buffer), std::nullopt) << "must not block either";
    EXPECT_EQ(platform::readFileInto(folder / "missing.md", buffer), std::nullopt);
}

unsigned permissionsOf(const std::string& path) {
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0) return 07777;
    return static_cast<unsigned>(st.st_mode) & 0777u;
}

/// Sets the process umask for one test and restores it after.
class WithUmask {
public:
    explicit WithUmask(mode_t mask) : saved_(::umask(mask)) {}
    ~WithUmask() { ::umask(saved_); }

private:
    mode_t saved_;
};

TEST(WriteFileAtomically, AReplacedFileKeepsItsMode) {
    WithUmask open(022);
    test::TempFolder folder;
    for (unsigned mode : {0600u, 0640u, 0604u}) {
        std::string file = folder.write("private.md", "old\n");
        ASSERT_EQ(::chmod(file.c_str(), static_cast<mode_t>(mode)), 0);
        ASSERT_TRUE(platform::writeFileAtomically(file, "new\n"));
        EXPECT_EQ(platform::readFile(file), std::optional<std::string>("new\n"));
        EXPECT_EQ(permissionsOf(file), mode) << std::oct << mode;
    }
    EXPECT_EQ(test::fileNames(folder.path()), std::vector<std::string>{"private.md"})
        << "no temporary file is left";
}

TEST(WriteFileAtomically, ANewFileGetsWhatTheUmaskAllows) {
    test::TempFolder folder;
    {
        WithUmask strict(077);
        ASSERT_TRUE(platform::writeFileAtomically(folder / "strict.md", "x"));
    }
    {
        WithUmask usual(022);
        ASSERT_TRUE(platform::writeFileAtomically(folder / "usual.md", "x"));
    }
    {
        WithUmask none(0);
        ASSERT_TRUE(platform::writeFileAtomically(folder / "open.md", "x"));
    }
    EXPECT_EQ(permissionsOf(folder / "strict.md"), 0600u);
    EXPECT_EQ(permissionsOf(folder / "usual.md"), 0644u);
    EXPECT_EQ(permissionsOf(folder / "open.md"), 0666u);
    EXPECT_EQ(test::fileNames(folder.path()), (std::vector<std::string>{"open.md", "strict.md", "usual.md"}));
}

TEST(WriteFileAtomically, AMissingFolderFailsWithoutCreatingIt) {
    test::TempFolder folder;
    EXPECT_FALSE(platform::writeFileAtomically(folder / "missing/a.md", "x"));
    EXPECT_FALSE(platform::exists(folder / "missing"));
}

TEST(WriteFileAtomically, ALinkIsWrittenThroughAndStaysALink) {
    test::TempFolder folder;
    std::string target = folder.write("real/meeting.md", "old\n");
    ASSERT_EQ(::chmod(target.c_str(), 0640), 0);
    std::string link = folder / "link.md";
    ASSERT_EQ(::symlink("real/meeting.md", link.c_str()), 0);
    ASSERT_TRUE(platform::writeFileAtomically(link, "new\n"));
    EXPECT_EQ(test::readFile(target), "new\n");
    struct stat st {};
    ASSERT_EQ(::lstat(link.c_str(), &st), 0);
    EXPECT_TRUE(S_ISLNK(st.st_mode));
    ASSERT_EQ(::stat(target.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0640u);
    EXPECT_EQ(test::fileNames(folder / "real"), std::vector<std::string>{"meeting.md"})
        << "no temporary left";
}

TEST(WriteFileAtomically, NamesAtTheSystemsLimitAndFilesTheUserMayNotWrite) {
    test::TempFolder folder;
    std::string longName = folder / (std::string(252, 'n') + ".md"); // 255 bytes, the limit
    EXPECT_TRUE(platform::writeFileAtomically(longName, "x"));
    EXPECT_EQ(test::readFile(longName), "x");

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
    EXPECT_EQ(test::readFile(locked), "mine\n");
}

TEST(CreateFileExclusively, CreatesWholeFilesAndNeverReplacesAnything) {
    test::TempFolder folder;
    EXPECT_EQ(platform::createFileExclusively(folder / "new.md", "one\n"), platform::CreateOutcome::created);
    EXPECT_EQ(test::readFile(folder / "new.md"), "one\n");
    folder.makeFolder("folder.md");
    ASSERT_EQ(::symlink((folder / "nowhere.md").c_str(), (folder / "dangling.md").c_str()), 0);
    for (const char* taken : {"new.md", "folder.md", "dangling.md"})
        EXPECT_EQ(platform::createFileExclusively(folder / taken, "two\n"),
                  platform::CreateOutcome::alreadyExists)
            << taken;
    EXPECT_EQ(test::readFile(folder / "new.md"), "one\n");
    EXPECT_FALSE(platform::exists(folder / "nowhere.md"));
    EXPECT_EQ(platform::createFileExclusively(folder / "missing/x.md", "x"), platform::CreateOutcome::failed);
    EXPECT_EQ(test::fileNames(folder.path()),
              (std::vector<std::string>{"dangling.md", "folder.md", "new.md"}));
}

} // namespace
} // namespace zelmor
