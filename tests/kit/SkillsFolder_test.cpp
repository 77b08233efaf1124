// Which paths lie in the skills folder under the memory folder.
#include "ZelmorMarkdownKit/format/SkillsFolder.h"

#include <gtest/gtest.h>

namespace zelmor {
namespace {

TEST(SkillsFolder, HeldAtAnyDepthInAnyCaseRightUnderTheMemoryFolder) {
    const std::tuple<const char*, const char*, bool> cases[] = {
        {"/Users/a/Notes/memory/SKILLS/x.md", "Memory", true},
        {"Memory/Skills/x.md", "Memory", true},
        {"//t//Memory//Skills//deeper//x.md", "Memory", true},
        {"Memory/Skills/folder", "Memory", true}, // any component after Skills
        {"/t/Mémoire/skills/x.md", "MÉMOIRE", true},
        {"/t/Skills/Memory/Skills/x.md", "Memory", true},
        {"/t/brain/skills/x.md", "Brain", true},
        {"/t/Memory/Skills/x.md", "Brain", false},
        {"Memory/Skills", "Memory", false},
        {"Memory/Skills/", "Memory", false},
        {"Skills/Memory/x.md", "Memory", false},
        {"/t/Memory/x.md", "Memory", false},
        {"/t/Memory/notes/Skills/x.md", "Memory", false}, // Skills must follow directly
        {"/t/Memory/Skills.md", "Memory", false},
        {"/t/MemoryX/Skills/x.md", "Memory", false},
        {"", "Memory", false},
    };
    for (const auto& [path, memory, held] : cases) EXPECT_EQ(SkillsFolder::holds(path, memory), held) << path;
}

} // namespace
} // namespace zelmor
