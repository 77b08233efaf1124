// zelmor-kit locate: finds the turn a stable identifier names, after the transcript has changed.
#include "Commands.h"
#include "Printable.h"
#include "TranscriptFile.h"

#include "ZelmorMarkdownKit/edit/TranscriptTurnID.h"
#include "ZelmorMarkdownKit/format/MarkdownTranscriptParser.h"

#include <iostream>
#include <memory>

namespace zelmor::kitcli {

namespace {

struct LocateSettings {
    std::string file;
    std::string id;
};

constexpr const char* locateFooter =
    "Prints one line, with turn positions counted from 1 as in \"zelmor-kit ids\":\n"
    "  exact N   turn N still has the identifier's words\n"
    "  moved N   the words now stand at turn N (the nearest copy, the earlier one on a tie)\n"
    "  stale N   turn N exists but its words changed, and no turn has the old ones\n"
    "  missing   the identifier is malformed, or both its position and its words are gone\n"
    "Exits 0 for exact and moved, 1 for stale and missing, and 1 when FILE cannot be read or is\n"
    "not a Zelmor transcript.";

struct Outcome {
    std::string line;
    bool found;
};

Outcome describe(const TranscriptTurnID::Match& match) {
    using namespace TranscriptTurnID;
    auto position = [](size_t index) { return std::to_string(index + 1); };
    if (auto* exact = std::get_if<Exact>(&match)) return {"exact " + position(exact->index), true};
    if (auto* moved = std::get_if<Moved>(&match)) return {"moved " + position(moved->index), true};
    if (auto* stale = std::get_if<Stale>(&match)) return {"stale " + position(stale->index), false};
    return {"missing", false};
}

int runLocate(const LocateSettings& settings) {
    auto text = TranscriptFile::read("locate", settings.file);
    if (!text) return 1;
    Outcome outcome =
        describe(TranscriptTurnID::locate(settings.id, MarkdownTranscriptParser::parse(*text)->turns));
    std::cout << printable(outcome.line) << "\n";
    return outcome.found ? 0 : 1;
}

} // namespace

void registerLocateCommand(CLI::App& app, int& exitStatus) {
    auto settings = std::make_shared<LocateSettings>();
    CLI::App* command = app.add_subcommand("locate", "Find the turn a stable identifier names.");
    command->add_option("FILE", settings->file, "The transcript file")->required();
    command->add_option("ID", settings->id, "A turn identifier from \"zelmor-kit ids\", such as t003-3fa2b1")
        ->required();
    command->footer(locateFooter);
    command->callback([settings, &exitStatus] { exitStatus = runLocate(*settings); });
}

} // namespace zelmor::kitcli
