// File-system operations the kit and the server need, behind one header so that the
// rest of the code never calls the operating system directly.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zelmor::platform {

/// The current user's home folder: $HOME when set and not empty, else the password database.
std::string homeDirectory();

/// The process's working folder, or "/" when it cannot be read.
std::string currentDirectory();

/// Expands a leading "~" or "~user" the way a shell does; any other path is returned unchanged.
std::string expandTilde(const std::string& path, const std::string& home);

/// Removes empty, "." and ".." components from an absolute path (no trailing slash except for "/").
/// Symbolic links are left alone.
std::string standardizePath(std::string_view path);

/// Makes a path absolute against the working folder, then standardises it.
std::string absolutePath(std::string_view path);

/// The path with the last component's extension replaced ("a/x.md" -> "a/x.txt"), or the
/// extension added when the name has none ("notes", ".hidden").
std::string replacingPathExtension(std::string_view path, std::string_view extension);

/// Resolves every symbolic link along an absolute, standardised path, in one walk. Components
/// that do not exist are kept as written, so a missing file still gets its existing parent
/// folders resolved; a path too long for the system to open is returned as written.
std::string resolveSymlinks(const std::string& path);

/// True when the path exists (following links) and is a folder.
bool isDirectory(const std::string& path);

/// True when something exists at the path (following links).
bool exists(const std::string& path);

/// No limit on a file's size.
inline constexpr size_t unlimited = static_cast<size_t>(-1);

/// Reads a whole regular file. Folders, FIFOs, sockets and devices are refused without
/// blocking; a file that cannot be opened or read, one larger than `maxBytes`, or a path holding
/// a NUL, gives nothing.
std::optional<std::string> readFile(const std::string& path, size_t maxBytes = unlimited);

/// Which file a path reached, on its device: two opens that give the same identity reached the
/// same file, whatever happened to the names in between.
struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    bool operator==(const FileIdentity&) const = default;
};

/// The identity of the regular file at the path, the last component not followed if it is a
/// link; nothing for a link, folder, FIFO, socket, device or missing file.
std::optional<FileIdentity> regularFileIdentity(const std::string& path);

/// Reads a whole regular file at an absolute, standardised path that holds no symbolic links,
/// opening it one component at a time without following any link: a folder or file swapped for
/// a link after the path was checked is refused, not followed. Gives nothing unless what was
/// opened is the regular file `expected`, and nothing for one larger than `maxBytes`.
std::optional<std::string> readFileWithoutLinks(const std::string& path, const FileIdentity& expected,
                                                size_t maxBytes = unlimited);

/// Reads a whole regular file into the front of `buffer`, which only ever grows, so that a thread
/// reading file after file neither allocates nor clears memory for each. Gives the file's length
/// (bytes past it are left over from earlier reads), or nothing where `readFile` gives nothing.
std::optional<size_t> readFileInto(const std::string& path, std::string& buffer, size_t maxBytes = unlimited);

/// Writes the whole contents to a temporary file beside the destination and renames it into
/// place, so readers see either the old or the new file, never a part. The folder is not created.
/// A link at the path is followed (its target is written); an existing file the user may not
/// write is refused. On failure errno says why.
bool writeFileAtomically(const std::string& path, std::string_view contents);

/// What `createFileExclusively` did.
enum class CreateOutcome { created, alreadyExists, failed };

/// Writes the whole contents to a new file at the path, atomically, and never over anything
/// already there (a file, a folder, even a dangling link): readers see the whole file or none,
/// and of two processes creating the same name, one gets `alreadyExists`. The folder is not created.
CreateOutcome createFileExclusively(const std::string& path, std::string_view contents);

/// Size in bytes of the file at the path (following links), or nothing when it cannot be read.
std::optional<std::uint64_t> fileSize(const std::string& path);

/// Removes a file (not a folder); false when it is not there or cannot be removed.
bool removeFile(const std::string& path);

/// Modification time of the file in seconds since 1970, or nothing when it cannot be read.
std::optional<double> modificationTime(const std::string& path);

} // namespace zelmor::platform
