// Derived flags of a transcript document, the JSON form of a turn, which texts declare that the
// recorder wrote them, and which paths lie in the skills folder under the memory folder.
#include "ZelmorMarkdownKit/format/SkillsFolder.h"
#include "ZelmorMarkdownKit/format/TranscriptDocument.h"
#include "ZelmorMarkdownKit/format/ZelmorTranscriptMarker.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace zelmor {
namespace {

using Turn = TranscriptDocument::Turn;

TEST(TranscriptDocument, NotesSkipBlanksAndThePlaceholderFlagsReadAsrAndStatusAndTurnJSONIsExact) {
    const std::string placeholder = TranscriptDocument::notesPlaceholder;
    for (auto [notes, has] : {std::pair{std::string(" \n\t\u2029"), false},
                              {placeholder, false},
                              {"\n\n" + placeholder + "\n  ", false},
                              {placeholder + ".", true}})
        EXPECT_EQ(TranscriptDocument("T", "", {}, 0, "Zelmor", notes, {}).hasUserNotes(), has) << notes;
    // Pending is read from the asr field, incomplete from the status.
    for (auto [asr, status, pending, incomplete] : {std::tuple{"incomplete", "pending", false, false},
                                                    {"pending", "pending", true, false},
                                                    {"incomplete", "incomplete", false, true}}) {
        const TranscriptDocument doc("", "", {}, 0, "", "", {}, "", asr, status);
        EXPECT_EQ(doc.isPendingTranscription(), pending) << asr;
        EXPECT_EQ(doc.isIncomplete(), incomplete) << status;
        EXPECT_EQ(doc.isRetryable(), pending || incomplete) << asr << status;
    }
    EXPECT_EQ(nlohmann::json(Turn{"Tomás", "Hola \"todos\""}).dump(),
              R"({"speaker":"Tomás","text":"Hola \"todos\""})");
    EXPECT_EQ(nlohmann::json::parse(R"({"text":"t","speaker":"s","extra":1})").get<Turn>(), (Turn{"s", "t"}));
    for (const char* bad : {R"({"speaker":"s"})", R"({"text":"t"})", R"({"speaker":1,"text":"t"})"})
        EXPECT_THROW(nlohmann::json::parse(bad).get<Turn>(), nlohmann::json::exception) << bad;
}

TEST(ZelmorTranscriptMarker, ExactLineFollowedByALineBreakAnywhere) {
    for (const char* text : {"source: Zelmor\nno frontmatter at all", "---\ntitle: x\nsource: Zelmor\n---\n",
                             "source: Zelmor\r\n", "source: Zelmorx\nsource: Zelmor\n"})
        EXPECT_TRUE(ZelmorTranscriptMarker::declares(text)) << text;
    for (const char* text :
         {"---\nSource: Zelmor\n---\n", "---\nsource: Zelmor \n---\n", "---\n source: Zelmor\n---\n",
          "---\nsource: Zelmor", "source: Zelmor\r", "source: Zelmor\r\r\n", "x\rsource: Zelmor\n", ""})
        EXPECT_FALSE(ZelmorTranscriptMarker::declares(text)) << text;
}

TEST(SkillsFolder, HeldAtAnyDepthInAnyCaseRightUnderTheMemoryFolder) {
    for (const char* held : {"Memory/Skills/x.md", "//Memory//Skills//d//x.md", "/Skills/Memory/Skills/x.md"})
        EXPECT_TRUE(SkillsFolder::holds(held, "Memory")) << held;
    EXPECT_TRUE(SkillsFolder::holds("/t/Mémoire/skills/x.md", "MÉMOIRE")) << "in any case";
    // Skills must follow the memory folder directly, and something must follow Skills.
    for (const char* outside :
         {"Memory/Skills", "Memory/Skills/", "Skills/Memory/x.md", "/t/Memory/x.md",
          "/t/Memory/notes/Skills/x.md", "/t/Memory/Skills.md", "/t/MemoryX/Skills/x.md", ""})
        EXPECT_FALSE(SkillsFolder::holds(outside, "Memory")) << outside;
}

} // namespace
} // namespace zelmor
