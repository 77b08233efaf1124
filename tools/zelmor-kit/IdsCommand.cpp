// zelmor-kit ids: lists each turn's stable identifier with its speaker and first words.
#include "Commands.h"
#include "Printable.h"
#include "TranscriptFile.h"

#include "ZelmorMarkdownKit/edit/TranscriptTurnID.h"
#include "ZelmorMarkdownKit/format/MarkdownTranscriptParser.h"
#include "ZelmorMarkdownKit/text/Whitespace.h"

#include <iostream>
#include <memory>

namespace zelmor::kitcli {

namespace {

/// Enough words to recognise a turn on one terminal line.
constexpr size_t previewWords = 8;

constexpr const char* idsFooter =
    "Prints one line per turn, in order: the identifier, the speaker and the first eight words of\n"
    "the turn (\"...\" marks the rest), separated by tabs. An identifier such as t042-3fa2b1 is the\n"
    "turn's position and a fingerprint of its words that ignores case, punctuation and spacing;\n"
    "\"zelmor-kit locate\" finds the turn again after the file changes. Exits 1 when FILE cannot be\n"
    "read or is not a Zelmor transcript.";

std::string preview(std::string_view text) {
    std::string out;
    size_t count = 0;
    Whitespace::forEachWord(text, [&](std::string_view word) {
        if (count < previewWords)
            out += (count == 0 ? "" : " ") + std::string(word);
        else if (count == previewWords)
            out += " ...";
        ++count;
    });
    return out;
}

int runIds(const std::string& file) {
    auto text = TranscriptFile::read("ids", file);
    if (!text) return 1;
    const auto turns = MarkdownTranscriptParser::parse(*text)->turns;
    const auto identifiers = TranscriptTurnID::ids(turns);
    for (size_t i = 0; i < turns.size(); ++i) {
        std::cout << identifiers[i] << "\t" << printable(turns[i].speaker) << "\t"
                  << printable(preview(turns[i].text)) << "\n";
    }
    return 0;
}

} // namespace

void registerIdsCommand(CLI::App& app, int& exitStatus) {
    auto file = std::make_shared<std::string>();
    CLI::App* command = app.add_subcommand("ids", "List the stable identifiers of a transcript's turns.");
    command->add_option("FILE", *file, "The transcript file")->required();
    command->footer(idsFooter);
    command->callback([file, &exitStatus] { exitStatus = runIds(*file); });
}

} // namespace zelmor::kitcli
