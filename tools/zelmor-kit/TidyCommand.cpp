// zelmor-kit tidy: moves plain-text twins of Zelmor transcripts to the trash, after showing them.
#include "Commands.h"
#include "Printable.h"

#include "ZelmorMCP/TranscriptFolderResolver.h"
#include "ZelmorMarkdownKit/import/TxtTwinTidy.h"
#include "platform/FileSystem.h"

#include <iostream>
#include <memory>

namespace zelmor::kitcli {

namespace {

struct TidySettings {
    std::string folder;
    bool confirmed = false;
};

constexpr const char* tidyFooter =
    "A twin is a NAME.txt file beside NAME.md in the same folder whose text contains\n"
    "\"source: Zelmor\" anywhere, not only as a line of its own. Extensions match exactly (a .TXT\n"
    "file is left alone), hidden files and folders are skipped, and files without the marker (your\n"
    "own notes) are never touched. Without --yes the command only lists what it would move.";

std::string plural(size_t count) {
    return std::to_string(count) + (count == 1 ? " plain-text twin" : " plain-text twins");
}

int runTidy(const TidySettings& settings) {
    std::string home = platform::homeDirectory();
    std::string folder = settings.folder.empty()
                             ? TranscriptFolderResolver{home, std::nullopt}.resolve()
                             : platform::absolutePath(platform::expandTilde(settings.folder, home));
    if (!platform::isDirectory(folder)) {
        std::cerr << "zelmor-kit tidy: no such folder: " << printable(folder) << "\n";
        return 1;
    }
    std::vector<std::string> twins = TxtTwinTidy::plan(folder);
    if (twins.empty()) {
        std::cout << "No plain-text twins in " << printable(folder) << "\n";
        return 0;
    }
    for (const std::string& twin : twins) std::cout << printable(twin) << "\n";
    if (!settings.confirmed) {
        std::cout << plural(twins.size())
                  << " would be moved to the trash. Run again with --yes to move them.\n";
        return 0;
    }
    size_t moved = TxtTwinTidy::trash(twins, platform::TrashOwner::currentUser());
    std::cout << "Moved " << moved << " of " << plural(twins.size()) << " to the trash.\n";
    if (moved < twins.size()) {
        std::cerr << "zelmor-kit tidy: " << twins.size() - moved << " could not be moved to the trash\n";
        return 1;
    }
    return 0;
}

} // namespace

void registerTidyCommand(CLI::App& app, int& exitStatus) {
    auto settings = std::make_shared<TidySettings>();
    CLI::App* command =
        app.add_subcommand("tidy", "List plain-text twins of Zelmor transcripts and move them to the trash.");
    command->add_option("--folder", settings->folder,
                        "Folder to tidy (default: the folder zelmor-mcp serves)");
    command->add_flag("--yes", settings->confirmed,
                      "Move the listed files to the trash instead of only listing them");
    command->footer(tidyFooter);
    command->callback([settings, &exitStatus] { exitStatus = runTidy(*settings); });
}

} // namespace zelmor::kitcli
