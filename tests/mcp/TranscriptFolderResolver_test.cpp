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

TEST_F(ResolverTest, DefaultsWithoutSettingsFile) {
    EXPECT_EQ(resolver.resolve(), home / "Documents/Zelmor");
    EXPECT_EQ(resolver.memoryFolderName(), "Memory");
}

TEST_F(ResolverTest, ExpandsTildeSlashAfterTrimming) {
    writeSettings(R"({"output_folder_display_path": "   ~/Meetings\n"})");
    EXPECT_EQ(resolver.resolve(), home / "Meetings");
}

TEST_F(ResolverTest, LoneTildeIsTheHomeFolder) {
    writeSettings(R"({"output_folder_display_path": "~"})");
    EXPECT_EQ(resolver.resolve(), home.path());
}

TEST_F(ResolverTest, TildeUserIsTakenAsWritten) {
    writeSettings(R"({"output_folder_display_path": "/x/~user/y"})");
    EXPECT_EQ(resolver.resolve(), "/x/~user/y");
}

TEST_F(ResolverTest, RemovesDotDotComponents) {
    writeSettings(R"({"output_folder_display_path": "/Volumes/Data/../Calls/./"})");
    EXPECT_EQ(resolver.resolve(), "/Volumes/Calls");
}

TEST_F(ResolverTest, FallsBackOnBadSettings) {
    for (const char* settings : {"{not json", "[1,2]", R"({"output_folder_display_path": 42})",
                                 R"({"output_folder_display_path": "  \n"})", R"("just a string")"}) {
        writeSettings(settings);
        EXPECT_EQ(resolver.resolve(), home / "Documents/Zelmor") << settings;
        EXPECT_EQ(resolver.memoryFolderName(), "Memory") << settings;
    }
}

TEST_F(ResolverTest, OverrideWinsForFolderButSettingsStillNameMemory) {
    writeSettings(R"({"output_folder_display_path": "/elsewhere", "engine_folder_name": " Brain "})");
    TranscriptFolderResolver overridden{home.path(), "/served/./here/"};
    EXPECT_EQ(overridden.resolve(), "/served/here");
    EXPECT_EQ(overridden.memoryFolderName(), "Brain");
}

TEST_F(ResolverTest, BlankMemoryFolderNameIsMemory) {
    writeSettings(R"({"engine_folder_name": "   "})");
    EXPECT_EQ(resolver.memoryFolderName(), "Memory");
    writeSettings(R"({"engine_folder_name": 7})");
    EXPECT_EQ(resolver.memoryFolderName(), "Memory");
}

TEST_F(ResolverTest, RereadsSettingsOnEveryCall) {
    writeSettings(R"({"output_folder_display_path": "/first"})");
    EXPECT_EQ(resolver.resolve(), "/first");
    writeSettings(R"({"output_folder_display_path": "/second"})");
    EXPECT_EQ(resolver.resolve(), "/second");
}

} // namespace
} // namespace zelmor
