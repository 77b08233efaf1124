// The current user's trash owner, the same on every POSIX system.
#include "platform/FileSystem.h"
#include "platform/Trash.h"

#include <cstdlib>

namespace zelmor::platform {

TrashOwner TrashOwner::currentUser() {
    TrashOwner owner{platform::homeDirectory(), std::nullopt};
    if (const char* dataHome = std::getenv("XDG_DATA_HOME"); dataHome != nullptr && *dataHome != '\0') {
        owner.dataHome = dataHome;
    }
    return owner;
}

} // namespace zelmor::platform
