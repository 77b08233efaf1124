// UTF-8 validation and repair: files must be valid UTF-8 to be read as text, and protocol
// lines are decoded with replacement characters, as a line reader of the platform does.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace zelmor::UTF8 {

/// True when none of the 64 bytes from `at` has the high bit set; four 16-byte vector loads.
inline bool blockIsASCII(const char* at) {
    using Bytes = unsigned char __attribute__((vector_size(16)));
    Bytes a, b, c, d;
    std::memcpy(&a, at, 16);
    std::memcpy(&b, at + 16, 16);
    std::memcpy(&c, at + 32, 16);
    std::memcpy(&d, at + 48, 16);
    const Bytes any = a | b | c | d;
    std::uint64_t halves[2];
    std::memcpy(halves, &any, 16);
    return ((halves[0] | halves[1]) & 0x8080808080808080ULL) == 0;
}

/// `highBits` eight bytes at a time, with no vector instructions: what other processors run.
template <bool startsOnly> std::uint64_t highBitsByWords(const char* at) {
    std::uint64_t bits = 0;
    constexpr std::uint64_t high = 0x8080808080808080ULL;
    for (size_t k = 0; k < 8; ++k) {
        std::uint64_t word;
        std::memcpy(&word, at + 8 * k, 8);
        if constexpr (startsOnly) word &= word << 1; // bit 6 of each byte onto its bit 7
        if constexpr (std::endian::native == std::endian::little) {
            // The multiplication gathers the eight high bits, first byte lowest, in the top byte.
            bits |= (((word & high) * 0x0002040810204081ULL) >> 56) << (8 * k);
        } else {
            for (size_t i = 0; i < 8; ++i) bits |= ((word >> (8 * (7 - i) + 7)) & 1) << (8 * k + i);
        }
    }
    return bits;
}

/// One bit for each of the 64 bytes from `at`, bit k for byte k, set where the byte is not ASCII
/// or, with `startsOnly`, where it starts a sequence of two or more bytes (0xC0 and above).
template <bool startsOnly = false> std::uint64_t highBits(const char* at) {
#if defined(__SSE2__)
    std::uint64_t bits = 0;
    for (int k = 0; k < 4; ++k) {
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at + 16 * k));
        int marks = _mm_movemask_epi8(block);
        // As signed bytes, 0xC0 and above are -64 to -1.
        if constexpr (startsOnly) marks &= _mm_movemask_epi8(_mm_cmpgt_epi8(block, _mm_set1_epi8(-65)));
        bits |= std::uint64_t(static_cast<unsigned>(marks)) << (16 * k);
    }
    return bits;
#else
    return highBitsByWords<startsOnly>(at);
#endif
}

/// Calls `visit(at)` at each byte from `from` on that is not ASCII (with `startsOnly`, at each
/// that starts a sequence of two or more bytes: continuation bytes, even stray ones, are never
/// visited), passing over the bytes before the place the visit answers (past `at`: the end of
/// its sequence, say); an answer at or past the end stops the walk. Stretches of ASCII, nearly
/// all of a transcript, are passed 64 bytes at a time in a loop of their own.
template <bool startsOnly = false, typename Visit>
void forEachNonASCII(std::string_view bytes, size_t from, Visit&& visit) {
    const char* data = bytes.data();
    const size_t size = bytes.size();
    size_t at = from;
    for (;;) {
        while (at + 64 <= size && blockIsASCII(data + at)) at += 64;
        if (at + 64 > size) break;
        const size_t block = at;
        at += 64;
        for (std::uint64_t marks = highBits<startsOnly>(data + block); marks != 0;) {
            const size_t next = visit(block + static_cast<size_t>(std::countr_zero(marks)));
            if (next >= size) return;
            if (next >= block + 64) {
                at = next;
                break;
            }
            marks &= ~std::uint64_t{0} << (next - block);
        }
    }
    const unsigned char first = startsOnly ? 0xC0 : 0x80;
    while (at < size) at = static_cast<unsigned char>(data[at]) < first ? at + 1 : visit(at);
}

/// The first byte at or after `from` with the high bit set, or the size when there is none.
size_t firstNonASCII(std::string_view bytes, size_t from = 0);

/// True when every byte is below 0x80.
inline bool isASCII(std::string_view bytes) {
    return firstNonASCII(bytes) == bytes.size();
}

/// True when the bytes are well-formed UTF-8 (no overlongs, surrogates or values past U+10FFFF).
bool isValid(std::string_view bytes);

/// The text with every ill-formed sequence replaced by U+FFFD (maximal subparts, one each).
std::string repaired(std::string_view bytes);

/// The code point starting at `at`, advancing `at` past it; an ill-formed sequence (overlong,
/// surrogate, past U+10FFFF, cut short) decodes as one U+FFFD per maximal subpart, as `repaired`
/// replaces it.
char32_t decode(std::string_view bytes, size_t& at);

/// Appends the UTF-8 encoding of a code point.
void append(std::string& out, char32_t c);

} // namespace zelmor::UTF8
