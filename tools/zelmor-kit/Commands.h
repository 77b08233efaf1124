// Each subcommand lives in its own source file and registers itself with one function,
// declared here and listed in main.cpp's table.
#pragma once

#include <CLI/CLI.hpp>

namespace zelmor::kitcli {

/// Registers a subcommand on the application; its callback sets the process's exit status.
using Registration = void (*)(CLI::App& app, int& exitStatus);

void registerImportCommand(CLI::App& app, int& exitStatus);
void registerTidyCommand(CLI::App& app, int& exitStatus);

} // namespace zelmor::kitcli
