// POSIX implementation of the file-system layer (Linux and macOS).
#include "platform/FileSystem.h"

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

FileIdentity identityOf(const struct stat& st) {
    return {static_cast<std::uint64_t>(st.st_dev), static_cast<std::uint64_t>(st.st_ino)};
}

/// Reads an open descriptor to its end and closes it; nothing unless it is a regular file (and,
/// when `expected` is given, that very file).
std::optional<size_t> readRegularIntoAndClose(int fd, const FileIdentity* expected, std::string& buffer) {
    struct stat st {};
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode) ||
        (expected != nullptr && identityOf(st) != *expected)) {
        ::close(fd);
        return std::nullopt;
    }
    // Room for one byte more than the size: a read that comes back short of the room once the
    // size is reached is the end, which saves the second read that would return 0.
    size_t size = static_cast<size_t>(st.st_size);
    if (buffer.size() < size + 1) buffer.resize(size + 1);
    size_t used = 0;
    while (true) {
        if (used == buffer.size()) buffer.resize(buffer.size() * 2); // the file grew while we read
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
    return used;
}

std::optional<std::string> readRegularAndClose(int fd, const FileIdentity* expected) {
    std::string data;
    auto length = readRegularIntoAndClose(fd, expected, data);
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
    // realpath() on the longest prefix that exists; the missing tail is appended as written.
    std::string prefix = path;
    std::string tail;
    while (true) {
        char resolved[PATH_MAX];
        if (::realpath(prefix.c_str(), resolved) != nullptr) {
            std::string head(resolved);
            if (tail.empty()) return head;
            return standardizePath(head == "/" ? tail : head + tail);
        }
        size_t slash = prefix.rfind('/');
        if (slash == std::string::npos || prefix.size() <= 1) return path;
        tail = prefix.substr(slash) + tail;
        prefix = slash == 0 ? "/" : prefix.substr(0, slash);
    }
}

bool isDirectory(const std::string& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool exists(const std::string& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0;
}

std::optional<std::string> readFile(const std::string& path) {
    std::string data;
    auto length = readFileInto(path, data);
    if (!length) return std::nullopt;
    data.resize(*length);
    return data;
}

std::optional<size_t> readFileInto(const std::string& path, std::string& buffer) {
    if (path.find('\0') != std::string::npos) return std::nullopt; // the OS would read a shorter path
    // O_NONBLOCK so that opening a FIFO never waits for a writer; fstat then refuses it.
    int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (fd < 0) return std::nullopt;
    return readRegularIntoAndClose(fd, nullptr, buffer);
}

std::optional<FileIdentity> regularFileIdentity(const std::string& path) {
    if (path.find('\0') != std::string::npos) return std::nullopt;
    struct stat st {};
    if (::lstat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return std::nullopt;
    return identityOf(st);
}

std::optional<std::string> readFileWithoutLinks(const std::string& path, const FileIdentity& expected) {
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
            return readRegularAndClose(fd, &expected);
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

bool writeFileAtomically(const std::string& path, std::string_view contents) {
    size_t slash = path.rfind('/');
    std::string folder = slash == std::string::npos ? "." : path.substr(0, slash);
    std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    std::string temp;
    int fd = createBeside(folder + "/." + name + ".tmp-", temp);
    if (fd < 0) return false;
    // A replaced file keeps its mode, so an edit never widens who may read a private transcript;
    // a new file has what the create gave it (0666 less the umask).
    struct stat existing {};
    bool ok = true;
    if (::stat(path.c_str(), &existing) == 0 && S_ISREG(existing.st_mode))
        ok = ::fchmod(fd, existing.st_mode & 0777) == 0;
    ok = ok && writeAll(fd, contents);
    ok = (::close(fd) == 0) && ok;
    if (ok && ::rename(temp.c_str(), path.c_str()) == 0) return true;
    ::unlink(temp.c_str());
    return false;
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
