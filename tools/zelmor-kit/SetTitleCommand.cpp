// zelmor-kit set-title: rewrites the title line of a transcript's frontmatter.
#include "Commands.h"
#include "TranscriptFile.h"

#include "ZelmorMarkdownKit/edit/TranscriptEditor.h"

#include <memory>

namespace zelmor::kitcli {

namespace {

struct TitleSettings {
    std::string file;
    std::string title;
};

constexpr const char* titleFooter =
    "Replaces the first line that starts with \"title:\". A title holding a colon, #, an apostrophe\n"
    "or a double quote is written in double quotes, with inner double quotes escaped; any other\n"
    "title is written as given. A file without a title line is left unchanged.\n\n";

int runSetTitle(const TitleSettings& settings) {
    return TranscriptFile::editInPlace("set-title", settings.file, [&](std::string_view text) {
        return TranscriptEditor::setTitle(text, settings.title);
    });
}

} // namespace

void registerSetTitleCommand(CLI::App& app, int& exitStatus) {
    auto settings = std::make_shared<TitleSettings>();
    CLI::App* command = app.add_subcommand("set-title", "Set the title of a Zelmor transcript.");
    command->add_option("FILE", settings->file, "The transcript file")->required();
    command->add_option("TITLE", settings->title, "The new title")->required();
    command->footer(std::string(titleFooter) + TranscriptFile::editFooterCommon);
    command->callback([settings, &exitStatus] { exitStatus = runSetTitle(*settings); });
}

} // namespace zelmor::kitcli
