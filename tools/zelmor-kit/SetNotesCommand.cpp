// zelmor-kit set-notes: replaces the user's own notes under "## Notes" in a transcript.
#include "Commands.h"
#include "TranscriptFile.h"

#include "ZelmorMarkdownKit/edit/TranscriptEditor.h"

#include <memory>

namespace zelmor::kitcli {

namespace {

struct NotesSettings {
    std::string file;
    std::string notes;
};

constexpr const char* notesFooter =
    "Replaces everything between the \"## Notes\" heading and the \"## Transcript\" heading with\n"
    "TEXT, trimmed, between single blank lines. \"-\" reads TEXT from standard input; an empty TEXT\n"
    "clears the notes. A file without both headings is left unchanged. Put -- before a TEXT that\n"
    "starts with a hyphen.\n\n";

int runSetNotes(const NotesSettings& settings) {
    std::string notes = TranscriptFile::argumentText(settings.notes);
    return TranscriptFile::editInPlace("set-notes", settings.file, [&](std::string_view text) {
        return TranscriptEditor::setNotes(text, notes);
    });
}

} // namespace

void registerSetNotesCommand(CLI::App& app, int& exitStatus) {
    auto settings = std::make_shared<NotesSettings>();
    CLI::App* command = app.add_subcommand("set-notes", "Replace your notes in a Zelmor transcript.");
    command->add_option("FILE", settings->file, "The transcript file")->required();
    command->add_option("TEXT", settings->notes, "The notes, or - to read them from standard input")
        ->required();
    command->footer(std::string(notesFooter) + TranscriptFile::editFooterCommon);
    command->callback([settings, &exitStatus] { exitStatus = runSetNotes(*settings); });
}

} // namespace zelmor::kitcli
