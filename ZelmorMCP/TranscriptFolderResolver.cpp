// Every failure falls back to a default silently: a bad settings file must not stop the server.
#include "ZelmorMCP/TranscriptFolderResolver.h"

#include "ZelmorMarkdownKit/FileLimits.h"
#include "ZelmorMarkdownKit/SkillsFolder.h"
#include "ZelmorMarkdownKit/Whitespace.h"
#include "platform/FileSystem.h"

#include <nlohmann/json.hpp>

namespace zelmor {

namespace {

/// A non-empty, trimmed string value of the settings file, or nothing.
std::optional<std::string> settingsString(const std::string& home, const char* key) try {
    auto text = platform::readFile(home + "/" + TranscriptFolderResolver::configurationPath, FileLimits::settingsBytes);
    if (!text) return std::nullopt;
    auto settings = nlohmann::json::parse(*text, nullptr, /*allow_exceptions=*/false);
    if (!settings.is_object()) return std::nullopt;
    auto value = settings.find(key);
    if (value == settings.end() || !value->is_string()) return std::nullopt;
    std::string trimmed(Whitespace::trim(value->get_ref<const std::string&>()));
    if (trimmed.empty()) return std::nullopt;
    return trimmed;
} catch (...) {
    return std::nullopt; // out of memory reading it is one more way for the file to be unusable
}

} // namespace

std::string TranscriptFolderResolver::resolve() const {
    if (overrideFolder) return platform::absolutePath(*overrideFolder);
    if (auto value = settingsString(homeDirectory, "output_folder_display_path")) {
        // Only "~" and "~/..." expand, against our home folder; "~user" is taken as written.
        if (*value == "~") return platform::absolutePath(homeDirectory);
        if (value->starts_with("~/")) return platform::absolutePath(homeDirectory + value->substr(1));
        return platform::absolutePath(*value);
    }
    return platform::absolutePath(homeDirectory + "/" + defaultFolderPath);
}

std::string TranscriptFolderResolver::memoryFolderName() const {
    return settingsString(homeDirectory, "engine_folder_name").value_or(SkillsFolder::defaultMemoryFolderName);
}

std::string TranscriptFolderResolver::supportDirectory() const {
    return platform::standardizePath(homeDirectory + "/Library/Application Support/Zelmor");
}

} // namespace zelmor
