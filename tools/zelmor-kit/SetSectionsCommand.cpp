// zelmor-kit set-sections: writes AI sections (summary, notes, action items, key moments) into the
// machine-written block at the end of a transcript.
#include "Commands.h"
#include "TranscriptFile.h"

#include "ZelmorMarkdownKit/edit/NotesBlockWriter.h"
#include "ZelmorMarkdownKit/edit/TranscriptEditor.h"

#include <memory>

namespace zelmor::kitcli {

namespace {

struct SectionsSettings {
    std::string file;
    std::string sections;
};

constexpr const char* sectionsFooter =
    "TEXT holds markdown sections headed \"## Summary\", \"## Meeting Notes\", \"## Action Items\" or\n"
    "\"## Key Moments\"; anything before the first such heading is dropped, and TEXT without one is\n"
    "written as the summary. The sections replace the block that ends with the line\n"
    "\"<!-- /zelmor:ai -->\" after the transcript, or start one at the end of the file. An empty\n"
    "TEXT removes the block. \"-\" reads TEXT from standard input; put -- before a TEXT that starts\n"
    "with a hyphen. A plain-text copy NAME.txt beside the file is updated too.\n\n";

int runSetSections(const SectionsSettings& settings) {
    constexpr std::string_view name = "set-sections";
    auto text = TranscriptFile::read(name, settings.file);
    if (!text) return 1;
    std::string sections =
        NotesBlockWriter::sanitizedSections(TranscriptFile::argumentText(settings.sections)).value_or("");
    if (TranscriptEditor::setEnhancedSections(*text, sections) == *text) {
        TranscriptFile::reportUnchanged(name, settings.file);
        return 0;
    }
    if (!NotesBlockWriter::apply(sections, *text, settings.file))
        return TranscriptFile::reportWriteFailure(name, settings.file);
    TranscriptFile::reportUpdated(name, settings.file);
    return 0;
}

} // namespace

void registerSetSectionsCommand(CLI::App& app, int& exitStatus) {
    auto settings = std::make_shared<SectionsSettings>();
    CLI::App* command = app.add_subcommand(
        "set-sections", "Write AI sections into the machine-written block of a Zelmor transcript.");
    command->add_option("FILE", settings->file, "The transcript file")->required();
    command->add_option("TEXT", settings->sections, "The sections, or - to read them from standard input")
        ->required();
    command->footer(std::string(sectionsFooter) + TranscriptFile::editFooterCommon);
    command->callback([settings, &exitStatus] { exitStatus = runSetSections(*settings); });
}

} // namespace zelmor::kitcli
