// The server's command line: help, version, and the folder to serve.
#pragma once

#include "ZelmorVersion.h"

#include <optional>
#include <string>
#include <vector>

namespace zelmor {

struct CommandLine {
    enum class Action { serve, help, version, missingFolderPath };

    static constexpr const char* version = ZELMOR_VERSION;
    /// Printed for --help and -h, without its trailing newline.
    static const std::string& helpText();
    static constexpr const char* missingFolderPathMessage =
        "zelmor-mcp: --transcripts-folder requires a path";

    Action action = Action::serve;
    /// The folder after --transcripts-folder, tilde-expanded against `home`, made absolute.
    std::optional<std::string> transcriptsFolder;
    /// --ask-tool: offer the fourth tool, ask_meetings (left out of the help text on purpose:
    /// the three tools stay what every client sees unless asked for).
    bool askTool = false;

    /// Unknown arguments are ignored; help wins over version, version over everything else.
    static CommandLine parse(const std::vector<std::string>& arguments, const std::string& home);
};

} // namespace zelmor
