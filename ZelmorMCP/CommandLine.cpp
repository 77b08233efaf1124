// Argument handling for zelmor-mcp.
#include "ZelmorMCP/CommandLine.h"

#include "platform/FileSystem.h"

#include <algorithm>

namespace zelmor {

const std::string& CommandLine::helpText() {
    static const std::string text = std::string("zelmor-mcp ") + version +
                                    R"( — MCP server (stdio) over the Zelmor transcript folder.

Tools: search_meetings, read_meeting, list_participants — read-only over the speaker-labeled
.md files Zelmor writes. The folder is resolved from output_folder_display_path in
~/Library/Application Support/Zelmor/config.json (default: ~/Documents/Zelmor).

Usage: zelmor-mcp [--transcripts-folder <path>]
  --transcripts-folder <path>  Serve this folder instead of resolving Zelmor's config.
  --version                    Print the server version and exit.

Register with an MCP client, e.g. in .mcp.json:
  { "mcpServers": { "zelmor": { "command": "/Applications/Zelmor.app/Contents/MacOS/zelmor-mcp" } } })";
    return text;
}

CommandLine CommandLine::parse(const std::vector<std::string>& arguments, const std::string& home) {
    auto has = [&](const char* flag) {
        return std::find(arguments.begin(), arguments.end(), flag) != arguments.end();
    };
    CommandLine result;
    result.askTool = has("--ask-tool");
    if (has("--help") || has("-h")) {
        result.action = Action::help;
        return result;
    }
    if (has("--version")) {
        result.action = Action::version;
        return result;
    }
    auto option = std::find(arguments.begin(), arguments.end(), "--transcripts-folder");
    if (option != arguments.end()) {
        if (std::next(option) == arguments.end()) {
            result.action = Action::missingFolderPath;
            return result;
        }
        result.transcriptsFolder = platform::absolutePath(platform::expandTilde(*std::next(option), home));
    }
    return result;
}

} // namespace zelmor
