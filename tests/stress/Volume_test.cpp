// Volume: very many files in one folder. Slow by nature, so labelled "stress": the full run has
// it, the developers' quick loop leaves it out.
#include "ZelmorMCP/MeetingStore.h"
#include "platform/FolderListing.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <string>

namespace zelmor {
namespace {

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
