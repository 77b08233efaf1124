// zelmor-kit import and tidy, run as a user would: real binary, temporary home and folders.
#include "ZelmorMarkdownKit/format/MarkdownTranscriptParser.h"
#include "ZelmorMarkdownKit/format/ZelmorTranscriptMarker.h"
#include "platform/FileSystem.h"
#include "platform/FolderListing.h"
#include "platform/Trash.h"
#include "tests/support/Subprocess.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

namespace zelmor {
namespace {

using test::ProcessOptions;
using test::runProcess;
using test::TempFolder;

const std::string fixtures = std::string(ZELMOR_SOURCE_DIR) + "/tests/fixtures/import";

class KitCommandTest : public testing::Test {
protected:
    ProcessOptions run(std::vector<std::string> arguments) const {
        ProcessOptions options;
        options.arguments = std::move(arguments);
        options.environment = std::map<std::string, std::string>{{"HOME", home.path()}, {"TZ", "UTC"}};
        return options;
    }

    TempFolder home;
    TempFolder into;
};

TEST_F(KitCommandTest, ImportsTheFixtureFolderIntoTranscriptsTheStoreCanRead) {
    auto result = runProcess(ZELMOR_KIT_BINARY, run({"import", fixtures, "--into", into.path()}));
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(
        result.out.substr(result.out.rfind("\n\n") + 2),
        "15 imported, 0 already imported, 1 already Zelmor, 0 unrecognized, 0 no speech, 1 unreadable\n");
    EXPECT_NE(result.out.find(fixtures + "/own-transcript.md: skipped, already a Zelmor transcript\n"),
              std::string::npos);
    EXPECT_NE(result.out.find(fixtures + "/legacy-windows-1252.txt: unreadable, not readable as text\n"),
              std::string::npos);
    EXPECT_NE(result.err.find("[1/17] " + fixtures + "/Budget Planning Transcript.txt\n"), std::string::npos);
    EXPECT_NE(result.err.find("[17/17] " + fixtures + "/weekly-export.json\n"), std::string::npos);

    auto written = platform::listFilesRecursively(into.path());
    ASSERT_TRUE(written.has_value());
    EXPECT_EQ(written->size(), 18u);
    for (const std::string& path : *written) {
        std::string text = test::readFile(path);
        EXPECT_TRUE(ZelmorTranscriptMarker::declares(text)) << path;
        auto document = MarkdownTranscriptParser::parse(text);
        ASSERT_TRUE(document.has_value()) << path;
        EXPECT_FALSE(document->turns.empty()) << path;
        EXPECT_FALSE(document->title.empty()) << path;
        EXPECT_EQ(document->source, "Zelmor") << path;
    }
    auto fathom = MarkdownTranscriptParser::parse(test::readFile(into / "fathom.md"));
    EXPECT_EQ(fathom->asr, "imported (fathom)");
    EXPECT_EQ(fathom->participants, (std::vector<std::string>{"Jordan Blake", "Lee Chen"}));
    auto lifelog = MarkdownTranscriptParser::parse(test::readFile(into / "lifelog.md"));
    EXPECT_EQ(lifelog->participants, (std::vector<std::string>{"Me", "Sam Reyes"}));
}

TEST_F(KitCommandTest, SecondRunReportsEveryEarlierImport) {
    ASSERT_EQ(runProcess(ZELMOR_KIT_BINARY, run({"import", fixtures, "--into", into.path()})).exitStatus, 0);
    auto again = runProcess(
        ZELMOR_KIT_BINARY,
        run({"import", fixtures + "/fathom.json", fixtures + "/weekly-export.json", "--into", into.path()}));
    EXPECT_EQ(again.exitStatus, 0);
    EXPECT_EQ(again.out,
              fixtures + "/fathom.json: already imported as " + (into / "fathom.md") + "\n" + fixtures +
                  "/weekly-export.json: already imported as " + (into / "weekly-export (1 of 3).md") +
                  "\n\n0 imported, 2 already imported, 0 already Zelmor, 0 unrecognized, 0 no speech, "
                  "0 unreadable\n");
    EXPECT_EQ(again.err, "");
}

TEST_F(KitCommandTest, LegacyEncodingOptionDecodesTheFile) {
    auto result =
        runProcess(ZELMOR_KIT_BINARY, run({"import", fixtures + "/legacy-windows-1252.txt", "--into",
                                           into.path(), "--legacy-encoding", "windows-1252"}));
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_NE(test::readFile(into / "legacy-windows-1252.md").find("**Renée Martin:** Bonjour à tous"),
              std::string::npos);
}

TEST_F(KitCommandTest, DefaultDestinationIsTheServedFolder) {
    TempFolder source;
    source.write("call.vtt", "WEBVTT\n\n00:01.000 --> 00:02.000\n<v Ana>Hi.\n");
    auto result = runProcess(ZELMOR_KIT_BINARY, run({"import", source / "call.vtt"}));
    EXPECT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_TRUE(platform::exists(home / "Documents/Zelmor/call.md"));
}

TEST_F(KitCommandTest, NamesArePrintedWithTheirControlCharactersEscaped) {
    TempFolder source;
    source.write("a\nb\x07.vtt", "WEBVTT\n\n00:01.000 --> 00:02.000\n<v Ana>Hi.\n");
    auto result = runProcess(ZELMOR_KIT_BINARY, run({"import", source.path(), "--into", into.path()}));
    EXPECT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(result.out.substr(0, result.out.find("\n\n")),
              source / "a\\nb\\x07.vtt" + " \u2192 " + into / "a\\nb\\x07.md" + " (vtt, 1 turn)");
    EXPECT_EQ(result.err, "[1/1] " + source / "a\\nb\\x07.vtt" + "\n");
    EXPECT_TRUE(platform::exists(into / "a\nb\x07.md")) << "the file keeps its name";
}

TEST_F(KitCommandTest, ImportErrorsExitOne) {
    auto missing =
        runProcess(ZELMOR_KIT_BINARY, run({"import", "/no/such/export.vtt", "--into", into.path()}));
    EXPECT_EQ(missing.exitStatus, 1);
    EXPECT_EQ(missing.err, "zelmor-kit import: no such file or folder: /no/such/export.vtt\n");
    EXPECT_EQ(missing.out, "");
    auto encoding = runProcess(ZELMOR_KIT_BINARY, run({"import", fixtures, "--legacy-encoding", "klingon"}));
    EXPECT_EQ(encoding.exitStatus, 1);
    EXPECT_EQ(encoding.err, "zelmor-kit import: unknown encoding klingon\n");
    EXPECT_NE(runProcess(ZELMOR_KIT_BINARY, run({"import"})).exitStatus, 0);
}

TEST_F(KitCommandTest, TidyListsFirstAndTrashesOnlyWithYes) {
    std::string twin = into.write("sync.txt", "source: Zelmor\n");
    into.write("sync.md", "---\nsource: Zelmor\n---\n");
    auto listed = runProcess(ZELMOR_KIT_BINARY, run({"tidy", "--folder", into.path()}));
    EXPECT_EQ(listed.exitStatus, 0);
    EXPECT_EQ(listed.out,
              twin + "\n1 plain-text twin would be moved to the trash. Run again with --yes to move them.\n");
    EXPECT_TRUE(platform::exists(twin));

    auto moved = runProcess(ZELMOR_KIT_BINARY, run({"tidy", "--folder", into.path(), "--yes"}));
    EXPECT_EQ(moved.exitStatus, 0);
    EXPECT_EQ(moved.out, twin + "\nMoved 1 of 1 plain-text twin to the trash.\n");
    EXPECT_FALSE(platform::exists(twin));
    EXPECT_TRUE(platform::exists(platform::trashedFilesFolder({home.path(), std::nullopt}) + "/sync.txt"));

    auto nothing = runProcess(ZELMOR_KIT_BINARY, run({"tidy", "--folder", into.path(), "--yes"}));
    EXPECT_EQ(nothing.out, "No plain-text twins in " + into.path() + "\n");
}

TEST_F(KitCommandTest, TidyFindsTheMarkerAnywhereInTheTextAsItsHelpSays) {
    std::string twin = into.write("call.txt", "copied from call.md (source: Zelmor) by hand\n");
    into.write("call.md", "---\nsource: Zelmor\n---\n");
    auto listed = runProcess(ZELMOR_KIT_BINARY, run({"tidy", "--folder", into.path()}));
    EXPECT_EQ(listed.out,
              twin + "\n1 plain-text twin would be moved to the trash. Run again with --yes to move them.\n");
    auto help = runProcess(ZELMOR_KIT_BINARY, run({"tidy", "--help"}));
    EXPECT_NE(
        help.out.find("whose text contains\n\"source: Zelmor\" anywhere, not only as a line of its own."),
        std::string::npos)
        << help.out;
}

TEST_F(KitCommandTest, TidyOfAMissingFolderExitsOne) {
    auto result = runProcess(ZELMOR_KIT_BINARY, run({"tidy", "--folder", into / "nope"}));
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.err, "zelmor-kit tidy: no such folder: " + (into / "nope") + "\n");
}

} // namespace
} // namespace zelmor
