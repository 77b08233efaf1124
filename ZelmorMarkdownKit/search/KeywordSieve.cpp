// A block of bytes at a time, the sieve looks for a prefix's first character at the start of a
// word, followed by its second or by a joining mark; each such place is then checked by hand.
// Words are found the way `QueryTokenizer::words` segments ASCII text, but leniently: a place it
// cannot rule out counts as a find, which costs only the tokenizing the sieve was meant to spare.
// The portable loop compares 16 bytes with each prefix in turn. Where the processor shuffles bytes
// (x86's AVX2), 32 bytes are tested for every prefix at once, Teddy's way (as in Hyperscan and
// ripgrep): the two nibbles of each byte look up the prefixes whose first, second or third byte
// it may be, so that the cost no longer grows with the prefixes and fewer places reach the check.
#include "ZelmorMarkdownKit/search/KeywordSieve.h"

#include "ZelmorMarkdownKit/search/QueryTokenizer.h"
#include "ZelmorMarkdownKit/text/ASCII.h"
#include "ZelmorMarkdownKit/text/ByteBlocks.h"

#include <bit>
#include <cstring>

#if defined(__x86_64__)
#include <immintrin.h>
#define ZELMOR_SIEVE_SHUFFLES 1
#endif

namespace zelmor {

namespace {

constexpr bool isAlphanumeric(char c) {
    return ASCII::isLetter(c) || ASCII::isDigit(c);
}

/// Marks that can stand inside a word between its letters or digits (some only between digits,
/// "@" only where ICU counts it a letter: the sieve does not tell them apart).
constexpr bool isJoiningMark(char c) {
    return c == '_' || c == '@' || c == '.' || c == '\'' || c == ',' || c == ';';
}

/// The prefix every word with this stem starts with, once normalised; empty when there is none
/// that bytes can find.
std::string prefixOf(const std::string& stem) {
    if (stem == "1o1") return {}; // stands in for spellings such as "one-on-one"
    std::string prefix = stem.ends_with('y') ? stem.substr(0, stem.size() - 1) : stem;
    for (const auto& [word, overridden] : QueryTokenizer::lemmaOverrides()) {
        if (overridden != stem) continue;
        size_t same = 0;
        while (same < prefix.size() && same < word.size() && prefix[same] == word[same]) ++same;
        prefix.resize(same);
    }
    if (prefix.size() < 2) return {};
    for (char c : prefix)
        if (!isAlphanumeric(c)) return {};
    return prefix;
}

#if ZELMOR_SIEVE_SHUFFLES
/// A set of ASCII bytes as two nibble tables: a byte is in it when the table of its low nibble
/// holds the bit of its high nibble.
struct ByteSet {
    unsigned char low[16] = {}, high[16] = {};
    template <typename Is> constexpr explicit ByteSet(Is is) {
        for (int c = 0; c < 128; ++c)
            if (is(static_cast<char>(c))) low[c & 15] |= static_cast<unsigned char>(1u << (c >> 4));
        for (int h = 0; h < 8; ++h) high[h] = static_cast<unsigned char>(1u << h);
    }
};
constexpr ByteSet joiningMarks(isJoiningMark);
constexpr ByteSet lettersAndDigits(isAlphanumeric);

/// The and of each byte's two nibbles' entries in `low` and `high`.
__attribute__((target("avx2"))) inline __m256i shuffled(__m256i low, __m256i high, __m256i bytes) {
    const __m256i nibble = _mm256_set1_epi8(0x0f);
    return _mm256_and_si256(_mm256_shuffle_epi8(low, _mm256_and_si256(bytes, nibble)),
                            _mm256_shuffle_epi8(high, _mm256_and_si256(_mm256_srli_epi16(bytes, 4), nibble)));
}

/// A table of 16 bytes in both halves (the shuffle looks up within each half).
__attribute__((target("avx2"))) inline __m256i table(const unsigned char (&bytes)[16]) {
    return _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes)));
}

__attribute__((target("avx2"))) inline __m256i load(std::string_view text, size_t at) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text.data() + at));
}

bool processorShuffles() {
    static const bool shuffles = __builtin_cpu_supports("avx2");
    return shuffles;
}
#endif

} // namespace

KeywordSieve::KeywordSieve(const std::vector<std::string>& stems, Blocks blocks) {
    for (const std::string& stem : stems) {
        std::string prefix = prefixOf(stem);
        if (prefix.empty()) {
            holdsAnything = true;
            continue;
        }
        lanes.push_back({ByteBlocks::lane(static_cast<unsigned char>(prefix[0])),
                         ByteBlocks::lane(static_cast<unsigned char>(prefix[1]))});
        const auto bucket = static_cast<unsigned char>(1u << (prefixes.size() % 8));
        auto add = [bucket](unsigned char(&low)[16], unsigned char(&high)[16], char byte) {
            low[static_cast<unsigned char>(byte) & 15] |= bucket;
            high[static_cast<unsigned char>(byte) >> 4] |= bucket;
        };
        add(nibbles.firstLow, nibbles.firstHigh, prefix[0]);
        add(nibbles.secondLow, nibbles.secondHigh, prefix[1]);
        if (prefix.size() > 2) {
            add(nibbles.thirdLow, nibbles.thirdHigh, prefix[2]);
        } else {
            for (size_t nibble = 0; nibble < 16; ++nibble) {
                nibbles.thirdLow[nibble] |= bucket;
                nibbles.thirdHigh[nibble] |= bucket;
            }
        }
        prefixes.push_back(std::move(prefix));
    }
#if ZELMOR_SIEVE_SHUFFLES
    byNibbles = blocks == Blocks::fastest && processorShuffles();
#else
    (void)blocks;
#endif
}

bool KeywordSieve::mayStartAt(std::string_view text, size_t at, std::string_view prefix) {
    // Letters and digits before it (underscores between) would make it part of a word before.
    size_t start = at;
    while (start > 0 && text[start - 1] == '_') --start;
    if (start > 0 && isAlphanumeric(text[start - 1])) return false;
    size_t matched = 1;
    for (size_t i = at + 1; matched < prefix.size(); ++i) {
        if (i == text.size()) return false;
        if (isJoiningMark(text[i])) continue;
        if (ASCII::lower(text[i]) != prefix[matched]) return false;
        ++matched;
    }
    return true;
}

bool KeywordSieve::mayStartAny(std::string_view text, size_t at, unsigned buckets) const {
    for (size_t p = 0; p < prefixes.size(); ++p)
        if ((buckets >> (p % 8) & 1) && ASCII::lower(text[at]) == prefixes[p][0] &&
            mayStartAt(text, at, prefixes[p]))
            return true;
    return false;
}

void KeywordSieve::forEachPlace(std::string_view text, const std::function<bool(size_t)>& visit) const {
    if (prefixes.empty()) return;
    if (!text.empty() && mayStartAny(text, 0) && !visit(0)) return;
#if ZELMOR_SIEVE_SHUFFLES
    if (byNibbles) return forEachPlaceByNibbles(text, visit);
#endif
    forEachPlacePortably(text, visit);
}

void KeywordSieve::forEachPlacePortably(std::string_view text,
                                        const std::function<bool(size_t)>& visit) const {
    const auto* data = reinterpret_cast<const unsigned char*>(text.data());
    size_t at = 1;
    for (; at + 17 <= text.size(); at += 16) {
        using namespace ByteBlocks;
        const Bytes here = load(data + at), next = load(data + at + 1);
        auto joining =
            (next == '_') | (next == '@') | (next == '.') | (next == '\'') | (next == ',') | (next == ';');
        // Setting bit 0x20 lowers letters and leaves digits alone; the few other bytes it maps
        // onto a letter or digit are turned down by the check of each place.
        const Bytes low = here | 0x20, nextLow = next | 0x20;
        auto found = joining & 0;
        for (const Lanes& want : lanes) found |= (low == want.first) & ((nextLow == want.second) | joining);
        // A word starts after a byte that is no letter or digit (the check of the place looks
        // past underscores).
        found &= ~letterOrDigit(load(data + at - 1));
        if (!forEachMarked(found, [&](size_t i) { return !mayStartAny(text, at + i) || visit(at + i); }))
            return;
    }
    for (; at < text.size(); ++at)
        if (mayStartAny(text, at) && !visit(at)) return;
}

#if ZELMOR_SIEVE_SHUFFLES
__attribute__((target("avx2"))) void
KeywordSieve::forEachPlaceByNibbles(std::string_view text, const std::function<bool(size_t)>& visit) const {
    // Copied out of the object: a store through the visit could otherwise alias them.
    const __m256i firstLow = table(nibbles.firstLow), firstHigh = table(nibbles.firstHigh),
                  secondLow = table(nibbles.secondLow), secondHigh = table(nibbles.secondHigh),
                  thirdLow = table(nibbles.thirdLow), thirdHigh = table(nibbles.thirdHigh),
                  joiningLow = table(joiningMarks.low), joiningHigh = table(joiningMarks.high),
                  wordLow = table(lettersAndDigits.low), wordHigh = table(lettersAndDigits.high);
    const __m256i lowering = _mm256_set1_epi8(0x20), none = _mm256_setzero_si256(),
                  every = _mm256_set1_epi8(-1);
    alignas(32) unsigned char buckets[32];
    size_t at = 1;
    for (; at + 34 <= text.size(); at += 32) {
        const __m256i before = load(text, at - 1), here = load(text, at), next = load(text, at + 1),
                      after = load(text, at + 2);
        // The buckets whose first three bytes stand here, or whose first does with a joining mark
        // after it or after the next, where no letter or digit comes before.
        const __m256i first = shuffled(firstLow, firstHigh, _mm256_or_si256(here, lowering));
        const __m256i second = shuffled(secondLow, secondHigh, _mm256_or_si256(next, lowering));
        const __m256i third = shuffled(thirdLow, thirdHigh, _mm256_or_si256(after, lowering));
        const __m256i joined = _mm256_andnot_si256(
            _mm256_and_si256(_mm256_cmpeq_epi8(shuffled(joiningLow, joiningHigh, next), none),
                             _mm256_cmpeq_epi8(shuffled(joiningLow, joiningHigh, after), none)),
            every);
        const __m256i startsWord = _mm256_cmpeq_epi8(shuffled(wordLow, wordHigh, before), none);
        const __m256i found = _mm256_and_si256(_mm256_and_si256(first, startsWord),
                                               _mm256_or_si256(_mm256_and_si256(second, third), joined));
        unsigned marks =
            static_cast<unsigned>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(found, none))) ^ 0xffffffffu;
        if (marks == 0) continue;
        _mm256_store_si256(reinterpret_cast<__m256i*>(buckets), found);
        for (; marks != 0; marks &= marks - 1) {
            const size_t i = static_cast<size_t>(std::countr_zero(marks));
            if (mayStartAny(text, at + i, buckets[i]) && !visit(at + i)) return;
        }
    }
    for (; at < text.size(); ++at)
        if (mayStartAny(text, at) && !visit(at)) return;
}
#endif

} // namespace zelmor
