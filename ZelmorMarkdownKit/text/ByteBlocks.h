// Sixteen bytes at a time, with the vector types GCC and Clang share: the fast paths that look
// for a few bytes in long text load, compare and walk their finds through these, so that each
// says only what it looks for.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace zelmor::ByteBlocks {

using Bytes = unsigned char __attribute__((vector_size(16)));

inline Bytes load(const unsigned char* at) {
    Bytes block;
    std::memcpy(&block, at, 16);
    return block;
}

/// The byte in every lane.
inline Bytes lane(unsigned char byte) {
    return Bytes{} + byte;
}

/// Each lane all ones where the byte is an ASCII letter or digit, zero elsewhere. (Setting bit
/// 0x20 lowers letters and leaves digits alone.)
inline auto letterOrDigit(Bytes block) {
    const Bytes low = block | 0x20;
    return ((low >= 'a') & (low <= 'z')) | ((block >= '0') & (block <= '9'));
}

/// Calls `visit(lane)` for each lane of `marks` (the result of comparisons: all ones or zero)
/// that is set, in memory order, until it answers false. False when it was stopped.
template <typename Marks, typename Visit> bool forEachMarked(const Marks& marks, Visit&& visit) {
    std::uint64_t halves[2];
    std::memcpy(halves, &marks, 16);
    if ((halves[0] | halves[1]) == 0) return true;
    if constexpr (std::endian::native == std::endian::little) {
        // The lowest set bit is the first marked byte in memory order.
        for (size_t half = 0; half < 2; ++half)
            for (std::uint64_t bytes = halves[half]; bytes != 0;) {
                const int bit = std::countr_zero(bytes);
                if (!visit(half * 8 + static_cast<size_t>(bit / 8))) return false;
                bytes &= ~(std::uint64_t{0xff} << (bit & ~7));
            }
    } else {
        for (size_t i = 0; i < 16; ++i)
            if (marks[i] != 0 && !visit(i)) return false;
    }
    return true;
}

} // namespace zelmor::ByteBlocks
