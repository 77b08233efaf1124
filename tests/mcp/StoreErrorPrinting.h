// Readable test failures for store errors: which case and which path, not the bytes of the value.
#pragma once

#include "ZelmorMCP/MeetingStore.h"

#include <ostream>

namespace zelmor {

inline void PrintTo(const MeetingStore::StoreError& error, std::ostream* out) {
    *out << "StoreError(" << static_cast<int>(error.kind) << ", \"" << error.path << "\")";
}

} // namespace zelmor
