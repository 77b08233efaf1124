// zelmor-kit's commands (edits, import, tidy, ask, doctor) run as a user would; what the kit makes of
// their input is checked with the kit, here what each command reports and writes, and exits with.
#include "ZelmorMarkdownKit/edit/TranscriptTurnID.h"
#include "platform/FileSystem.h"
#include "platform/Trash.h"
#include "tests/kit/ActivityTestSupport.h"
#include "tests/support/Subprocess.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <tuple>

namespace zelmor {
namespace {

using test::readFile;
using test::TempFolder;

const std::string fixtures = std::string(ZELMOR_SOURCE_DIR) + "/tests/fixtures/import";
const std::string examples = std::string(ZELMOR_SOURCE_DIR) + "/examples/transcripts"; // Sep to Nov 2026
const std::string transcript =
    "---\ntitle: Weekly sync\nparticipants:\n  - Speaker 1\n  - Bo\nsource: Zelmor\n---\n\n"
    "## Notes\n\nOld notes.\n\n## Transcript\n\n"
    "**Speaker 1:** Good morning everyone, thanks for joining the weekly sync today again.\n\n"
    "**Bo:** Morning.\n\n**Speaker 1:** Let us start.\n";

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

/// Exit status, output and errors, to compare at once.
std::tuple<int, std::string, std::string> outcome(const test::ProcessResult& result) {
    return {result.exitStatus, result.out, result.err};
}

class KitCommandTest : public testing::Test {
protected:
    test::ProcessResult kit(std::vector<std::string> arguments, std::string input = "") const {
        test::ProcessOptions options;
        options.arguments = std::move(arguments);
        options.environment = {{"HOME", home.path()}, {"TZ", "UTC"}, {"ZELMOR_NOW", "2026-11-22T12:00:00Z"}};
        options.input = std::move(input);
        return test::runProcess(ZELMOR_KIT_BINARY, options);
    }

    TempFolder home;
    TempFolder into;
    std::string file = home.write("Weekly sync.md", transcript);
};

TEST_F(KitCommandTest, IdsListsEachTurnAndLocateFindsOneByItsIdentifier) {
    EXPECT_EQ(outcome(kit({"ids", file})),
              std::make_tuple(0,
                              TranscriptTurnID::make(
                                  0, "good morning everyone thanks for joining the weekly sync today again") +
                                  "\tSpeaker 1\tGood morning everyone, thanks for joining the weekly ...\n" +
                                  TranscriptTurnID::make(1, "Morning") + "\tBo\tMorning.\n" +
                                  TranscriptTurnID::make(2, "Let us start") + "\tSpeaker 1\tLet us start.\n",
                              std::string()));
    // Positions count from one; the exit status says whether the turn is still as identified.
    for (auto [id, out, status] : std::vector<std::tuple<std::string, std::string, int>>{
             {TranscriptTurnID::make(1, "morning"), "exact 2\n", 0},
             {TranscriptTurnID::make(0, "Morning!"), "moved 2\n", 0},
             {TranscriptTurnID::make(1, "Evening"), "stale 2\n", 1},
             {"t01-abcdef", "missing\n", 1}}) {
        EXPECT_EQ(outcome(kit({"locate", file, id})), std::make_tuple(status, out, std::string())) << id;
    }
}

TEST_F(KitCommandTest, EditsRewriteTheFileAndSayWhetherAnythingChanged) {
    const std::string renamed = replaced(transcript, "Speaker 1", "Ana");
    const std::string titled = replaced(renamed, "title: Weekly sync", "title: \"Q3: \\\"plan\\\"\"");
    const std::string noted = replaced(titled, "Old notes.", "From a pipe.");
    const std::string sections = noted + "\n## Action Items\n- Bo: book room\n\n<!-- /zelmor:ai -->\n";
    struct Step {
        std::vector<std::string> arguments; // the file goes after the command
        std::string input;
        bool changes;
        std::string text;
    };
    for (const Step& step : std::vector<Step>{
             {{"rename-speaker", "Speaker", "Ana"}, "", false, transcript},
             {{"rename-speaker", "Speaker 1", "Ana"}, "", true, renamed},
             {{"set-title", "Q3: \"plan\""}, "", true, titled},
             {{"set-notes", "-"}, "\nFrom a pipe.\n\n", true, noted},
             {{"set-sections", "-"}, "Here you go:\n## Action Items\n- Bo: book room\n", true, sections},
             {{"set-sections", "## Action Items\n- Bo: book room"}, "", false, sections}}) {
        std::vector<std::string> arguments = step.arguments;
        arguments.insert(arguments.begin() + 1, file);
        std::string label = arguments[0] + " " + arguments[2];
        std::string said = step.changes ? ": updated " + file : ": no change; " + file + " left as it was";
        EXPECT_EQ(outcome(kit(arguments, step.input)),
                  std::make_tuple(0, std::string(), "zelmor-kit " + arguments[0] + said + "\n"))
            << label;
        EXPECT_EQ(readFile(file), step.text) << label;
    }
}

TEST_F(KitCommandTest, RefusesFilesThatAreNotZelmorTranscripts) {
    std::string foreign = "---\ntitle: Recipe\nsource: Notes app\n---\n\nFlour.\n";
    std::string unmarked = home.write("recipe.md", foreign);
    std::string plain = home.write("plain.md", "source: Zelmor\n\n**Ana:** hi\n");
    const std::string noMarker = " is not a Zelmor transcript: it has no \"source: Zelmor\" line\n";
    for (auto [arguments, err] : std::vector<std::pair<std::vector<std::string>, std::string>>{
             {{"ids", plain},
              plain + " is not a Zelmor transcript: it does not open with a --- frontmatter block\n"},
             {{"ids", home / "absent.md"}, "cannot read " + (home / "absent.md") + "\n"},
             {{"ids", unmarked}, unmarked + noMarker},
             {{"locate", unmarked, "t001-abcdef"}, unmarked + noMarker},
             {{"rename-speaker", unmarked, "Ana", "Bo"}, unmarked + noMarker},
             {{"set-sections", unmarked, "s"}, unmarked + noMarker}})
        EXPECT_EQ(outcome(kit(arguments)),
                  std::make_tuple(1, std::string(), "zelmor-kit " + arguments[0] + ": " + err));
    EXPECT_EQ(readFile(unmarked), foreign);
}

TEST_F(KitCommandTest, ImportsTheFixtureFolderAndReportsEveryEarlierImportOnASecondRun) {
    auto result = kit({"import", fixtures, "--into", into.path()});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_TRUE(result.out.ends_with("\n\n15 imported, 0 already imported, 1 already Zelmor, 0 unrecognized, "
                                     "0 no speech, 1 unreadable\n"));
    for (const std::string& line :
         {fixtures + "/own-transcript.md: skipped, already a Zelmor transcript\n",
          fixtures + "/legacy-windows-1252.txt: unreadable, not readable as text\n"})
        EXPECT_NE(result.out.find(line), std::string::npos) << line;
    EXPECT_TRUE(result.err.starts_with("[1/17] " + fixtures + "/Budget Planning Transcript.txt\n"))
        << result.err;
    EXPECT_TRUE(result.err.ends_with("[17/17] " + fixtures + "/weekly-export.json\n")) << result.err;

    EXPECT_EQ(outcome(kit({"import", fixtures + "/fathom.json", fixtures + "/weekly-export.json", "--into",
                           into.path()})),
              std::make_tuple(0,
                              fixtures + "/fathom.json: already imported as " + (into / "fathom.md") + "\n" +
                                  fixtures + "/weekly-export.json: already imported as " +
                                  (into / "weekly-export (1 of 3).md") +
                                  "\n\n0 imported, 2 already imported, 0 already Zelmor, 0 unrecognized, 0 "
                                  "no speech, 0 unreadable\n",
                              std::string()));
}

TEST_F(KitCommandTest, ImportOptionsAndTheServedFolderAsDefaultDestination) {
    kit({"import", fixtures + "/legacy-windows-1252.txt", "--into", into.path(), "--legacy-encoding",
         "windows-1252"});
    EXPECT_NE(readFile(into / "legacy-windows-1252.md").find("**Renée Martin:** Bonjour à tous"),
              std::string::npos);
    std::string call = into.write("call.vtt", "WEBVTT\n\n00:01.000 --> 00:02.000\n<v Ana>Hi.\n");
    EXPECT_EQ(kit({"import", call}).exitStatus, 0);
    EXPECT_TRUE(platform::exists(home / "Documents/Zelmor/call.md"));
}

TEST_F(KitCommandTest, ErrorsExitOne) {
    for (auto [arguments, err] : std::vector<std::pair<std::vector<std::string>, std::string>>{
             {{"import", "/no/such/export.vtt", "--into", into.path()},
              "zelmor-kit import: no such file or folder: /no/such/export.vtt\n"},
             {{"import", fixtures, "--legacy-encoding", "klingon"},
              "zelmor-kit import: unknown encoding klingon\n"},
             {{"tidy", "--folder", into / "nope"},
              "zelmor-kit tidy: no such folder: " + (into / "nope") + "\n"},
             {{"ask", "pricing", "--folder", "/nonexistent/zelmor"},
              "zelmor-kit ask: no transcripts folder at /nonexistent/zelmor\n"}}) {
        EXPECT_EQ(outcome(kit(arguments)), std::make_tuple(1, std::string(), err));
    }
    EXPECT_EQ(kit({"ask", "--folder", examples}).exitStatus, 1);
}

TEST_F(KitCommandTest, TidyListsFirstAndTrashesOnlyWithYes) {
    std::string twin = into.write("sync.txt", "source: Zelmor\n");
    into.write("sync.md", "---\nsource: Zelmor\n---\n");
    EXPECT_EQ(
        outcome(kit({"tidy", "--folder", into.path()})),
        std::make_tuple(
            0, twin + "\n1 plain-text twin would be moved to the trash. Run again with --yes to move them.\n",
            std::string()));
    EXPECT_EQ(outcome(kit({"tidy", "--folder", into.path(), "--yes"})),
              std::make_tuple(0, twin + "\nMoved 1 of 1 plain-text twin to the trash.\n", std::string()));
    EXPECT_TRUE(platform::exists(platform::trashedFilesFolder({home.path(), std::nullopt}) + "/sync.txt"));
    EXPECT_EQ(kit({"tidy", "--folder", into.path(), "--yes"}).out,
              "No plain-text twins in " + into.path() + "\n");
}

TEST_F(KitCommandTest, AskScopesByTimePhrasesWidensAThinWindowAndSaysSoWhenNothingMatchesInTextOrJSON) {
    auto pricing = kit({"ask", "what did we decide about pricing last month?", "--folder", examples});
    EXPECT_EQ(pricing.exitStatus, 0) << pricing.err;
    EXPECT_TRUE(pricing.out.starts_with("Best matches in 2026-10-01 to 2026-10-31 (3 meetings searched):\n\n"
                                        "1. Pricing decision: Team tier \u2014 2026-10-13\n   " +
                                        examples + "/2026-10-13-pricing-decision-team-tier.md\n"))
        << pricing.out;
    // One meeting of the last 30 days matches; the window widens until three do. "promise" occurs
    // nowhere, yet Wenna and Northwind still find the meetings about them.
    auto widened = kit({"ask", "what did Wenna promise Northwind?", "--folder", examples, "--limit", "1"});
    EXPECT_TRUE(widened.out.starts_with("Widened to 90 days \u2014 only 1 meeting in the last 30\n"
                                        "Best matches in 2026-08-25 to 2026-11-22 (8 meetings searched):\n\n"
                                        "1. Ana / Wenna 1:1 \u2014 2026-11-10\n") &&
                widened.out.find("relevance 1.828, 2 of 3 keywords\n") != std::string::npos &&
                widened.out.find("\n2. ") == std::string::npos)
        << widened.out;
    // Two matching meetings are still too few.
    EXPECT_TRUE(kit({"ask", "team tier", "--folder", examples})
                    .out.starts_with("Widened to 3650 days \u2014 only 2 meetings in the last 365\n"));
    auto answer = nlohmann::json::parse(
        kit({"ask", "pricing", "last", "month", "--folder", examples, "--json", "--limit", "1"}).out);
    EXPECT_EQ(answer["question"], "pricing last month");
    EXPECT_EQ(answer["time_phrases"], nlohmann::json::array({"last month"}));
    EXPECT_EQ(answer["scope"], nlohmann::json::parse(R"({"dateFrom":"2026-10-01","dateTo":"2026-10-31"})"));
    EXPECT_EQ(answer["scanned"], 3);
    EXPECT_FALSE(answer.contains("note")) << "the window was not widened";
    ASSERT_EQ(answer["hits"].size(), 1u);
    EXPECT_EQ(answer["hits"][0]["title"], "Pricing decision: Team tier");
    for (auto [question, start] : std::vector<std::pair<std::string, std::string>>{
             {"pricing in the last 2 meetings",
              "Best matches in the last 2 meetings (2 meetings searched):\n"},
             {"pricing since September",
              "Best matches in meetings since 2026-09-01 (8 meetings searched):\n"},
             {"last month", "The question has no words to look for beyond its time phrases.\n"}})
        EXPECT_TRUE(kit({"ask", question, "--folder", examples}).out.starts_with(start)) << question;
    // Meetings where the user spoke twice in substance rank a quarter higher: 0.707 becomes 0.883
    // and passes the Northwind call's 0.710.
    std::string asWenna = kit({"ask", "northwind", "--folder", examples, "--as", "Wenna Okafor"}).out;
    EXPECT_NE(asWenna.find("\n1. Pricing decision: Team tier \u2014 2026-10-13\n"), std::string::npos)
        << asWenna;
    EXPECT_NE(asWenna.find("relevance 0.883, 1 of 1 keyword\n"), std::string::npos) << asWenna;
    EXPECT_EQ(
        outcome(kit({"ask", "zeppelin airships in March", "--folder", examples})),
        std::make_tuple(
            0, "No meeting in 2026-03-01 to 2026-03-31 mentions zeppelin, airship (0 meetings searched).\n",
            std::string()));
}

std::string meeting(const std::string& title, const std::string& date) {
    return "---\ntitle: " + title + "\ndate: " + date +
           "\nsource: Zelmor\n---\n\n## Transcript\n\n**Ana:** Hello.\n";
}

class DoctorCommandTest : public testing::Test {
protected:
    test::TempFolder home;
    const std::string support = home / "Library/Application Support/Zelmor";
    const std::string settings = support + "/config.json";
    const std::string settingsNotFound =
        "Settings file: " + settings +
        "\n  note     not found: the default folder and memory folder name apply\n\n";
    const std::string writable = "Activity files: " + support +
                                 "\n  ok       agent-activity.json can be created\n"
                                 "  ok       agent-activity-log.jsonl can be created\n\n";
    const std::string unrecorded =
        "             Tool calls are not recorded. Make " + support + " a folder you can write to.\n";

    // Open to others, so that a run as an unprivileged user can reach everything below.
    void SetUp() override { ASSERT_EQ(::chmod(home.path().c_str(), 0755), 0); }

    /// Exit status, output and errors of a run; unprivileged, as a user whom file permissions bind
    /// (the super-user becomes "nobody", from a copy of the binary that "nobody" may run wherever
    /// the build tree lies).
    std::string doctor(std::vector<std::string> arguments = {}, bool unprivileged = false) const {
        std::string binary = ZELMOR_KIT_BINARY;
        if (unprivileged) {
            binary = home.makeFolder("bin") + "/zelmor-kit";
            std::filesystem::copy_file(ZELMOR_KIT_BINARY, binary);
            for (const std::string& path : {home / "bin", binary}) ::chmod(path.c_str(), 0755);
        }
        arguments.insert(arguments.begin(), "doctor");
        auto run = [&] {
            test::ProcessOptions options;
            options.arguments = arguments;
            options.environment = {{"HOME", home.path()}};
            test::ProcessResult result = test::runProcess(binary, options);
            return std::to_string(result.exitStatus) + "\n" + result.out + result.err;
        };
        return unprivileged ? test::runInChild(run, /*unprivileged=*/true).value_or("the child failed")
                            : run();
    }
};

TEST_F(DoctorCommandTest, EveryFileTheServerLeavesOutIsListedWithItsReason) {
    test::TempFolder folder;
    ASSERT_EQ(::chmod(folder.path().c_str(), 0755), 0);
    folder.write("2026/good.md", meeting("Kept", "2026-03-02"));
    folder.write("latin1 ©.md", "---\ntitle: caf\xe9\nsource: Zelmor\n---\n");
    folder.write("sub/no-frontmatter.MD", "source: Zelmor\n\n**Ana:** Hello.\n");
    ASSERT_EQ(::chmod(folder.write("sub/locked.md", meeting("Locked", "2026-03-01")).c_str(), 0), 0);
    folder.write("Memory/Skills/digest.md", meeting("A skill", "2026-03-03"));
    folder.write("call.txt", "text");
    folder.write(".hidden/secret.md", "hidden files are not looked at");
    // A name that would turn the terminal red and break the line, a file far larger than any
    // transcript, and links the server would not read through.
    folder.write("\x1b[31mred\t\r\n\u009b\x7f.md", "# Notes\n");
    ASSERT_EQ(::truncate(folder.write("huge.md", meeting("Huge", "2026-03-04")).c_str(), off_t{1} << 30), 0);
    ASSERT_EQ(::symlink(home.write("secret.md", meeting("Secret", "2026-03-05")).c_str(),
                        (folder / "out.md").c_str()),
              0);
    ASSERT_EQ(::symlink("call.txt", (folder / "text.md").c_str()), 0);

    EXPECT_EQ(
        doctor({"--folder", folder.path()}, true),
        "0\n" + settingsNotFound + "Transcripts folder: " + folder.path() +
            " (given with --folder)\n"
            "  ok       1 meeting, the newest \"Kept\" of 2026-03-02\n"
            "  note     7 markdown files are left out:\n"
            "             \\x1b[31mred\\t\\r\\n\\u009b\\x7f.md: no \"source: Zelmor\" line\n"
            "             huge.md: larger than 16 MB, far beyond any transcript\n"
            "             latin1 ©.md: not UTF-8 text\n"
            "             out.md: a link to a file outside the folder\n"
            "             sub/locked.md: cannot be read\n"
            "             sub/no-frontmatter.MD: no frontmatter (a first line \"---\" and a closing "
            "\"---\")\n"
            "             text.md: a link to a file that is not .md\n"
            "  note     1 file in the skills folder Memory/Skills (instructions for agents, never meetings)\n"
            "  note     1 file is not markdown and ignored\n\n"
            "Activity files: " +
            support +
            "\n  note     the folder does not exist: tool calls are answered but not recorded until it "
            "does\n\n"
            "No problems found.\n");
}

TEST_F(DoctorCommandTest, FolderAndMemoryFolderComeFromTheSettingsFileAndTheWriteCheckLeavesNothing) {
    home.write("Library/Application Support/Zelmor/config.json",
               R"({"output_folder_display_path": " ~/Meetings\n", "engine_folder_name": "Brain"})");
    home.write("Meetings/a.md", meeting("Older", "2026-01-05"));
    home.write("Meetings/Memory/Skills/b.md", meeting("Newer, outside the skills folder", "2026-02-01"));
    home.write("Meetings/Brain/Skills/c.md", meeting("A skill", "2026-03-01"));
    EXPECT_EQ(doctor(),
              "0\nSettings file: " + settings +
                  "\n  ok       read\n\nTranscripts folder: " + (home / "Meetings") +
                  " (from output_folder_display_path in the settings file)\n"
                  "  ok       2 meetings, the newest \"Newer, outside the skills folder\" of 2026-02-01\n"
                  "  note     1 file in the skills folder Brain/Skills (instructions for agents, never "
                  "meetings)\n\n" +
                  writable + "No problems found.\n");
    EXPECT_EQ(test::fileNames(support), std::vector<std::string>{"config.json"})
        << "no probe, no activity file";
}

TEST_F(DoctorCommandTest, MissingFolderIsAProblemWhoseRemedyFollowsWhereThePathCameFrom) {
    home.makeFolder("Library/Application Support/Zelmor");
    const std::string missing = "  problem  the folder does not exist: every tool call will say so\n";
    EXPECT_EQ(doctor(),
              "1\n" + settingsNotFound + "Transcripts folder: " + (home / "Documents/Zelmor") +
                  " (the default, ~/Documents/Zelmor)\n" + missing +
                  "             Set output_folder_display_path in " + settings +
                  ",\n             or start the server with --transcripts-folder PATH (and check it "
                  "here with --folder PATH).\n\n" +
                  writable + "1 problem found.\n");
    std::string file = home.write("meetings.md", meeting("Not a folder", "2026-01-01"));
    struct Case {
        std::vector<std::string> arguments;
        std::string settings, part;
    };
    for (const Case& c : std::vector<Case>{
             {{"--folder", "~/Elsewhere"},
              "",
              "Transcripts folder: " + (home / "Elsewhere") + " (given with --folder)\n" + missing +
                  "             Check the path given with --folder.\n\n"},
             {{},
              R"({"output_folder_display_path": "/nowhere/x"})",
              "Transcripts folder: /nowhere/x (from output_folder_display_path in the settings file)\n" +
                  missing + "             Check output_folder_display_path in " + settings + ".\n\n"},
             {{"--folder", file}, "", " (given with --folder)\n  problem  this is a file, not a folder\n"}}) {
        if (!c.settings.empty()) home.write("Library/Application Support/Zelmor/config.json", c.settings);
        std::string result = doctor(c.arguments);
        EXPECT_TRUE(result.starts_with("1\n") && result.find(c.part) != std::string::npos) << result;
    }
}

TEST_F(DoctorCommandTest, ActivityFilesThatCannotBeWrittenAreProblems) {
    home.makeFolder("Documents/Zelmor");
    auto expectProblems = [&](const std::string& result, const std::string& tail) {
        EXPECT_TRUE(result.starts_with("1\n") &&
                    result.ends_with("Activity files: " + support + "\n  problem  " + tail))
            << result;
    };
    home.write("Library/Application Support/Zelmor", "not a folder");
    expectProblems(doctor(), "this is a file, not a folder\n" + unrecorded + "\n1 problem found.\n");
    std::filesystem::remove(support);
    home.write("Library/Application Support/Zelmor/agent-activity-log.jsonl", "");
    home.makeFolder("Library/Application Support/Zelmor/agent-activity.json");
    expectProblems(doctor(), "agent-activity.json is a folder, not a file\n             Remove " + support +
                                 "/agent-activity.json so that the server can write the file there.\n"
                                 "  ok       agent-activity-log.jsonl can be written\n\n1 problem found.\n");
    // A folder that refuses new files; permissions bind only a user other than the super-user.
    std::filesystem::remove_all(support);
    for (const char* name : {"Library", "Library/Application Support", "Documents", "Documents/Zelmor"})
        ASSERT_EQ(::chmod(home.makeFolder(name).c_str(), 0755), 0);
    home.write("Library/Application Support/Zelmor/agent-activity.json", "{}");
    ASSERT_EQ(::chmod(support.c_str(), 0555), 0);
    expectProblems(
        doctor({}, true),
        "agent-activity.json cannot be written: the folder refuses new files\n" + unrecorded +
            "  problem  agent-activity-log.jsonl cannot be written: the folder refuses new files\n" +
            unrecorded + "\n2 problems found.\n");
}

} // namespace
} // namespace zelmor
