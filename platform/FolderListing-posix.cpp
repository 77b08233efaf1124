// POSIX folder walking and creation (Linux and macOS).
#include "platform/FolderListing.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zelmor::platform {

namespace {

enum class Kind { file, linkedFile, folder, other };

struct Entry {
    std::string name;
    Kind kind;
};

/// What a name in an open folder is, without following a link to a folder and without opening
/// anything: d_type when the file system fills it, otherwise one fstatat.
Kind kindOf(int folderFD, const dirent& entry) {
    unsigned char type = entry.d_type;
    if (type == DT_REG) return Kind::file;
    if (type == DT_DIR) return Kind::folder;
    struct stat st {};
    if (type == DT_UNKNOWN) {
        if (::fstatat(folderFD, entry.d_name, &st, AT_SYMLINK_NOFOLLOW) != 0) return Kind::other;
        if (S_ISREG(st.st_mode)) return Kind::file;
        if (S_ISDIR(st.st_mode)) return Kind::folder;
        if (!S_ISLNK(st.st_mode)) return Kind::other;
        type = DT_LNK;
    }
    // A link counts as a file only when it leads to one; a link to a folder is not descended.
    if (type == DT_LNK && ::fstatat(folderFD, entry.d_name, &st, 0) == 0 && S_ISREG(st.st_mode))
        return Kind::linkedFile;
    return Kind::other;
}

/// The visible entries of a folder in byte order, or nothing when it cannot be opened. Below the
/// root, O_NOFOLLOW keeps a folder swapped for a link mid-walk from being followed; O_NONBLOCK
/// keeps a FIFO given as the root from stalling the open.
std::optional<std::vector<Entry>> entriesOf(const std::string& folder, bool followLink) {
    int flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK | (followLink ? 0 : O_NOFOLLOW);
    int fd = ::open(folder.c_str(), flags);
    if (fd < 0) return std::nullopt;
    DIR* dir = ::fdopendir(fd);
    if (dir == nullptr) {
        ::close(fd);
        return std::nullopt;
    }
    std::vector<Entry> entries;
    while (const dirent* entry = ::readdir(dir)) {
        if (entry->d_name[0] == '.' || entry->d_name[0] == '\0') continue; // hidden, "." and ".."
        Kind kind = kindOf(fd, *entry);
        if (kind != Kind::other) entries.push_back({entry->d_name, kind});
    }
    ::closedir(dir); // closes fd too
    std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) { return a.name < b.name; });
    return entries;
}

std::string joined(const std::string& folder, const std::string& name) {
    return folder == "/" ? "/" + name : folder + "/" + name;
}

} // namespace

std::optional<std::vector<std::string>> listFilesRecursively(const std::string& folder,
                                                             std::vector<bool>* isLink) {
    std::string root = folder;
    while (root.size() > 1 && root.back() == '/') root.pop_back();
    auto top = entriesOf(root, true);
    if (!top) return std::nullopt;

    // An explicit stack rather than recursion, so that no depth of nesting can exhaust the stack.
    struct Level {
        std::string path;
        std::vector<Entry> entries;
        size_t next = 0;
    };
    std::vector<Level> stack;
    stack.push_back({root, std::move(*top), 0});
    std::vector<std::string> files;
    if (isLink) isLink->clear();
    while (!stack.empty()) {
        Level& level = stack.back();
        if (level.next == level.entries.size()) {
            stack.pop_back();
            continue;
        }
        const Entry& entry = level.entries[level.next++];
        std::string path = joined(level.path, entry.name);
        if (entry.kind == Kind::file || entry.kind == Kind::linkedFile) {
            files.push_back(std::move(path));
            if (isLink) isLink->push_back(entry.kind == Kind::linkedFile);
        } else if (auto entries = entriesOf(path, false)) {
            stack.push_back({std::move(path), std::move(*entries), 0}); // invalidates `level`
        }
    }
    return files;
}

bool createFolders(const std::string& path) {
    struct stat st {};
    if (::stat(path.c_str(), &st) == 0) return S_ISDIR(st.st_mode);
    size_t slash = path.find_last_of('/');
    if (slash != std::string::npos && slash > 0 && !createFolders(path.substr(0, slash))) return false;
    if (::mkdir(path.c_str(), 0755) == 0 || errno == EEXIST)
        return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
    return false;
}

} // namespace zelmor::platform
