// Every failure falls back to a default silently: a bad settings file must not stop the server.
#include "ZelmorMCP/TranscriptFolderResolver.h"

#include "ZelmorMarkdownKit/format/SkillsFolder.h"
#include "ZelmorMarkdownKit/text/FileLimits.h"
#include "ZelmorMarkdownKit/text/Whitespace.h"
#include "platform/FileSystem.h"

#include <nlohmann/json.hpp>

namespace zelmor {

namespace {

/// The settings file's object, or nothing when it cannot be read as one.
std::optional<nlohmann::json> readSettings(const std::string& home) try {
    auto text = platform::readFile(home + "/" + TranscriptFolderResolver::configurationPath,
                                   FileLimits::settingsBytes);
    if (!text) return std::nullopt;
    auto settings = nlohmann::json::parse(*text, nullptr, /*allow_exceptions=*/false);
    if (!settings.is_object()) return std::nullopt;
    return settings;
} catch (...) {
    return std::nullopt; // out of memory reading it is one more way for the file to be unusable
}

/// A non-empty, trimmed string value of the settings, or nothing.
std::optional<std::string> settingsString(const std::optional<nlohmann::json>& settings, const char* key) {
    if (!settings) return std::nullopt;
    auto value = settings->find(key);
    if (value == settings->end() || !value->is_string()) return std::nullopt;
    std::string trimmed(Whitespace::trim(value->get_ref<const std::string&>()));
    if (trimmed.empty()) return std::nullopt;
    return trimmed;
}

std::string transcriptsFolder(const TranscriptFolderResolver& resolver,
                              const std::optional<nlohmann::json>& settings) {
    if (resolver.overrideFolder) return platform::absolutePath(*resolver.overrideFolder);
    const std::string& home = resolver.homeDirectory;
    if (auto value = settingsString(settings, "output_folder_display_path")) {
        // Only "~" and "~/..." expand, against our home folder; "~user" is taken as written.
        if (*value == "~") return platform::absolutePath(home);
        if (value->starts_with("~/")) return platform::absolutePath(home + value->substr(1));
        return platform::absolutePath(*value);
    }
    return platform::absolutePath(home + "/" + TranscriptFolderResolver::defaultFolderPath);
}

std::string memoryFolder(const std::optional<nlohmann::json>& settings) {
    return settingsString(settings, "engine_folder_name").value_or(SkillsFolder::defaultMemoryFolderName);
}

} // namespace

std::string TranscriptFolderResolver::resolve() const {
    // The override needs no settings: they are not read at all then.
    return transcriptsFolder(*this, overrideFolder ? std::nullopt : readSettings(homeDirectory));
}

std::string TranscriptFolderResolver::memoryFolderName() const {
    return memoryFolder(readSettings(homeDirectory));
}

TranscriptFolderResolver::Folders TranscriptFolderResolver::folders() const {
    auto settings = readSettings(homeDirectory);
    return {transcriptsFolder(*this, settings), memoryFolder(settings)};
}

std::string TranscriptFolderResolver::supportDirectory() const {
    return platform::standardizePath(homeDirectory + "/Library/Application Support/Zelmor");
}

} // namespace zelmor
