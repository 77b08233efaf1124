// The skills folder: a memory-folder component directly followed by "Skills" and something more.
#include "ZelmorMarkdownKit/SkillsFolder.h"

#include <gtest/gtest.h>

namespace zelmor {
namespace {

using SkillsFolder::holds;

TEST(SkillsFolder, HeldAtAnyDepthInAnyCase) {
    EXPECT_TRUE(holds("/Users/a/Notes/memory/SKILLS/x.md", "Memory"));
    EXPECT_TRUE(holds("Memory/Skills/x.md", "Memory"));
    EXPECT_TRUE(holds("//t//Memory//Skills//deeper//x.md", "Memory"));
    EXPECT_TRUE(holds("Memory/Skills/folder", "Memory")) << "any component after Skills";
    EXPECT_TRUE(holds("/t/Mémoire/skills/x.md", "MÉMOIRE")) << "non-ASCII names fold too";
    EXPECT_TRUE(holds("/t/Skills/Memory/Skills/x.md", "Memory"));
}

TEST(SkillsFolder, NotHeld) {
    EXPECT_FALSE(holds("Memory/Skills", "Memory"));
    EXPECT_FALSE(holds("Memory/Skills/", "Memory"));
    EXPECT_FALSE(holds("Skills/Memory/x.md", "Memory"));
    EXPECT_FALSE(holds("/t/Memory/x.md", "Memory"));
    EXPECT_FALSE(holds("/t/Memory/notes/Skills/x.md", "Memory")) << "Skills must follow directly";
    EXPECT_FALSE(holds("/t/Memory/Skills.md", "Memory"));
    EXPECT_FALSE(holds("/t/MemoryX/Skills/x.md", "Memory"));
    EXPECT_FALSE(holds("", "Memory"));
}

TEST(SkillsFolder, FollowsTheConfiguredMemoryName) {
    EXPECT_FALSE(holds("/t/Memory/Skills/x.md", "Brain"));
    EXPECT_TRUE(holds("/t/brain/skills/x.md", "Brain"));
    EXPECT_EQ(std::string(SkillsFolder::defaultMemoryFolderName), "Memory");
    EXPECT_EQ(std::string(SkillsFolder::folderName), "Skills");
}

} // namespace
} // namespace zelmor
