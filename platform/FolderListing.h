// Walking and creating folders: the importer reads whole folder trees and writes into
// folders that may not exist yet.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace zelmor::platform {

/// Every regular file below the folder at any depth, depth first, with the names of each folder
/// in byte order. Hidden files and folders (names starting with ".") and all below them are
/// skipped; a link to a regular file is listed, a link to a folder is never followed (so a link
/// cycle cannot trap the walk); FIFOs, sockets and devices are left out without being opened;
/// a subfolder that cannot be read is passed over. Nothing when the folder itself cannot be read.
/// With `isLink`, it receives one flag per file listed: whether that name is a link.
std::optional<std::vector<std::string>> listFilesRecursively(const std::string& folder,
                                                             std::vector<bool>* isLink = nullptr);

/// Creates the folder and any missing parents; true when it exists as a folder afterwards.
bool createFolders(const std::string& path);

} // namespace zelmor::platform
