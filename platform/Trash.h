// Moving files to the user's trash, from where the desktop can put them back.
#pragma once

#include <optional>
#include <string>

namespace zelmor::platform {

/// Whose trash receives the files.
struct TrashOwner {
    std::string homeDirectory;
    /// Linux only: $XDG_DATA_HOME, whose "Trash" folder replaces ~/.local/share/Trash when it is
    /// an absolute path. Ignored on macOS.
    std::optional<std::string> dataHome;

    /// The current user's home folder and $XDG_DATA_HOME.
    static TrashOwner currentUser();
};

/// The folder that receives trashed files: DATA/Trash/files on Linux, ~/.Trash on macOS.
std::string trashedFilesFolder(const TrashOwner& owner);

/// Moves a file into the owner's trash under a name no other trashed item has, and returns
/// where it went; nothing when it could not be moved (the file is then left where it was).
/// Linux follows the freedesktop.org layout (files/ plus info/NAME.trashinfo); macOS uses ~/.Trash.
std::optional<std::string> moveToTrash(const std::string& path, const TrashOwner& owner);

} // namespace zelmor::platform
