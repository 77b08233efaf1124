// Which texts declare themselves written by the recorder: the exact line, ended by a line break.
#include "ZelmorMarkdownKit/format/ZelmorTranscriptMarker.h"

#include <gtest/gtest.h>

namespace zelmor {
namespace {

TEST(ZelmorTranscriptMarker, ExactLineFollowedByALineBreakAnywhere) {
    for (const char* text : {"source: Zelmor\nno frontmatter at all", "---\ntitle: x\nsource: Zelmor\n---\n",
                             "body text\nsource: Zelmor\n", "---\r\ntitle: x\r\nsource: Zelmor\r\n---\r\n",
                             "source: Zelmor\r\n", "source: Zelmorx\nsource: Zelmor\n"})
        EXPECT_TRUE(ZelmorTranscriptMarker::declares(text)) << text;
    for (const char* text :
         {"---\nsource:  Zelmor\n---\n", "---\nSource: Zelmor\n---\n", "---\nsource: Zelmor \n---\n",
          "---\nsource: zelmor\n---\n", "---\n source: Zelmor\n---\n", "---\nxsource: Zelmor\n---\n",
          "---\nsource: Zelmor", "source: Zelmor\r", "source: Zelmor\r\r\n", "x\rsource: Zelmor\n", ""})
        EXPECT_FALSE(ZelmorTranscriptMarker::declares(text)) << text;
}

} // namespace
} // namespace zelmor
