// zelmor-kit import: converts other meeting tools' exports into Zelmor transcripts on disk.
#include "Commands.h"
#include "Printable.h"

#include "ZelmorMCP/TranscriptFolderResolver.h"
#include "ZelmorMarkdownKit/import/TranscriptImportRunner.h"
#include "platform/FileSystem.h"

#include <unicode/calendar.h>

#include <iostream>
#include <map>
#include <memory>

namespace zelmor::kitcli {

namespace {

namespace Runner = TranscriptImportRunner;

struct ImportSettings {
    std::vector<std::string> sources;
    std::string into;
    std::string legacyEncoding;
};

constexpr const char* importFooter =
    "Formats: WebVTT, SRT, Otter text, speaker-labelled markdown (Granola, Limitless), Limitless\n"
    "lifelogs, Fathom, Fireflies, Circleback and Granola JSON, Granola CSV, and any JSON holding\n"
    "speaker segments. A folder is searched recursively for .vtt, .srt, .txt, .md, .markdown,\n"
    ".json and .csv files; hidden files, the memory folder and .zelmor folders are skipped.\n"
    "\n"
    "Each transcript is written as NAME.md (markdown sources as NAME (imported).md), never over\n"
    "another file; an export holding several meetings becomes NAME (1 of N).md and so on. A source\n"
    "imported before is recognised and left alone, so running the command again is safe.\n"
    "\n"
    "Prints one line per file, then how many were imported, already imported, already Zelmor\n"
    "transcripts, unrecognized, without speech, or unreadable. Progress for folders goes to\n"
    "standard error. Exits 1, importing nothing, when a SOURCE does not exist, --into names a file,\n"
    "or the --legacy-encoding is unknown.";

int runImport(const ImportSettings& settings) {
    std::string home = platform::homeDirectory();
    TranscriptFolderResolver resolver{home, std::nullopt};
    std::string into = settings.into.empty()
                           ? resolver.resolve()
                           : platform::absolutePath(platform::expandTilde(settings.into, home));
    if (platform::exists(into) && !platform::isDirectory(into)) {
        std::cerr << "zelmor-kit import: " << printable(into) << " is not a folder\n";
        return 1;
    }
    std::optional<std::string> legacyEncoding;
    if (!settings.legacyEncoding.empty()) {
        if (!Runner::isAvailableEncoding(settings.legacyEncoding)) {
            std::cerr << "zelmor-kit import: unknown encoding " << settings.legacyEncoding << "\n";
            return 1;
        }
        legacyEncoding = settings.legacyEncoding;
    }
    std::vector<std::string> sources;
    bool missing = false;
    for (const std::string& source : settings.sources) {
        std::string path = platform::absolutePath(platform::expandTilde(source, home));
        if (!platform::exists(path)) {
            std::cerr << "zelmor-kit import: no such file or folder: " << printable(source) << "\n";
            missing = true;
        }
        sources.push_back(path);
    }
    if (missing) return 1;

    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Calendar> calendar(icu::Calendar::createInstance(status));
    if (U_FAILURE(status) || !calendar) {
        std::cerr << "zelmor-kit import: the system calendar is unavailable\n";
        return 1;
    }
    Runner::Options options{*calendar, legacyEncoding};

    std::vector<Runner::FileOutcome> outcomes;
    for (const std::string& source : sources) {
        if (platform::isDirectory(source)) {
            auto progress = [](size_t position, size_t count, const std::string& file) {
                std::cerr << "[" << position << "/" << count << "] " << printable(file) << "\n";
            };
            for (auto& outcome :
                 Runner::importFolder(source, into, resolver.memoryFolderName(), options, progress)) {
                std::cout << printable(Runner::describe(outcome)) << "\n";
                outcomes.push_back(std::move(outcome));
            }
        } else {
            Runner::FileOutcome outcome{source, Runner::importFile(source, into, options)};
            std::cout << printable(Runner::describe(outcome)) << "\n";
            outcomes.push_back(std::move(outcome));
        }
    }

    static constexpr std::string_view categories[] = {"imported",     "already imported", "already Zelmor",
                                                      "unrecognized", "no speech",        "unreadable"};
    std::map<std::string_view, size_t> counts;
    for (const auto& outcome : outcomes) ++counts[Runner::category(outcome.outcome)];
    std::cout << "\n";
    for (size_t i = 0; i < std::size(categories); ++i) {
        std::cout << (i == 0 ? "" : ", ") << counts[categories[i]] << " " << categories[i];
    }
    std::cout << "\n";
    return 0;
}

} // namespace

void registerImportCommand(CLI::App& app, int& exitStatus) {
    auto settings = std::make_shared<ImportSettings>();
    CLI::App* command = app.add_subcommand(
        "import", "Import transcript exports of other meeting tools as Zelmor transcripts.");
    command->add_option("SOURCE", settings->sources, "Export files or folders to import")->required();
    command->add_option("--into", settings->into,
                        "Folder to write the transcripts into (default: the folder zelmor-mcp serves)");
    command->add_option("--legacy-encoding", settings->legacyEncoding,
                        "Read files that are not UTF-8 in this encoding, such as windows-1252 "
                        "(default: report them unreadable)");
    command->footer(importFooter);
    command->callback([settings, &exitStatus] { exitStatus = runImport(*settings); });
}

} // namespace zelmor::kitcli
