// zelmor-kit doctor: checks what zelmor-mcp will serve — the folder it resolves, the meetings in
// it, the files its scan leaves out and why — and whether the activity files can be written.
#include "Commands.h"
#include "Printable.h"

#include "ZelmorMCP/MeetingStore.h"
#include "ZelmorMCP/TranscriptFolderResolver.h"
#include "ZelmorMarkdownKit/activity/AgentActivityFeed.h"
#include "ZelmorMarkdownKit/activity/AgentActivityLog.h"
#include "ZelmorMarkdownKit/format/MarkdownTranscriptParser.h"
#include "ZelmorMarkdownKit/format/SkillsFolder.h"
#include "ZelmorMarkdownKit/format/ZelmorTranscriptMarker.h"
#include "ZelmorMarkdownKit/text/FileLimits.h"
#include "ZelmorMarkdownKit/text/UTF8.h"
#include "platform/FileSystem.h"
#include "platform/FolderListing.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <iostream>
#include <memory>

namespace zelmor::kitcli {

namespace {

struct DoctorSettings {
    std::string folder;
};

constexpr const char* doctorFooter =
    "Prints three parts, each finding marked ok, note or problem:\n"
    "  Settings file       ~/Library/Application Support/Zelmor/config.json, read as zelmor-mcp\n"
    "                      reads it.\n"
    "  Transcripts folder  the folder zelmor-mcp serves (or --folder), its meetings, and each .md\n"
    "                      file the server leaves out, with the reason: cannot be read, not UTF-8\n"
    "                      text, no \"source: Zelmor\" line, or no frontmatter. Files in the skills\n"
    "                      folder and files that are not .md are counted.\n"
    "  Activity files      agent-activity.json and agent-activity-log.jsonl beside the settings\n"
    "                      file, where the server records tool calls for the Zelmor app; they\n"
    "                      must be writable.\n"
    "Files left out and a missing activity folder are notes, not problems.\n"
    "Exit status: 0 when no problem was found, 1 when the transcripts folder is missing or\n"
    "unreadable or an activity file cannot be written.";

// Labels in a fixed-width column so that the findings line up.
constexpr const char* okLabel = "  ok       ";
constexpr const char* noteLabel = "  note     ";
constexpr const char* problemLabel = "  problem  ";
constexpr const char* detailIndent = "             ";

/// Prints the findings as they come, and counts the problems for the exit status.
class Findings {
public:
    // Every line may carry a file name, so each is printed with its control characters escaped.
    void heading(const std::string& text) { std::cout << printable(text) << "\n"; }
    void ok(const std::string& text) { std::cout << okLabel << printable(text) << "\n"; }
    void note(const std::string& text) { std::cout << noteLabel << printable(text) << "\n"; }
    void detail(const std::string& text) { std::cout << detailIndent << printable(text) << "\n"; }
    /// `remedy` may hold several lines.
    void problem(const std::string& text, std::string_view remedy) {
        std::cout << problemLabel << printable(text) << "\n";
        while (!remedy.empty()) {
            size_t end = std::min(remedy.find('\n'), remedy.size());
            detail(std::string(remedy.substr(0, end)));
            remedy.remove_prefix(std::min(end + 1, remedy.size()));
        }
        ++problems_;
    }
    int problems() const { return problems_; }

private:
    int problems_ = 0;
};

std::string counted(size_t count, const char* one, const char* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

/// The path below the folder, for shorter lines; names that are not UTF-8 are shown repaired.
std::string shown(const std::string& path, const std::string& folder) {
    std::string relative = path.starts_with(folder + "/") ? path.substr(folder.size() + 1) : path;
    return UTF8::isValid(relative) ? relative : UTF8::repaired(relative);
}

/// Why the server's scan leaves a markdown file out, from the scan's own checks in the scan's
/// order; nothing for a meeting.
std::optional<std::string> skipReason(const std::string& path) {
    // The server could neither show such a name to the agent nor take it back to read.
    if (!UTF8::isValid(path)) return "the file name is not UTF-8";
    if (platform::fileSize(path).value_or(0) > FileLimits::transcriptBytes)
        return "larger than 16 MB, far beyond any transcript";
    auto text = platform::readFile(path, FileLimits::transcriptBytes);
    if (!text) return "cannot be read";
    if (!UTF8::isValid(*text)) return "not UTF-8 text";
    if (!ZelmorTranscriptMarker::declares(*text)) return "no \"source: Zelmor\" line";
    if (!MarkdownTranscriptParser::parseFrontmatter(*text))
        return "no frontmatter (a first line \"---\" and a closing \"---\")";
    return std::nullopt;
}

/// Why the scan leaves out a link, as read_meeting would refuse it; else the file's own reason.
std::optional<std::string> linkReason(const MeetingStore& store, const std::string& path) {
    using Kind = MeetingStore::StoreError::Kind;
    try {
        store.resolveInsideFolder(path);
    } catch (const MeetingStore::StoreError& error) {
        if (error.kind == Kind::outsideFolder) return "a link to a file outside the folder";
        if (error.kind == Kind::skillFile) return "a link into the skills folder";
        return "a link to a file that is not .md";
    }
    return skipReason(path);
}

enum class SettingsState { missing, unusable, read };

SettingsState settingsState(const std::string& path) {
    auto text = platform::readFile(path, FileLimits::settingsBytes);
    if (!text) return platform::exists(path) ? SettingsState::unusable : SettingsState::missing;
    return nlohmann::json::parse(*text, nullptr, /*allow_exceptions=*/false).is_object()
               ? SettingsState::read
               : SettingsState::unusable;
}

void checkSettings(const std::string& settingsPath, Findings& findings) {
    findings.heading("Settings file: " + settingsPath);
    switch (settingsState(settingsPath)) {
    case SettingsState::missing:
        findings.note("not found: the default folder and memory folder name apply");
        break;
    case SettingsState::unusable:
        findings.note("not readable as a JSON object: the defaults apply, as if it were missing");
        break;
    case SettingsState::read:
        findings.ok("read");
        break;
    }
}

/// Where the transcripts folder's path came from, which is where a wrong one is put right.
enum class FolderSource { option, settings, fallback };

std::string folderRemedy(FolderSource source, const std::string& settingsPath) {
    if (source == FolderSource::option) return "Check the path given with --folder.";
    if (source == FolderSource::settings) return "Check output_folder_display_path in " + settingsPath + ".";
    return "Set output_folder_display_path in " + settingsPath +
           ",\nor start the server with --transcripts-folder PATH (and check it here with --folder PATH).";
}

void checkTranscripts(const std::string& folder, FolderSource source, const std::string& memoryFolderName,
                      const std::string& settingsPath, Findings& findings) {
    std::string origin = source == FolderSource::option ? "given with --folder"
                         : source == FolderSource::settings
                             ? "from output_folder_display_path in the settings file"
                             : "the default, ~/Documents/Zelmor";
    findings.heading("Transcripts folder: " + folder + " (" + origin + ")");
    if (!platform::exists(folder)) {
        findings.problem("the folder does not exist: every tool call will say so",
                         folderRemedy(source, settingsPath));
        return;
    }
    if (!platform::isDirectory(folder)) {
        findings.problem("this is a file, not a folder", folderRemedy(source, settingsPath));
        return;
    }
    std::vector<bool> isLink;
    auto files = platform::listFilesRecursively(folder, &isLink);
    if (!files) {
        findings.problem("the folder cannot be read", "Check its permissions: the server runs as your user.");
        return;
    }

    std::vector<std::pair<std::string, std::string>> skipped;
    size_t skills = 0, others = 0;
    MeetingStore store(folder, memoryFolderName);
    for (size_t i = 0; i < files->size(); ++i) {
        const std::string& path = (*files)[i];
        if (!MeetingStore::isMarkdownPath(path)) {
            ++others;
        } else if (SkillsFolder::holds(path, memoryFolderName)) {
            ++skills;
        } else if (auto reason = isLink[i] ? linkReason(store, path) : skipReason(path)) {
            skipped.emplace_back(shown(path, folder), std::move(*reason));
        }
    }

    std::vector<MeetingStore::Meeting> meetings;
    try {
        meetings = store.scanHeaders();
    } catch (const MeetingStore::StoreError&) {
        findings.problem("the folder disappeared while it was checked", "Run the check again.");
        return;
    }
    if (meetings.empty()) {
        findings.note("no meetings: every search will come back empty");
    } else {
        const TranscriptDocument& newest = meetings.front().doc;
        findings.ok(counted(meetings.size(), "meeting", "meetings") + ", the newest \"" +
                    (newest.title.empty() ? "(untitled)" : newest.title) + "\" of " + newest.date);
    }
    if (!skipped.empty()) {
        findings.note(counted(skipped.size(), "markdown file is", "markdown files are") + " left out:");
        for (const auto& [path, reason] : skipped) findings.detail(path + ": " + reason);
    }
    if (skills > 0)
        findings.note(counted(skills, "file", "files") + " in the skills folder " + memoryFolderName + "/" +
                      SkillsFolder::folderName + " (instructions for agents, never meetings)");
    if (others > 0) findings.note(counted(others, "file is", "files are") + " not markdown and ignored");
}

/// Writes and removes a probe file the way the activity writers replace their files: a
/// temporary file beside the target, renamed into place.
bool canReplaceFilesIn(const std::string& folder) {
    std::string probe = folder + "/.zelmor-kit-doctor-probe";
    if (!platform::writeFileAtomically(probe, "")) return false;
    platform::removeFile(probe);
    return true;
}

void checkActivityFiles(const std::string& supportFolder, Findings& findings) {
    findings.heading("Activity files: " + supportFolder);
    if (!platform::exists(supportFolder)) {
        findings.note("the folder does not exist: tool calls are answered but not recorded until it does");
        return;
    }
    const std::string remedy =
        "Tool calls are not recorded. Make " + supportFolder + " a folder you can write to.";
    if (!platform::isDirectory(supportFolder)) {
        findings.problem("this is a file, not a folder", remedy);
        return;
    }
    const bool writable = canReplaceFilesIn(supportFolder);
    for (std::string_view name : {AgentActivityLog::fileName, AgentActivityFeed::fileName}) {
        std::string path = supportFolder + "/" + std::string(name);
        if (platform::isDirectory(path)) {
            findings.problem(std::string(name) + " is a folder, not a file",
                             "Remove " + path + " so that the server can write the file there.");
        } else if (!writable) {
            findings.problem(std::string(name) + " cannot be written: the folder refuses new files", remedy);
        } else {
            findings.ok(std::string(name) + (platform::exists(path) ? " can be written" : " can be created"));
        }
    }
}

int runDoctor(const DoctorSettings& settings) {
    std::string home = platform::homeDirectory();
    TranscriptFolderResolver resolver{home, std::nullopt};
    if (!settings.folder.empty())
        resolver.overrideFolder = platform::absolutePath(platform::expandTilde(settings.folder, home));
    const std::string settingsPath =
        platform::standardizePath(home + "/" + TranscriptFolderResolver::configurationPath);
    const std::string folder = resolver.resolve();
    const std::string defaultFolder =
        platform::absolutePath(home + "/" + TranscriptFolderResolver::defaultFolderPath);
    const FolderSource source = resolver.overrideFolder   ? FolderSource::option
                                : folder == defaultFolder ? FolderSource::fallback
                                                          : FolderSource::settings;

    Findings findings;
    checkSettings(settingsPath, findings);
    std::cout << "\n";
    checkTranscripts(folder, source, resolver.memoryFolderName(), settingsPath, findings);
    std::cout << "\n";
    checkActivityFiles(resolver.supportDirectory(), findings);
    std::cout << "\n";
    if (findings.problems() == 0) {
        std::cout << "No problems found.\n";
        return 0;
    }
    std::cout << counted(static_cast<size_t>(findings.problems()), "problem", "problems") << " found.\n";
    return 1;
}

} // namespace

void registerDoctorCommand(CLI::App& app, int& exitStatus) {
    auto settings = std::make_shared<DoctorSettings>();
    CLI::App* command = app.add_subcommand(
        "doctor",
        "Check the transcripts folder zelmor-mcp serves, the files it leaves out, and the activity files.");
    command->add_option("--folder", settings->folder,
                        "Transcripts folder to check (default: the folder zelmor-mcp serves)");
    command->footer(doctorFooter);
    command->callback([settings, &exitStatus] { exitStatus = runDoctor(*settings); });
}

} // namespace zelmor::kitcli
