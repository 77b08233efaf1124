// zelmor-kit: one table of subcommands, each registered from its own file.
#include "Commands.h"

#include <iostream>

namespace zelmor::kitcli {
// Registrations, one per subcommand file.
} // namespace zelmor::kitcli

int main(int argc, char** argv) {
    using namespace zelmor::kitcli;
    CLI::App app{"zelmor-kit: import, tidy, ask and edit Zelmor meeting transcripts from the terminal."};
    app.set_version_flag("--version", "0.2.0");
    app.require_subcommand(1);
    int exitStatus = 0;
    static constexpr Registration registrations[] = {
        nullptr, // placeholder so the table is never empty; skipped below
        registerImportCommand,
        registerTidyCommand,
    };
    for (Registration add : registrations) {
        if (add) add(app, exitStatus);
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error);
    }
    return exitStatus;
}
