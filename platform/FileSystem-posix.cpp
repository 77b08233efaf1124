// POSIX implementation of the file-system layer (Linux and macOS).
#include "platform/FileSystem.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace zelmor::platform {

namespace {

std::optional<std::string> passwdHome(const char* user) {
    std::vector<char> buffer(16384);
    struct passwd entry {};
    struct passwd* result = nullptr;
    int rc = user ? getpwnam_r(user, &entry, buffer.data(), buffer.size(), &result)
                  : getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &result);
    if (rc != 0 || result == nullptr || result->pw_dir == nullptr) return std::nullopt;
    return std::string(result->pw_dir);
}

bool writeAll(int fd, std::string_view data) {
    while (!data.empty()) {
        ssize_t n = ::write(fd, data.data(), data.size());
        if (n < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        data.remove_prefix(static_cast<size_t>(n));
    }
    return true;
}

/// Creates a new file named `stem` plus a unique suffix, open for writing. Unlike mkstemp, which
/// gives 0600 whatever the umask, the create applies the umask (and a folder's default ACL).
int createBeside(const std::string& stem, std::string& created) {
    static std::atomic<unsigned long long> counter{0};
    auto clock = static_cast<unsigned long long>(std::chrono::steady_clock::now().time_since_epoch().count());
    auto process = static_cast<unsigned long long>(::getpid());
    for (int attempt = 0; attempt < 100; ++attempt) {
        // A short suffix keeps long file names within the name limit; a taken name costs a retry.
        unsigned long long mixed = (clock ^ (process << 40) ^ counter++) * 0x9E3779B97F4A7C15ULL;
        char suffix[16];
        std::snprintf(suffix, sizeof suffix, "%08llx", mixed >> 32);
        created = stem + suffix;
        int fd = ::open(created.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
        if (fd >= 0 || errno != EEXIST) return fd;
    }
    return -1;
}

/// Opens a folder only to walk through it: O_PATH needs no read permission, just as a path walk
/// needs only search permission.
#ifdef O_PATH
constexpr int searchFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;
#else
constexpr int searchFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
#endif
/// As the system's own walk: more links than this along one path is a loop.
constexpr int maxLinks = 40;

FileIdentity identityOf(const struct stat& st) {
    return {static_cast<std::uint64_t>(st.st_dev), static_cast<std::uint64_t>(st.st_ino)};
}

/// Reads an open descriptor to its end and closes it; nothing unless it is a regular file (and,
/// when `expected` is given, that very file) of at most `maxBytes`. The size is checked before
/// anything is allocated, so a huge (or sparse) file costs no memory.
std::optional<size_t> readRegularIntoAndClose(int fd, const FileIdentity* expected, std::string& buffer,
                                              size_t maxBytes) {
    struct stat st {};
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode) ||
        (expected != nullptr && identityOf(st) != *expected) ||
        static_cast<std::uint64_t>(st.st_size) > maxBytes) {
        ::close(fd);
        return std::nullopt;
    }
    // Room for one byte more than the size: a read that comes back short of the room once the
    // size is reached is the end, which saves the second read that would return 0.
    size_t size = static_cast<size_t>(st.st_size);
    if (buffer.size() < size + 1) buffer.resize(size + 1);
    size_t used = 0;
    while (true) {
        if (used == buffer.size()) { // the file grew while we read
            if (used > maxBytes) {
                ::close(fd);
                return std::nullopt;
            }
            buffer.resize(buffer.size() * 2);
        }
        size_t room = buffer.size() - used;
        ssize_t n = ::read(fd, buffer.data() + used, room);
        if (n < 0) {
            if (errno == EINTR) continue;
            ::close(fd);
            return std::nullopt;
        }
        used += static_cast<size_t>(n);
        if (n == 0 || (static_cast<size_t>(n) < room && used >= size)) break;
    }
    ::close(fd);
    if (used > maxBytes) return std::nullopt;
    return used;
}

std::optional<std::string> readRegularAndClose(int fd, const FileIdentity* expected, size_t maxBytes) {
    std::string data;
    auto length = readRegularIntoAndClose(fd, expected, data, maxBytes);
    if (!length) return std::nullopt;
    data.resize(*length);
    return data;
}

} // namespace

std::string homeDirectory() {
    if (const char* home = std::getenv("HOME"); home != nullptr && *home != '\0') return home;
    return passwdHome(nullptr).value_or("/");
}

std::string currentDirectory() {
    std::vector<char> buffer(PATH_MAX + 1);
    if (::getcwd(buffer.data(), buffer.size()) == nullptr) return "/";
    return buffer.data();
}

std::string expandTilde(const std::string& path, const std::string& home) {
    if (path.empty() || path[0] != '~') return path;
    size_t slash = path.find('/');
    std::string user = path.substr(1, slash == std::string::npos ? std::string::npos : slash - 1);
    std::string rest = slash == std::string::npos ? std::string() : path.substr(slash);
    if (user.empty()) return home + rest;
    if (auto other = passwdHome(user.c_str())) return *other + rest;
    return path;
}

std::string standardizePath(std::string_view path) {
    std::vector<std::string_view> parts;
    size_t start = 0;
    while (start <= path.size()) {
        size_t end = path.find('/', start);
        if (end == std::string_view::npos) end = path.size();
        std::string_view part = path.substr(start, end - start);
        if (part == "..") {
            if (!parts.empty()) parts.pop_back();
        } else if (!part.empty() && part != ".") {
            parts.push_back(part);
        }
        start = end + 1;
    }
    std::string out;
    for (auto part : parts) {
        out += '/';
        out += part;
    }
    return out.empty() ? "/" : out;
}

std::string absolutePath(std::string_view path) {
    if (!path.empty() && path[0] == '/') return standardizePath(path);
    return standardizePath(currentDirectory() + "/" + std::string(path));
}

std::string replacingPathExtension(std::string_view path, std::string_view extension) {
    size_t slash = path.rfind('/');
    size_t nameStart = slash == std::string_view::npos ? 0 : slash + 1;
    size_t dot = path.rfind('.');
    std::string_view stem = dot == std::string_view::npos || dot <= nameStart ? path : path.substr(0, dot);
    return std::string(stem) + "." + std::string(extension);
}

std::string resolveSymlinks(const std::string& path) {
    // No file has a longer name, and walking one would cost time for nothing.
    if (path.size() >= PATH_MAX || path.empty() || path[0] != '/') return path;
    // One walk, from an open folder to the next, so that no step reads the path before it again
    // (realpath() on each shorter prefix made a deep path cost minutes). The names still to walk
    // are a stack, last name first; a link's target is pushed in its place. As with realpath()
    // on the longest prefix that resolves, the walk stops at the first name that does not resolve
    // and keeps the rest as written; when that name came from a link of the path as given (a
    // dangling link, a loop), the link itself is kept as written.
    std::vector<std::string> pending;
    auto push = [&](std::string_view names) {
        size_t end = names.size();
        while (end > 0) {
            size_t slash = names.rfind('/', end - 1);
            size_t start = slash == std::string_view::npos ? 0 : slash + 1;
            if (end > start) pending.emplace_back(names.substr(start, end - start));
            if (slash == std::string_view::npos) break;
            end = slash;
        }
    };
    push(path);
    std::string resolved; // "" stands for "/"
    // The outermost link being followed: the walk before it, its name, and how many names lie
    // below its target's on the stack.
    struct Expansion {
        std::string resolved;
        std::string name;
        size_t depth;
    };
    std::optional<Expansion> expanding;
    int folder = ::open("/", searchFlags);
    bool walking = folder >= 0;
    int links = 0;
    auto stop = [&](const std::string& name) {
        if (expanding) {
            resolved = expanding->resolved + '/' + expanding->name;
            pending.resize(expanding->depth);
            expanding.reset();
        } else {
            resolved += '/' + name;
        }
        walking = false;
    };
    while (!pending.empty()) {
        if (expanding && pending.size() <= expanding->depth) expanding.reset();
        std::string name = std::move(pending.back());
        pending.pop_back();
        if (name == ".") continue;
        if (!walking) {
            resolved += '/' + name;
            continue;
        }
        int next = -1;
        struct stat st {};
        if (name == "..") {
            next = ::openat(folder, "..", searchFlags);
            if (next >= 0)
                resolved.erase(std::min(resolved.size(), resolved.rfind('/')));
            else
                resolved += "/.."; // taken as written, as the names after it
        } else if (::fstatat(folder, name.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0) {
            stop(name);
        } else if (S_ISLNK(st.st_mode)) {
            std::vector<char> target(PATH_MAX);
            ssize_t length = ::readlinkat(folder, name.c_str(), target.data(), target.size());
            if (++links > maxLinks || length <= 0 || static_cast<size_t>(length) >= target.size()) {
                stop(name);
                continue;
            }
            if (!expanding) expanding = Expansion{resolved, name, pending.size()};
            std::string_view text(target.data(), static_cast<size_t>(length));
            push(text);
            if (text[0] != '/') continue;
            resolved.clear();
            next = ::open("/", searchFlags);
        } else {
            resolved += '/' + name;
            next = ::openat(folder, name.c_str(), searchFlags | O_NOFOLLOW);
            // A file (or a folder we may not enter) ends the walk; within a link's target with
            // names still to come, the link does not resolve.
            if (next < 0 && expanding && pending.size() > expanding->depth) stop(name);
        }
        ::close(folder);
        folder = next;
        walking = walking && folder >= 0;
    }
    if (folder >= 0) ::close(folder);
    // Names kept as written may hold "..".
    return standardizePath(resolved);
}

bool isDirectory(const std::string& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool exists(const std::string& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0;
}

std::optional<std::string> readFile(const std::string& path, size_t maxBytes) {
    std::string data;
    auto length = readFileInto(path, data, maxBytes);
    if (!length) return std::nullopt;
    data.resize(*length);
    return data;
}

std::optional<size_t> readFileInto(const std::string& path, std::string& buffer, size_t maxBytes) {
    if (path.find('\0') != std::string::npos) return std::nullopt; // the OS would read a shorter path
    // O_NONBLOCK so that opening a FIFO never waits for a writer; fstat then refuses it.
    int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (fd < 0) return std::nullopt;
    return readRegularIntoAndClose(fd, nullptr, buffer, maxBytes);
}

std::optional<FileIdentity> regularFileIdentity(const std::string& path) {
    if (path.find('\0') != std::string::npos) return std::nullopt;
    struct stat st {};
    if (::lstat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return std::nullopt;
    return identityOf(st);
}

std::optional<std::string> readFileWithoutLinks(const std::string& path, const FileIdentity& expected,
                                                size_t maxBytes) {
    if (path.empty() || path[0] != '/' || path.find('\0') != std::string::npos) return std::nullopt;
    int folder = ::open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    size_t start = 1;
    while (folder >= 0) {
        size_t slash = path.find('/', start);
        std::string name = path.substr(start, slash == std::string::npos ? std::string::npos : slash - start);
        if (name == "." || name == "..") break; // the path was checked as written, not walked up
        if (slash == std::string::npos) {
            int fd =
                ::openat(folder, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
            ::close(folder);
            if (fd < 0) return std::nullopt;
            return readRegularAndClose(fd, &expected, maxBytes);
        }
        int next = name.empty()
                       ? ::dup(folder)
                       : ::openat(folder, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        ::close(folder);
        folder = next;
        start = slash + 1;
    }
    if (folder >= 0) ::close(folder);
    return std::nullopt;
}

bool writeFileAtomically(const std::string& given, std::string_view contents) {
    // A link is followed, as an editor saves through one: its target is replaced, the link stays.
    std::string path = given;
    struct stat st {};
    if (::lstat(given.c_str(), &st) == 0 && S_ISLNK(st.st_mode)) path = resolveSymlinks(absolutePath(given));
    size_t slash = path.rfind('/');
    std::string folder = slash == std::string::npos ? "." : path.substr(0, slash);
    // A replaced file keeps its mode, so an edit never widens who may read a private transcript;
    // one its owner made read-only stays unwritten, though the folder would allow the rename.
    bool replacing = ::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
    if (replacing && ::access(path.c_str(), W_OK) != 0) return false;
    // A short temporary name: one built from the file's would pass the name limit for long names.
    std::string temp;
    int fd = createBeside(folder + "/.zelmor-", temp);
    if (fd < 0) return false;
    // A new file has what the create gave it (0666 less the umask).
    bool ok = !replacing || ::fchmod(fd, st.st_mode & 0777) == 0;
    ok = ok && writeAll(fd, contents);
    ok = (::close(fd) == 0) && ok;
    if (ok && ::rename(temp.c_str(), path.c_str()) == 0) return true;
    int error = errno;
    ::unlink(temp.c_str());
    errno = error; // the caller may say why
    return false;
}

CreateOutcome createFileExclusively(const std::string& path, std::string_view contents) {
    size_t slash = path.rfind('/');
    std::string folder = slash == std::string::npos ? "." : path.substr(0, slash);
    std::string temp;
    int fd = createBeside(folder + "/.zelmor-", temp);
    if (fd < 0) return CreateOutcome::failed;
    bool ok = writeAll(fd, contents);
    ok = (::close(fd) == 0) && ok;
    CreateOutcome outcome = CreateOutcome::failed;
    if (ok) {
        // A hard link is created only where nothing stands, which rename cannot promise; file
        // systems without hard links get the same promise from an exclusive rename.
        if (::link(temp.c_str(), path.c_str()) == 0) {
            outcome = CreateOutcome::created;
        } else if (errno == EEXIST) {
            outcome = CreateOutcome::alreadyExists;
        } else {
#if defined(RENAME_NOREPLACE)
            if (::renameat2(AT_FDCWD, temp.c_str(), AT_FDCWD, path.c_str(), RENAME_NOREPLACE) == 0)
                return CreateOutcome::created;
#elif defined(RENAME_EXCL)
            if (::renamex_np(temp.c_str(), path.c_str(), RENAME_EXCL) == 0) return CreateOutcome::created;
#endif
            if (errno == EEXIST) outcome = CreateOutcome::alreadyExists;
        }
    }
    int error = errno;
    ::unlink(temp.c_str());
    errno = error;
    return outcome;
}

bool removeFile(const std::string& path) {
    return ::unlink(path.c_str()) == 0;
}

std::optional<std::uint64_t> fileSize(const std::string& path) {
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0) return std::nullopt;
    return static_cast<std::uint64_t>(st.st_size);
}

std::optional<double> modificationTime(const std::string& path) {
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0) return std::nullopt;
#ifdef __APPLE__
    return static_cast<double>(st.st_mtimespec.tv_sec) + st.st_mtimespec.tv_nsec / 1e9;
#else
    return static_cast<double>(st.st_mtim.tv_sec) + st.st_mtim.tv_nsec / 1e9;
#endif
}

} // namespace zelmor::platform
