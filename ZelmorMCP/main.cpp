// zelmor-mcp: flags and wiring only.
#include "ZelmorMCP/CommandLine.h"
#include "ZelmorMCP/LineLoop.h"
#include "ZelmorMCP/MCPServer.h"
#include "ZelmorMCP/ToolExecutor.h"
#include "platform/FileSystem.h"

#include <csignal>
#include <cstdio>
#include <unistd.h>

extern char** environ;

int main(int argc, char** argv) {
    using namespace zelmor;
    // A client that closes our output must not kill us with SIGPIPE; the write fails instead.
    std::signal(SIGPIPE, SIG_IGN);

    std::string home = platform::homeDirectory();
    auto commandLine = CommandLine::parse(std::vector<std::string>(argv + 1, argv + argc), home);
    switch (commandLine.action) {
    case CommandLine::Action::help:
        std::printf("%s\n", CommandLine::helpText().c_str());
        return 0;
    case CommandLine::Action::version:
        std::printf("%s\n", CommandLine::version);
        return 0;
    case CommandLine::Action::missingFolderPath:
        std::fprintf(stderr, "%s\n", CommandLine::missingFolderPathMessage);
        return 2;
    case CommandLine::Action::serve:
        break;
    }

    std::map<std::string, std::string> environment;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        std::string_view pair(*entry);
        size_t equals = pair.find('=');
        if (equals != std::string_view::npos)
            environment.emplace(std::string(pair.substr(0, equals)), std::string(pair.substr(equals + 1)));
    }

    ToolExecutor tools(
        TranscriptFolderResolver{home, commandLine.transcriptsFolder}, ToolExecutor::attribution(environment),
        [] { return std::chrono::system_clock::now(); },
        [] {
            // The user's calendar and time zone as they are now, for the activity files' day keys.
            UErrorCode status = U_ZERO_ERROR;
            return std::unique_ptr<icu::Calendar>(icu::Calendar::createInstance(status));
        });
    if (commandLine.askTool) tools.enableAskTool();
    const MCPServer server(tools);
    std::fprintf(stderr, "zelmor-mcp %s serving %s\n", CommandLine::version,
                 tools.resolver().resolve().c_str());
    std::fflush(stderr);
    return LineLoop::run(
        STDIN_FILENO, STDOUT_FILENO, [&](std::string_view line) { return server.handle(line); },
        &MCPServer::parseErrorReply);
}
