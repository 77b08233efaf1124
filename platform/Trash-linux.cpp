// The freedesktop.org home trash: the file moves to Trash/files/NAME and Trash/info/NAME.trashinfo
// records where it came from and when, so file managers can restore it.
#include "platform/FileSystem.h"
#include "platform/FolderListing.h"
#include "platform/Trash.h"

#include <cerrno>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zelmor::platform {

namespace {

/// Gives up after this many name collisions rather than looping forever on a broken trash.
constexpr int maxNameAttempts = 10000;

std::string percentEncoded(const std::string& path) {
    static const char hex[] = "0123456789ABCDEF";
    std::string out;
    for (char ch : path) {
        auto c = static_cast<unsigned char>(ch);
        bool plain = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' ||
                     c == '.' || c == '_' || c == '~' || c == '/';
        if (plain) {
            out += ch;
        } else {
            out += '%';
            out += hex[c >> 4];
            out += hex[c & 0x0F];
        }
    }
    return out;
}

std::string localDeletionDate() {
    std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    char buffer[32];
    std::strftime(buffer, sizeof buffer, "%Y-%m-%dT%H:%M:%S", &local);
    return buffer;
}

/// "notes.txt", then "notes.2.txt", "notes.3.txt", ...
std::string candidateName(const std::string& name, int attempt) {
    if (attempt == 1) return name;
    size_t dot = name.rfind('.');
    if (dot == std::string::npos || dot == 0) return name + "." + std::to_string(attempt);
    return name.substr(0, dot) + "." + std::to_string(attempt) + name.substr(dot);
}

bool writeAllTo(int fd, const std::string& data) {
    size_t done = 0;
    while (done < data.size()) {
        ssize_t n = ::write(fd, data.data() + done, data.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        done += static_cast<size_t>(n);
    }
    return true;
}

/// A move across file systems: copy the regular file, then remove the original.
bool copyThenRemove(const std::string& from, const std::string& to) {
    auto contents = readFile(from);
    if (!contents) return false;
    int fd = ::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd < 0) return false;
    bool ok = writeAllTo(fd, *contents);
    ok = ::close(fd) == 0 && ok;
    if (ok && ::unlink(from.c_str()) == 0) return true;
    ::unlink(to.c_str());
    return false;
}

bool makePrivateFolder(const std::string& path) {
    if (::mkdir(path.c_str(), 0700) == 0 || errno == EEXIST) return isDirectory(path);
    return false;
}

/// $XDG_DATA_HOME/Trash when that is an absolute path, else ~/.local/share/Trash.
std::string trashFolder(const TrashOwner& owner) {
    bool usable = owner.dataHome && !owner.dataHome->empty() && (*owner.dataHome)[0] == '/';
    return (usable ? *owner.dataHome : owner.homeDirectory + "/.local/share") + "/Trash";
}

} // namespace

std::string trashedFilesFolder(const TrashOwner& owner) {
    return trashFolder(owner) + "/files";
}

std::optional<std::string> moveToTrash(const std::string& path, const TrashOwner& owner) {
    std::string source = absolutePath(path);
    struct stat st {};
    if (::lstat(source.c_str(), &st) != 0) return std::nullopt;

    std::string trash = trashFolder(owner);
    if (!createFolders(trash.substr(0, trash.rfind('/'))) || !makePrivateFolder(trash) ||
        !makePrivateFolder(trash + "/files") || !makePrivateFolder(trash + "/info")) {
        return std::nullopt;
    }

    std::string name = source.substr(source.rfind('/') + 1);
    std::string info =
        "[Trash Info]\nPath=" + percentEncoded(source) + "\nDeletionDate=" + localDeletionDate() + "\n";
    for (int attempt = 1; attempt <= maxNameAttempts; ++attempt) {
        std::string candidate = candidateName(name, attempt);
        std::string infoPath = trash + "/info/" + candidate + ".trashinfo";
        std::string destination = trash + "/files/" + candidate;
        // Creating the info file exclusively reserves the name against other trashing programs.
        int fd = ::open(infoPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (fd < 0) {
            if (errno == EEXIST) continue;
            return std::nullopt;
        }
        struct stat taken {};
        if (::lstat(destination.c_str(), &taken) == 0) {
            ::close(fd);
            ::unlink(infoPath.c_str());
            continue;
        }
        bool written = writeAllTo(fd, info);
        written = ::close(fd) == 0 && written;
        bool moved =
            written && (::rename(source.c_str(), destination.c_str()) == 0 ||
                        (errno == EXDEV && S_ISREG(st.st_mode) && copyThenRemove(source, destination)));
        if (moved) return destination;
        ::unlink(infoPath.c_str());
        return std::nullopt;
    }
    return std::nullopt;
}

} // namespace zelmor::platform
