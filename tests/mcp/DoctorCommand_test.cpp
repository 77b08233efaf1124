// zelmor-kit doctor through the real binary: a healthy folder, each reason the server leaves a
// file out, and each way the folder or the activity files can be wrong, with the exit status.
#include "ZelmorMCP/MeetingStore.h"
#include "tests/support/Subprocess.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace zelmor {
namespace {

using test::ProcessResult;
using test::TempFolder;

const std::string examples = std::string(ZELMOR_SOURCE_DIR) + "/examples/transcripts";

std::string transcript(const std::string& title, const std::string& date) {
    return "---\ntitle: " + title + "\ndate: " + date +
           "\nparticipants:\n  - Ana\nsource: Zelmor\n---\n\n## Notes\n\n## Transcript\n\n**Ana:** Hello.\n";
}

class DoctorCommandTest : public testing::Test {
protected:
    // Open to others, so that a run as an unprivileged user can reach everything below.
    void SetUp() override { ASSERT_EQ(::chmod(home.path().c_str(), 0755), 0); }

    ProcessResult doctor(std::vector<std::string> arguments = {},
                         const std::string& binary = ZELMOR_KIT_BINARY) const {
        test::ProcessOptions options;
        options.arguments = {"doctor"};
        options.arguments.insert(options.arguments.end(), arguments.begin(), arguments.end());
        options.environment = std::map<std::string, std::string>{{"HOME", home.path()}};
        return test::runProcess(binary, options);
    }

    /// The same run as a user whom file permissions bind (the super-user becomes "nobody").
    ProcessResult doctorUnprivileged(std::vector<std::string> arguments = {}) const {
        // Run from a copy that "nobody" may run wherever the build tree lies (a clone inside a
        // private folder would leave it unable to).
        std::string binary = tools.makeFolder("bin") + "/zelmor-kit";
        std::filesystem::copy_file(ZELMOR_KIT_BINARY, binary,
                                   std::filesystem::copy_options::overwrite_existing);
        ::chmod(tools.path().c_str(), 0755);
        ::chmod((tools / "bin").c_str(), 0755);
        ::chmod(binary.c_str(), 0755);
        ProcessResult result;
        auto outcome = test::runInChild(
            [&] {
                ProcessResult run = doctor(arguments, binary);
                return std::to_string(run.exitStatus) + "\n" + run.out;
            },
            /*unprivileged=*/true);
        if (!outcome) return result;
        size_t newline = outcome->find('\n');
        result.exitStatus = std::stoi(outcome->substr(0, newline));
        result.out = outcome->substr(newline + 1);
        return result;
    }

    std::string supportFolder() const { return home / "Library/Application Support/Zelmor"; }
    std::string settingsFile() const { return supportFolder() + "/config.json"; }
    std::string makeSupportFolder() const { return home.makeFolder("Library/Application Support/Zelmor"); }

    std::string settingsNotFound() const {
        return "Settings file: " + settingsFile() +
               "\n  note     not found: the default folder and memory folder name apply\n\n";
    }
    std::string activityWritable() const {
        return "Activity files: " + supportFolder() +
               "\n  ok       agent-activity.json can be created\n"
               "  ok       agent-activity-log.jsonl can be created\n\n";
    }

    std::string activityMissing() const {
        return "Activity files: " + supportFolder() +
               "\n  note     the folder does not exist: tool calls are answered but not recorded until it "
               "does\n\n";
    }

    TempFolder home;
    TempFolder tools;
};

TEST_F(DoctorCommandTest, ExampleFolderIsHealthyAndNothingIsLeftBehind) {
    makeSupportFolder();
    auto result = doctor({"--folder", examples});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out,
              settingsNotFound() + "Transcripts folder: " + examples +
                  " (given with --folder)\n"
                  "  ok       8 meetings, the newest \"Ana / Wenna 1:1\" of 2026-11-10\n"
                  "  note     1 markdown file is left out:\n"
                  "             README.md: no \"source: Zelmor\" line\n"
                  "  note     1 file in the skills folder Memory/Skills (instructions for agents, never "
                  "meetings)\n\n" +
                  activityWritable() + "No problems found.\n");
    // The write check leaves no probe and creates no activity file.
    EXPECT_TRUE(std::filesystem::is_empty(supportFolder()));
}

TEST_F(DoctorCommandTest, EveryFileTheServerLeavesOutIsListedWithItsReason) {
    TempFolder folder;
    ASSERT_EQ(::chmod(folder.path().c_str(), 0755), 0);
    folder.write("2026/good.md", transcript("Kept", "2026-03-02"));
    folder.write("latin1.md", "---\ntitle: caf\xe9\nsource: Zelmor\n---\n");
    folder.write("notes.md", "# My own notes\n");
    folder.write("sub/no-frontmatter.MD", "source: Zelmor\n\n**Ana:** Hello.\n");
    std::string locked = folder.write("sub/locked.md", transcript("Locked", "2026-03-01"));
    ASSERT_EQ(::chmod(locked.c_str(), 0), 0);
    folder.write("Memory/Skills/digest.md", transcript("A skill", "2026-03-03"));
    folder.write("call.m4a", "audio");
    folder.write("call.txt", "text");
    folder.write(".hidden/secret.md", "hidden files are not looked at");
    // A name that would turn the terminal red, a file far larger than any transcript, and links
    // the server would not read through.
    folder.write("\x1b[31mred.md", "# Notes\n");
    std::string huge = folder.write("huge.md", transcript("Huge", "2026-03-04"));
    ASSERT_EQ(::truncate(huge.c_str(), off_t{1} << 30), 0);
    TempFolder elsewhere;
    ASSERT_EQ(::chmod(elsewhere.path().c_str(), 0755), 0);
    ASSERT_EQ(::symlink(elsewhere.write("secret.md", transcript("Secret", "2026-03-05")).c_str(),
                        (folder / "out.md").c_str()),
              0);
    ASSERT_EQ(::symlink("call.txt", (folder / "text.md").c_str()), 0);

    auto result = doctorUnprivileged({"--folder", folder.path()});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.out,
              settingsNotFound() + "Transcripts folder: " + folder.path() +
                  " (given with --folder)\n"
                  "  ok       1 meeting, the newest \"Kept\" of 2026-03-02\n"
                  "  note     8 markdown files are left out:\n"
                  "             \\x1b[31mred.md: no \"source: Zelmor\" line\n"
                  "             huge.md: larger than 16 MB, far beyond any transcript\n"
                  "             latin1.md: not UTF-8 text\n"
                  "             notes.md: no \"source: Zelmor\" line\n"
                  "             out.md: a link to a file outside the folder\n"
                  "             sub/locked.md: cannot be read\n"
                  "             sub/no-frontmatter.MD: no frontmatter (a first line \"---\" and a "
                  "closing \"---\")\n"
                  "             text.md: a link to a file that is not .md\n"
                  "  note     1 file in the skills folder Memory/Skills (instructions for agents, never "
                  "meetings)\n"
                  "  note     2 files are not markdown and ignored\n\n" +
                  activityMissing() + "No problems found.\n");
    // The count is the server's own: its scan, bound by the same permissions, keeps the one meeting.
    auto scanned = test::runInChild(
        [&] {
            std::string paths;
            for (const auto& meeting : MeetingStore(folder.path()).scan()) paths += meeting.path + "\n";
            return paths;
        },
        /*unprivileged=*/true);
    EXPECT_EQ(scanned, folder / "2026/good.md" + "\n");
}

TEST_F(DoctorCommandTest, FolderAndMemoryFolderComeFromTheSettingsFile) {
    makeSupportFolder();
    home.write("Library/Application Support/Zelmor/config.json",
               R"({"output_folder_display_path": " ~/Meetings\n", "engine_folder_name": "Brain"})");
    home.write("Meetings/a.md", transcript("Older", "2026-01-05"));
    home.write("Meetings/Memory/Skills/b.md", transcript("Newer, outside the skills folder", "2026-02-01"));
    home.write("Meetings/Brain/Skills/c.md", transcript("A skill", "2026-03-01"));

    auto result = doctor();
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.out,
              "Settings file: " + settingsFile() + "\n  ok       read\n\n" +
                  "Transcripts folder: " + (home / "Meetings") +
                  " (from output_folder_display_path in the settings file)\n"
                  "  ok       2 meetings, the newest \"Newer, outside the skills folder\" of 2026-02-01\n"
                  "  note     1 file in the skills folder Brain/Skills (instructions for agents, never "
                  "meetings)\n\n" +
                  activityWritable() + "No problems found.\n");
}

TEST_F(DoctorCommandTest, SettingsThatAreNotAJSONObjectAndAnEmptyFolderAreNotesNotProblems) {
    makeSupportFolder();
    home.write("Library/Application Support/Zelmor/config.json", R"(["output_folder_display_path"])");
    home.makeFolder("Documents/Zelmor");
    auto result = doctor();
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.out,
              "Settings file: " + settingsFile() +
                  "\n  note     not readable as a JSON object: the defaults apply, as if it were missing\n\n"
                  "Transcripts folder: " +
                  (home / "Documents/Zelmor") +
                  " (the default, ~/Documents/Zelmor)\n"
                  "  note     no meetings: every search will come back empty\n\n" +
                  activityWritable() + "No problems found.\n");
}

TEST_F(DoctorCommandTest, MissingFolderIsAProblemWhoseRemedyFollowsWhereThePathCameFrom) {
    makeSupportFolder();
    const std::string missing = "  problem  the folder does not exist: every tool call will say so\n";

    auto byDefault = doctor();
    EXPECT_EQ(byDefault.exitStatus, 1);
    EXPECT_EQ(byDefault.out,
              settingsNotFound() + "Transcripts folder: " + (home / "Documents/Zelmor") +
                  " (the default, ~/Documents/Zelmor)\n" + missing +
                  "             Set output_folder_display_path in " + settingsFile() +
                  ",\n"
                  "             or start the server with --transcripts-folder PATH (and check it "
                  "here with --folder PATH).\n\n" +
                  activityWritable() + "1 problem found.\n");

    auto given = doctor({"--folder", "~/Elsewhere"});
    EXPECT_EQ(given.exitStatus, 1);
    EXPECT_NE(given.out.find("Transcripts folder: " + (home / "Elsewhere") + " (given with --folder)\n" +
                             missing + "             Check the path given with --folder.\n\n"),
              std::string::npos)
        << given.out;

    home.write("Library/Application Support/Zelmor/config.json",
               R"({"output_folder_display_path": "/nowhere/x"})");
    auto configured = doctor();
    EXPECT_EQ(configured.exitStatus, 1);
    EXPECT_NE(configured.out.find("Transcripts folder: /nowhere/x (from output_folder_display_path in the "
                                  "settings file)\n" +
                                  missing + "             Check output_folder_display_path in " +
                                  settingsFile() + ".\n\n"),
              std::string::npos)
        << configured.out;

    std::string file = home.write("meetings.md", transcript("Not a folder", "2026-01-01"));
    auto notAFolder = doctor({"--folder", file});
    EXPECT_EQ(notAFolder.exitStatus, 1);
    EXPECT_NE(notAFolder.out.find(" (given with --folder)\n  problem  this is a file, not a folder\n"),
              std::string::npos)
        << notAFolder.out;
}

TEST_F(DoctorCommandTest, ActivityFileOrFolderOfTheWrongKindIsAProblem) {
    const std::string heading = "Activity files: " + supportFolder() + "\n  problem  ";
    home.write("Library/Application Support/Zelmor", "not a folder");
    auto file = doctor({"--folder", examples});
    EXPECT_EQ(file.exitStatus, 1);
    EXPECT_TRUE(file.out.ends_with(heading +
                                   "this is a file, not a folder\n             Tool calls are not recorded. "
                                   "Make " +
                                   supportFolder() + " a folder you can write to.\n\n1 problem found.\n"))
        << file.out;

    std::filesystem::remove(supportFolder());
    makeSupportFolder();
    home.write("Library/Application Support/Zelmor/agent-activity-log.jsonl", "");
    home.makeFolder("Library/Application Support/Zelmor/agent-activity.json");
    auto folder = doctor({"--folder", examples});
    EXPECT_EQ(folder.exitStatus, 1);
    EXPECT_TRUE(folder.out.ends_with(
        heading + "agent-activity.json is a folder, not a file\n             Remove " + supportFolder() +
        "/agent-activity.json so that the server can write the file "
        "there.\n  ok       agent-activity-log.jsonl can be written\n\n1 problem found.\n"))
        << folder.out;
}

TEST_F(DoctorCommandTest, ReadOnlyActivityFolderIsAProblemForBothFiles) {
    ASSERT_EQ(::chmod(home.makeFolder("Library").c_str(), 0755), 0);
    ASSERT_EQ(::chmod(home.makeFolder("Library/Application Support").c_str(), 0755), 0);
    makeSupportFolder();
    home.write("Library/Application Support/Zelmor/agent-activity.json", "{}");
    ASSERT_EQ(::chmod(supportFolder().c_str(), 0555), 0);

    // A folder "nobody" can read, wherever the source tree lies.
    std::string meetings = home.makeFolder("meetings");
    std::filesystem::copy_file(examples + "/2026-10-20-q1-planning.md", meetings + "/q1-planning.md");
    ASSERT_EQ(::chmod(meetings.c_str(), 0755), 0);
    ASSERT_EQ(::chmod((meetings + "/q1-planning.md").c_str(), 0644), 0);

    auto result = doctorUnprivileged({"--folder", meetings});
    EXPECT_EQ(result.exitStatus, 1);
    const std::string remedy =
        "             Tool calls are not recorded. Make " + supportFolder() + " a folder you can write to.\n";
    EXPECT_NE(result.out.find(
                  "Activity files: " + supportFolder() +
                  "\n  problem  agent-activity.json cannot be written: the folder refuses new files\n" +
                  remedy +
                  "  problem  agent-activity-log.jsonl cannot be written: the folder refuses new files\n" +
                  remedy + "\n2 problems found.\n"),
              std::string::npos)
        << result.out;
}

} // namespace
} // namespace zelmor
