// zelmor-kit rename-speaker: relabels one speaker's turns and participant entry in a transcript.
#include "Commands.h"
#include "TranscriptFile.h"

#include "ZelmorMarkdownKit/edit/TranscriptEditor.h"

#include <memory>

namespace zelmor::kitcli {

namespace {

struct RenameSettings {
    std::string file;
    std::string oldLabel;
    std::string newLabel;
};

constexpr const char* renameFooter =
    "Renames every turn that starts with **OLD:** and the participant line \"  - OLD\". Labels match\n"
    "exactly and case-sensitively, so renaming \"Speaker 1\" leaves \"Speaker 10\" alone; participants\n"
    "written any other way (quoted, indented differently, an inline list) are not renamed.\n"
    "An empty label, or NEW equal to OLD, changes nothing.\n\n";

int runRename(const RenameSettings& settings) {
    return TranscriptFile::editInPlace("rename-speaker", settings.file, [&](std::string_view text) {
        return TranscriptEditor::renameSpeaker(text, settings.oldLabel, settings.newLabel);
    });
}

} // namespace

void registerRenameSpeakerCommand(CLI::App& app, int& exitStatus) {
    auto settings = std::make_shared<RenameSettings>();
    CLI::App* command = app.add_subcommand("rename-speaker", "Rename a speaker in a Zelmor transcript.");
    command->add_option("FILE", settings->file, "The transcript file")->required();
    command->add_option("OLD", settings->oldLabel, "The speaker label as written, such as \"Speaker 1\"")
        ->required();
    command->add_option("NEW", settings->newLabel, "The new label")->required();
    command->footer(std::string(renameFooter) + TranscriptFile::editFooterCommon);
    command->callback([settings, &exitStatus] { exitStatus = runRename(*settings); });
}

} // namespace zelmor::kitcli
