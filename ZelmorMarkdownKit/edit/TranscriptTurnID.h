// Short, stable identifiers for speaker turns ("t042-3fa2b1": position and word fingerprint), and
// finding a turn again after the transcript has changed.
#pragma once

#include "ZelmorMarkdownKit/format/TranscriptDocument.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace zelmor::TranscriptTurnID {

/// The turn at the identifier's position still has the same words.
struct Exact {
    size_t index; ///< 0-based
    bool operator==(const Exact&) const = default;
};
/// Another turn, the nearest one to the old position, has the identifier's words.
struct Moved {
    size_t index; ///< 0-based
    bool operator==(const Moved&) const = default;
};
/// The position exists but its words changed, and no other turn has the old ones.
struct Stale {
    size_t index; ///< 0-based
    bool operator==(const Stale&) const = default;
};
/// The identifier is malformed, or its position and its words are both gone.
struct Missing {
    bool operator==(const Missing&) const = default;
};

using Match = std::variant<Exact, Moved, Stale, Missing>;

/// "t" + the 1-based position, at least three digits + "-" + six hex digits of the fingerprint.
std::string make(size_t index, std::string_view text);

/// The identifiers of all turns, in order.
std::vector<std::string> ids(const std::vector<TranscriptDocument::Turn>& turns);

/// Finds the turn an identifier names; between two equally near moved candidates the earlier wins.
Match locate(std::string_view id, const std::vector<TranscriptDocument::Turn>& turns);

} // namespace zelmor::TranscriptTurnID
