// POSIX folder walking and creation (Linux and macOS).
#include "platform/FolderListing.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <sys/stat.h>

namespace zelmor::platform {

namespace {

/// Subfolder walks stop this deep; real transcript trees are a few levels, and the bound keeps
/// a pathological tree from exhausting the stack.
constexpr int maxDepth = 64;

bool namesOf(const std::string& folder, std::vector<std::string>& names) {
    DIR* dir = ::opendir(folder.c_str());
    if (dir == nullptr) return false;
    while (const dirent* entry = ::readdir(dir)) {
        std::string name = entry->d_name;
        if (!name.empty() && name[0] != '.') names.push_back(std::move(name));
    }
    ::closedir(dir);
    std::sort(names.begin(), names.end());
    return true;
}

void walk(const std::string& folder, int depth, std::vector<std::string>& files) {
    std::vector<std::string> names;
    if (depth > maxDepth || !namesOf(folder, names)) return;
    for (const std::string& name : names) {
        std::string path = folder == "/" ? "/" + name : folder + "/" + name;
        struct stat st {};
        if (::lstat(path.c_str(), &st) != 0) continue;
        if (S_ISDIR(st.st_mode)) {
            walk(path, depth + 1, files);
        } else if (S_ISREG(st.st_mode) || S_ISLNK(st.st_mode)) {
            // A link counts as a file only when it leads to one.
            struct stat target {};
            if (S_ISLNK(st.st_mode) && (::stat(path.c_str(), &target) != 0 || !S_ISREG(target.st_mode))) continue;
            files.push_back(path);
        }
    }
}

} // namespace

std::optional<std::vector<std::string>> listFilesRecursively(const std::string& folder) {
    std::string root = folder;
    while (root.size() > 1 && root.back() == '/') root.pop_back();
    std::vector<std::string> probe;
    if (!namesOf(root, probe)) return std::nullopt;
    std::vector<std::string> files;
    walk(root, 0, files);
    return files;
}

bool createFolders(const std::string& path) {
    struct stat st {};
    if (::stat(path.c_str(), &st) == 0) return S_ISDIR(st.st_mode);
    size_t slash = path.find_last_of('/');
    if (slash != std::string::npos && slash > 0 && !createFolders(path.substr(0, slash))) return false;
    if (::mkdir(path.c_str(), 0755) == 0 || errno == EEXIST) return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
    return false;
}

} // namespace zelmor::platform
