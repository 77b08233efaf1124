// Folder resolution from a temporary home folder and its settings file.
#include "ZelmorMCP/TranscriptFolderResolver.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

namespace zelmor {
namespace {

class ResolverTest : public testing::Test {
protected:
    test::TempFolder home;
    TranscriptFolderResolver resolver{home.path(), std::nullopt};
    void writeSettings(const std::string& json) {
        home.write("Library/Application Support/Zelmor/config.json", json);
    }
};

TEST_F(ResolverTest, FolderAndMemoryNameFromTheSettingsReadAfreshOnEveryCall) {
    EXPECT_EQ(resolver.resolve(), home / "Documents/Zelmor") << "no settings file";
    EXPECT_EQ(resolver.memoryFolderName(), "Memory");
    struct Row {
        std::string settings, folder, memory;
    };
    for (const Row& row : std::vector<Row>{
             {R"({"output_folder_display_path": "   ~/Meetings\n"})", home / "Meetings", "Memory"},
             {R"({"output_folder_display_path": "~", "engine_folder_name": " Brain "})", home.path(),
              "Brain"},
             {R"({"output_folder_display_path": "/x/~user/y"})", "/x/~user/y", "Memory"},
             {R"({"output_folder_display_path": "/Volumes/Data/../Calls/./"})", "/Volumes/Calls", "Memory"},
             {"{not json", home / "Documents/Zelmor", "Memory"},
             {"[1,2]", home / "Documents/Zelmor", "Memory"},
             {R"("just a string")", home / "Documents/Zelmor", "Memory"},
             {R"({"output_folder_display_path": 42, "engine_folder_name": 7})", home / "Documents/Zelmor",
              "Memory"},
             {R"({"output_folder_display_path": "  \n", "engine_folder_name": "   "})",
              home / "Documents/Zelmor", "Memory"}}) {
        writeSettings(row.settings);
        EXPECT_EQ(resolver.resolve(), row.folder) << row.settings;
        EXPECT_EQ(resolver.memoryFolderName(), row.memory) << row.settings;
        auto folders = resolver.folders();
        EXPECT_EQ(folders.transcripts, row.folder) << row.settings;
        EXPECT_EQ(folders.memoryFolderName, row.memory) << row.settings;
    }
}

TEST_F(ResolverTest, OverrideWinsForFolderButSettingsStillNameMemory) {
    writeSettings(R"({"output_folder_display_path": "/elsewhere", "engine_folder_name": " Brain "})");
    TranscriptFolderResolver overridden{home.path(), "/served/./here/"};
    EXPECT_EQ(overridden.resolve(), "/served/here");
    EXPECT_EQ(overridden.memoryFolderName(), "Brain");
    EXPECT_EQ(overridden.folders().transcripts, "/served/here");
    EXPECT_EQ(overridden.folders().memoryFolderName, "Brain");
}

} // namespace
} // namespace zelmor
