// The macOS trash: the file moves into ~/.Trash under a name no trashed item has yet.
#include "platform/FileSystem.h"
#include "platform/Trash.h"

#include <cerrno>
#include <cstdio>
#include <sys/stat.h>

namespace zelmor::platform {

namespace {

/// Gives up after this many name collisions rather than looping forever on a broken trash.
constexpr int maxNameAttempts = 10000;

/// "notes.txt", then "notes 2.txt", "notes 3.txt", ... as the Finder names them.
std::string candidateName(const std::string& name, int attempt) {
    if (attempt == 1) return name;
    size_t dot = name.rfind('.');
    if (dot == std::string::npos || dot == 0) return name + " " + std::to_string(attempt);
    return name.substr(0, dot) + " " + std::to_string(attempt) + name.substr(dot);
}

} // namespace

std::string trashedFilesFolder(const TrashOwner& owner) {
    return owner.homeDirectory + "/.Trash";
}

std::optional<std::string> moveToTrash(const std::string& path, const TrashOwner& owner) {
    std::string source = absolutePath(path);
    struct stat st {};
    if (::lstat(source.c_str(), &st) != 0) return std::nullopt;
    std::string trash = trashedFilesFolder(owner);
    if (::mkdir(trash.c_str(), 0700) != 0 && errno != EEXIST) return std::nullopt;
    std::string name = source.substr(source.rfind('/') + 1);
    for (int attempt = 1; attempt <= maxNameAttempts; ++attempt) {
        std::string destination = trash + "/" + candidateName(name, attempt);
        struct stat taken {};
        if (::lstat(destination.c_str(), &taken) == 0) continue;
        if (::rename(source.c_str(), destination.c_str()) == 0) return destination;
        return std::nullopt;
    }
    return std::nullopt;
}

} // namespace zelmor::platform
