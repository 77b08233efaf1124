// Which texts declare themselves written by the recorder.
#include "ZelmorMarkdownKit/ZelmorTranscriptMarker.h"

#include <gtest/gtest.h>

namespace zelmor {
namespace {

using ZelmorTranscriptMarker::declares;

TEST(ZelmorTranscriptMarker, ExactLineFollowedByALineBreak) {
    EXPECT_TRUE(declares("source: Zelmor\nno frontmatter at all"));
    EXPECT_TRUE(declares("---\ntitle: x\nsource: Zelmor\n---\n"));
    EXPECT_TRUE(declares("body text\nsource: Zelmor\n")) << "where the line stands does not matter";
    EXPECT_TRUE(declares("---\r\ntitle: x\r\nsource: Zelmor\r\n---\r\n"));
    EXPECT_TRUE(declares("source: Zelmor\r\n"));
    EXPECT_TRUE(declares("source: Zelmorx\nsource: Zelmor\n")) << "a near miss before the real line";
}

TEST(ZelmorTranscriptMarker, NearMissesDoNotCount) {
    EXPECT_FALSE(declares("---\nsource:  Zelmor\n---\n"));
    EXPECT_FALSE(declares("---\nSource: Zelmor\n---\n"));
    EXPECT_FALSE(declares("---\nsource: Zelmor \n---\n"));
    EXPECT_FALSE(declares("---\nsource: zelmor\n---\n"));
    EXPECT_FALSE(declares("---\n source: Zelmor\n---\n"));
    EXPECT_FALSE(declares("---\nxsource: Zelmor\n---\n"));
    EXPECT_FALSE(declares("---\nsource: Zelmor")) << "the last line without a line break";
    EXPECT_FALSE(declares("source: Zelmor\r"));
    EXPECT_FALSE(declares("source: Zelmor\r\r\n"));
    EXPECT_FALSE(declares("x\rsource: Zelmor\n"));
    EXPECT_FALSE(declares(""));
}

} // namespace
} // namespace zelmor
