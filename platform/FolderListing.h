// Walking and creating folders: the importer reads whole folder trees and writes into
// folders that may not exist yet.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace zelmor::platform {

/// Every file below the folder, depth first, with the names of each folder in byte order.
/// Hidden files and folders (names starting with ".") are skipped, and links to folders are
/// not followed, so a link cycle cannot trap the walk. Nothing when the folder cannot be read.
std::optional<std::vector<std::string>> listFilesRecursively(const std::string& folder);

/// Creates the folder and any missing parents; true when it exists as a folder afterwards.
bool createFolders(const std::string& path);

} // namespace zelmor::platform
