// zelmor-kit's transcript commands (ids, locate, rename-speaker, set-title, set-notes,
// set-sections) run as a user would, on real files in a temporary folder.
#include "ZelmorMarkdownKit/edit/TranscriptTurnID.h"
#include "platform/FileSystem.h"
#include "tests/support/Subprocess.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <tuple>
#include <unistd.h>

namespace zelmor {
namespace {

using test::ProcessOptions;
using test::ProcessResult;
using test::runProcess;
using test::TempFolder;

const std::string transcript =
    "---\n"
    "title: Weekly sync\n"
    "participants:\n"
    "  - Speaker 1\n"
    "  - Bo\n"
    "source: Zelmor\n"
    "---\n"
    "\n"
    "## Notes\n"
    "\n"
    "Old notes.\n"
    "\n"
    "## Transcript\n"
    "\n"
    "**Speaker 1:** Good morning everyone, thanks for joining the weekly sync today.\n"
    "\n"
    "**Bo:** Morning.\n"
    "\n"
    "**Speaker 1:** Let us start.\n";

class EditCommandTest : public testing::Test {
protected:
    ProcessResult kit(std::vector<std::string> arguments, std::string input = "") const {
        ProcessOptions options;
        options.arguments = std::move(arguments);
        options.environment = std::map<std::string, std::string>{{"HOME", folder.path()}};
        options.input = std::move(input);
        return runProcess(ZELMOR_KIT_BINARY, options);
    }

    TempFolder folder;
    std::string file = folder.write("Weekly sync.md", transcript);
};

TEST_F(EditCommandTest, IdsListsIdentifierSpeakerAndFirstWordsPerTurn) {
    auto result = kit({"ids", file});
    EXPECT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(result.out,
              TranscriptTurnID::make(0, "good morning everyone thanks for joining the weekly sync today") +
                  "\tSpeaker 1\tGood morning everyone, thanks for joining the weekly ...\n" +
                  TranscriptTurnID::make(1, "Morning") + "\tBo\tMorning.\n" +
                  TranscriptTurnID::make(2, "Let us start") + "\tSpeaker 1\tLet us start.\n");
    EXPECT_EQ(result.err, "");
}

TEST_F(EditCommandTest, LocateReportsPositionsFromOneAndExitsByOutcome) {
    for (auto [id, out, status] : std::vector<std::tuple<std::string, std::string, int>>{
             {TranscriptTurnID::make(1, "morning"), "exact 2\n", 0},
             {TranscriptTurnID::make(0, "Morning!"), "moved 2\n", 0},
             {TranscriptTurnID::make(1, "Evening"), "stale 2\n", 1},
             {"t01-abcdef", "missing\n", 1}}) {
        auto result = kit({"locate", file, id});
        EXPECT_EQ(result.out, out) << id;
        EXPECT_EQ(result.exitStatus, status) << id;
        EXPECT_EQ(result.err, "") << id;
    }
}

TEST_F(EditCommandTest, RenameSpeakerRewritesTurnsAndParticipant) {
    auto result = kit({"rename-speaker", file, "Speaker 1", "Ana"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.err, "zelmor-kit rename-speaker: updated " + file + "\n");
    std::string expected = transcript;
    for (auto [from, to] : {std::pair{"  - Speaker 1", "  - Ana"},
                            {"**Speaker 1:** Good", "**Ana:** Good"},
                            {"**Speaker 1:** Let", "**Ana:** Let"}}) {
        expected.replace(expected.find(from), std::string_view(from).size(), to);
    }
    EXPECT_EQ(test::readFile(file), expected);
}

TEST_F(EditCommandTest, RenameOfAnUnknownSpeakerSaysNothingChanged) {
    auto result = kit({"rename-speaker", file, "Speaker", "Ana"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.err, "zelmor-kit rename-speaker: no change; " + file + " left as it was\n");
    EXPECT_EQ(test::readFile(file), transcript);
}

TEST_F(EditCommandTest, SetTitleQuotesWhenNeededAndKeepsCarriageReturns) {
    std::string crlf = folder.write("crlf.md", "---\r\ntitle: Old\r\nsource: Zelmor\r\n---\r\n");
    auto result = kit({"set-title", crlf, "Q3: \"plan\""});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.err, "zelmor-kit set-title: updated " + crlf + "\n");
    EXPECT_EQ(test::readFile(crlf), "---\r\ntitle: \"Q3: \\\"plan\\\"\"\nsource: Zelmor\r\n---\r\n");

    auto again = kit({"set-title", file, "Weekly sync"});
    EXPECT_EQ(again.err, "zelmor-kit set-title: no change; " + file + " left as it was\n");
}

TEST_F(EditCommandTest, EditsReachTheFileBehindALinkAndNamesAtTheLimit) {
    std::string link = folder / "alias.md";
    ASSERT_EQ(::symlink(file.c_str(), link.c_str()), 0);
    EXPECT_EQ(kit({"set-title", link, "Renamed"}).err, "zelmor-kit set-title: updated " + link + "\n");
    EXPECT_NE(test::readFile(file).find("title: Renamed\n"), std::string::npos);
    struct stat st {};
    ASSERT_EQ(::lstat(link.c_str(), &st), 0);
    EXPECT_TRUE(S_ISLNK(st.st_mode)) << "the link stays a link";

    std::string cjk;
    for (int i = 0; i < 81; ++i) cjk += "\u4F1A"; // 243 bytes, 246 with ".md"
    std::string longName = folder.write(cjk + ".md", transcript);
    auto result = kit({"set-title", longName, "Long"});
    EXPECT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_NE(test::readFile(longName).find("title: Long\n"), std::string::npos);
}

TEST_F(EditCommandTest, SetNotesFromArgumentAndStandardInput) {
    std::string before = transcript.substr(0, transcript.find("Old notes."));
    std::string after = transcript.substr(transcript.find("\n## Transcript"));
    auto result = kit({"set-notes", file, "  New notes.  "});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(test::readFile(file), before + "New notes.\n" + after);

    auto piped = kit({"set-notes", file, "-"}, "\nFrom a pipe.\n\n");
    EXPECT_EQ(piped.err, "zelmor-kit set-notes: updated " + file + "\n");
    EXPECT_EQ(test::readFile(file), before + "From a pipe.\n" + after);

    EXPECT_EQ(kit({"set-notes", file, "From a pipe."}).err,
              "zelmor-kit set-notes: no change; " + file + " left as it was\n");
    kit({"set-notes", file, ""});
    EXPECT_EQ(test::readFile(file), before + after);
}

TEST_F(EditCommandTest, SetSectionsWritesFileAndMirrorThenRemovesTheBlock) {
    std::string mirror = folder.write("Weekly sync.txt", transcript);
    auto result = kit({"set-sections", file, "-"}, "Here you go:\n## Action Items\n- Bo: book room\n");
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.err, "zelmor-kit set-sections: updated " + file + "\n");
    std::string expected = transcript + "\n## Action Items\n- Bo: book room\n\n<!-- /zelmor:ai -->\n";
    EXPECT_EQ(test::readFile(file), expected);
    EXPECT_EQ(test::readFile(mirror), expected);

    auto same = kit({"set-sections", file, "## Action Items\n- Bo: book room"});
    EXPECT_EQ(same.err, "zelmor-kit set-sections: no change; " + file + " left as it was\n");

    EXPECT_EQ(kit({"set-sections", file, ""}).exitStatus, 0);
    EXPECT_EQ(test::readFile(file), transcript + "\n");
    EXPECT_EQ(test::readFile(mirror), transcript + "\n");
}

TEST_F(EditCommandTest, RefusesFilesThatAreNotZelmorTranscripts) {
    std::string foreign = "---\ntitle: Recipe\nsource: Notes app\n---\n\nFlour.\n";
    std::string unmarked = folder.write("recipe.md", foreign);
    std::string plain = folder.write("plain.md", "source: Zelmor\n\n**Ana:** hi\n");
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"ids"},
                                               {"locate", "t001-abcdef"},
                                               {"rename-speaker", "Ana", "Bo"},
                                               {"set-title", "T"},
                                               {"set-notes", "n"},
                                               {"set-sections", "s"}}) {
        std::string command = arguments[0];
        auto withFile = [&](const std::string& path) {
            std::vector<std::string> full = arguments;
            full.insert(full.begin() + 1, path);
            return kit(full);
        };
        auto noMarker = withFile(unmarked);
        EXPECT_EQ(noMarker.exitStatus, 1) << command;
        EXPECT_EQ(noMarker.err, "zelmor-kit " + command + ": " + unmarked +
                                    " is not a Zelmor transcript: it has no \"source: Zelmor\" line\n");
        EXPECT_EQ(noMarker.out, "");
        auto noFrontmatter = withFile(plain);
        EXPECT_EQ(noFrontmatter.exitStatus, 1) << command;
        EXPECT_EQ(noFrontmatter.err,
                  "zelmor-kit " + command + ": " + plain +
                      " is not a Zelmor transcript: it does not open with a --- frontmatter block\n");
        auto absent = withFile(folder / "absent.md");
        EXPECT_EQ(absent.exitStatus, 1) << command;
        EXPECT_EQ(absent.err, "zelmor-kit " + command + ": cannot read " + (folder / "absent.md") + "\n");
    }
    EXPECT_EQ(test::readFile(unmarked), foreign);
    EXPECT_FALSE(platform::exists(folder / "absent.md"));
}

} // namespace
} // namespace zelmor
