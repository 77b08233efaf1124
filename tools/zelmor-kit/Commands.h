// Each subcommand lives in its own source file and registers itself with one function,
// declared here and listed in main.cpp's table.
#pragma once

#include <CLI/CLI.hpp>

namespace zelmor::kitcli {

/// Registers a subcommand on the application; its callback sets the process's exit status.
using Registration = void (*)(CLI::App& app, int& exitStatus);

void registerAskCommand(CLI::App& app, int& exitStatus);
void registerImportCommand(CLI::App& app, int& exitStatus);
void registerTidyCommand(CLI::App& app, int& exitStatus);
void registerIdsCommand(CLI::App& app, int& exitStatus);
void registerLocateCommand(CLI::App& app, int& exitStatus);
void registerRenameSpeakerCommand(CLI::App& app, int& exitStatus);
void registerSetTitleCommand(CLI::App& app, int& exitStatus);
void registerSetNotesCommand(CLI::App& app, int& exitStatus);
void registerSetSectionsCommand(CLI::App& app, int& exitStatus);
void registerDoctorCommand(CLI::App& app, int& exitStatus);

} // namespace zelmor::kitcli
