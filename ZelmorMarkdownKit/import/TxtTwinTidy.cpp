// Twin tidy: a transcript kept both as markdown and as plain text leaves a redundant ".txt" copy.
#include "ZelmorMarkdownKit/import/TxtTwinTidy.h"

#include "ZelmorMarkdownKit/text/FileLimits.h"
#include "ZelmorMarkdownKit/text/UTF8.h"
#include "platform/FileSystem.h"
#include "platform/FolderListing.h"

#include <unordered_set>

namespace zelmor::TxtTwinTidy {

namespace {

/// Splits "dir/name.ext" into "dir/name" and "ext"; no extension for "name" or ".hidden".
std::pair<std::string, std::string> stemAndExtension(const std::string& path) {
    size_t slash = path.rfind('/');
    size_t dot = path.rfind('.');
    size_t nameStart = slash == std::string::npos ? 0 : slash + 1;
    if (dot == std::string::npos || dot <= nameStart) return {path, ""};
    return {path.substr(0, dot), path.substr(dot + 1)};
}

} // namespace

bool isZelmorTwin(std::string_view content) {
    return content.find(zelmorMarker) != std::string_view::npos;
}

std::vector<std::string> plan(const std::string& folder) {
    auto listed = platform::listFilesRecursively(folder);
    if (!listed) return {};
    std::unordered_set<std::string> markdownStems;
    std::vector<std::string> texts;
    for (const std::string& path : *listed) {
        auto [stem, extension] = stemAndExtension(path);
        if (extension == "md") markdownStems.insert(stem);
        if (extension == "txt") texts.push_back(path);
    }
    std::vector<std::string> twins;
    for (const std::string& path : texts) {
        if (!markdownStems.count(stemAndExtension(path).first)) continue;
        std::optional<std::string> content = platform::readFile(path, FileLimits::transcriptBytes);
        if (content && UTF8::isValid(*content) && isZelmorTwin(*content)) twins.push_back(path);
    }
    return twins;
}

size_t trash(const std::vector<std::string>& files, const platform::TrashOwner& owner) {
    size_t moved = 0;
    for (const std::string& file : files) {
        if (platform::moveToTrash(file, owner)) ++moved;
    }
    return moved;
}

} // namespace zelmor::TxtTwinTidy
