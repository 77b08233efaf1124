// POSIX implementation of the file-system layer (Linux and macOS).
#include "platform/FileSystem.h"

#include <cerrno>
#include <climits>
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
    // O_NONBLOCK so that opening a FIFO never waits for a writer; fstat then refuses it.
    int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (fd < 0) return std::nullopt;
    struct stat st {};
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        ::close(fd);
        return std::nullopt;
    }
    // Room for one byte more than the size: a read that comes back short of the room once the
    // size is reached is the end, which saves the second read that would return 0.
    size_t expected = static_cast<size_t>(st.st_size);
    if (buffer.size() < expected + 1) buffer.resize(expected + 1);
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
        if (n == 0 || (static_cast<size_t>(n) < room && used >= expected)) break;
    }
    ::close(fd);
    return used;
}

bool writeFileAtomically(const std::string& path, std::string_view contents) {
    size_t slash = path.rfind('/');
    std::string folder = slash == std::string::npos ? "." : path.substr(0, slash);
    std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    std::string temp = folder + "/." + name + ".tmp-XXXXXX";
    int fd = ::mkstemp(temp.data());
    if (fd < 0) return false;
    bool ok = ::fchmod(fd, 0644) == 0 && writeAll(fd, contents);
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
