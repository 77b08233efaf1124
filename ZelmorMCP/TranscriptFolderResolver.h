// Which folder to serve, and the name of the memory folder inside it, from the command line
// or the app's settings file. Nothing is cached: each call reads the settings afresh.
#pragma once

#include <optional>
#include <string>

namespace zelmor {

struct TranscriptFolderResolver {
    /// Relative to the home folder.
    static constexpr const char* configurationPath = "Library/Application Support/Zelmor/config.json";
    static constexpr const char* defaultFolderPath = "Documents/Zelmor";

    std::string homeDirectory;
    /// The folder given with --transcripts-folder, already tilde-expanded and absolute.
    std::optional<std::string> overrideFolder;

    /// The folder to serve, standardised. Never fails; whether it exists is not checked.
    std::string resolve() const;

    /// The memory folder's name ("Memory" unless the settings name another).
    std::string memoryFolderName() const;

    struct Folders {
        /// As `resolve()`.
        std::string transcripts;
        /// As `memoryFolderName()`.
        std::string memoryFolderName;
    };
    /// Both, from one read of the settings file: what each tool call needs.
    Folders folders() const;

    /// The app's support folder (the folder of the settings file).
    std::string supportDirectory() const;
};

} // namespace zelmor
