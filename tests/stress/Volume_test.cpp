// Volume: very many requests on one stream, very many files in one folder. Slow by nature, so
// labelled "stress": the full run has them, the developers' quick loop leaves them out.
#include "ZelmorMCP/MeetingStore.h"
#include "platform/FolderListing.h"
#include "tests/support/Subprocess.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

namespace zelmor {
namespace {

TEST(Volume, HundredThousandRequestsAreAllAnsweredInOrder) {
    test::TempFolder home;
    std::string input, expected;
    for (long long id = 0; id < 100000; ++id) {
        input += R"({"jsonrpc":"2.0","id":)" + std::to_string(id) + R"(,"method":"ping"})" + "\n";
        expected += R"({"id":)" + std::to_string(id) + R"(,"jsonrpc":"2.0","result":{}})" + "\n";
    }
    test::ProcessOptions options;
    options.arguments = {"--transcripts-folder", home / "Meetings"};
    options.environment = std::map<std::string, std::string>{{"HOME", home.path()}};
    options.input = std::move(input);
    test::ProcessResult result = test::runProcess(ZELMOR_MCP_BINARY, options);
    EXPECT_EQ(result.signal, 0);
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.out.size(), expected.size());
    EXPECT_TRUE(result.out == expected)
        << "first difference at byte "
        << std::mismatch(expected.begin(), expected.end(), result.out.begin(), result.out.end()).first -
               expected.begin();
}

TEST(Volume, FiftyThousandFilesInOneFolder) {
    test::TempFolder root;
    std::string note = root.write("note.txt", "not a meeting\n");
    // Hard links to one small file: fifty thousand names, one file's worth of disk.
    char name[32];
    for (int i = 0; i < 50000; ++i) {
        std::snprintf(name, sizeof name, "/n%05d.md", i);
        ASSERT_EQ(::link(note.c_str(), (root.path() + name).c_str()), 0) << name;
    }
    root.write("n50000.md",
               "---\ntitle: T\ndate: 2026-01-01\nsource: Zelmor\n---\n\n## Transcript\n\n**Ana:** Hi.\n");
    auto listed = platform::listFilesRecursively(root.path());
    ASSERT_TRUE(listed);
    ASSERT_EQ(listed->size(), 50002u);
    EXPECT_EQ(listed->front(), root / "n00000.md");
    EXPECT_EQ((*listed)[50000], root / "n50000.md");
    std::vector<std::string> paths;
    for (const auto& meeting : MeetingStore{root.path()}.scan(1)) paths.push_back(meeting.path);
    EXPECT_EQ(paths, std::vector<std::string>{root / "n50000.md"});
}

} // namespace
} // namespace zelmor
