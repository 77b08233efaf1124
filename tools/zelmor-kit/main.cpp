// zelmor-kit: one table of subcommands, each registered from its own file.
#include "Commands.h"
#include "ZelmorVersion.h"

#include <iostream>

int main(int argc, char** argv) {
    using namespace zelmor::kitcli;
    CLI::App app{"zelmor-kit: import, tidy, ask and edit Zelmor meeting transcripts from the terminal."};
    app.set_version_flag("--version", ZELMOR_VERSION);
    app.require_subcommand(1);
    int exitStatus = 0;
    static constexpr Registration registrations[] = {
        registerAskCommand,      registerImportCommand,   registerTidyCommand,
        registerIdsCommand,      registerLocateCommand,   registerRenameSpeakerCommand,
        registerSetTitleCommand, registerSetNotesCommand, registerSetSectionsCommand,
        registerDoctorCommand,
    };
    for (Registration add : registrations) {
        add(app, exitStatus);
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        // Help and version exit 0; every usage error is status 1, like any other failure.
        return app.exit(error) == 0 ? 0 : 1;
    }
    return exitStatus;
}
