// Reading files into a reused buffer, as the scan does file after file on each thread.
#include "platform/FileSystem.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

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

} // namespace
} // namespace zelmor
