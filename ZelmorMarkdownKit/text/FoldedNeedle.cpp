// The search behind FoldedNeedle. ASCII text folds byte by byte to its lower case, so an ASCII
// needle can be compared against raw ASCII directly; a non-ASCII code point changes the picture
// only when its folded form is empty (a dropped mark) or shares a byte with the needle.
#include "ZelmorMarkdownKit/text/FoldedNeedle.h"

#include "ZelmorMarkdownKit/text/ByteBlocks.h"
#include "ZelmorMarkdownKit/text/TextFolding.h"
#include "ZelmorMarkdownKit/text/UTF8.h"
#include "ZelmorMarkdownKit/text/Whitespace.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace zelmor {

namespace {

/// How common each byte is in English text, rarest last: the anchor is the needle's byte
/// latest in this list, so that `memchr` stops as seldom as possible.
constexpr std::string_view byCommonness = " etaoinsrhldcumfpgwybvk.,-'\"xjqz0123456789:;?!()/_";

size_t commonness(unsigned char c) {
    size_t at = byCommonness.find(static_cast<char>(c));
    return at == std::string_view::npos ? byCommonness.size() : at;
}

unsigned char lowerASCII(unsigned char c) {
    return c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c;
}

bool isASCIILetter(unsigned char c) {
    return c >= 'a' && c <= 'z';
}

} // namespace

FoldedNeedle::FoldedNeedle(std::string folded)
    : needle(std::move(folded)), bits(TextFolding::asciiBits(needle)),
      foldBits(TextFolding::foldedASCIIBits()) {
    for (size_t i = 0; i < needle.size(); ++i) {
        auto c = static_cast<unsigned char>(needle[i]);
        if (c >= 0x80 || c == '\n') byteWise = false;
        if (commonness(c) >= commonness(static_cast<unsigned char>(needle[anchor]))) anchor = i;
    }
    second = anchor;
    for (size_t i = 0; i < needle.size(); ++i) {
        if (i == anchor) continue;
        auto c = static_cast<unsigned char>(needle[i]);
        if (second == anchor || commonness(c) >= commonness(static_cast<unsigned char>(needle[second])))
            second = i;
    }
}

bool FoldedNeedle::occursIn(std::string_view text) const {
    if (needle.empty()) return false;
    if (!byteWise) return TextFolding::folded(text).find(needle) != std::string::npos;
    // On a short text (a turn) the scans' start-up costs more than they save; the pair scan
    // also tells whether the text is all ASCII, which spares most turns the second pass.
    if (text.size() >= needle.size() && text.size() < 2048) {
        bool nonASCII = false;
        if (occursByPairs(text, 0, &nonASCII)) return true;
        return nonASCII && occursAcrossNonASCII(text);
    }
    return occursAsASCII(text) || occursAcrossNonASCII(text);
}

bool FoldedNeedle::occursAsASCII(std::string_view text) const {
    if (text.size() < needle.size()) return false;
    const auto* data = reinterpret_cast<const unsigned char*>(text.data());
    // The anchor byte can sit anywhere from `first` up to (not including) `end`.
    const unsigned char* const first = data + anchor;
    const unsigned char* const end = data + (text.size() - needle.size()) + anchor + 1;
    auto target = static_cast<unsigned char>(needle[anchor]);
    // A letter is looked for in both cases: one memchr scan per case, each resumed past its own
    // find. That is fastest while the anchor is rare; once it proves common in this text, the
    // rest is searched 16 places at a time on two bytes of the needle.
    const unsigned char forms[2] = {
        target, isASCIILetter(target) ? static_cast<unsigned char>(target - ('a' - 'A')) : target};
    const size_t formCount = forms[0] == forms[1] ? 1 : 2;
    const unsigned char* found[2] = {first, first};
    auto scan = [&](size_t k, const unsigned char* from) {
        found[k] =
            from < end ? static_cast<const unsigned char*>(std::memchr(from, forms[k], end - from)) : nullptr;
    };
    for (size_t k = 0; k < formCount; ++k) scan(k, first);
    for (int misses = 0;; ++misses) {
        size_t k =
            formCount == 2 && found[1] != nullptr && (found[0] == nullptr || found[1] < found[0]) ? 1 : 0;
        const unsigned char* hit = found[k];
        if (hit == nullptr) return false;
        size_t start = static_cast<size_t>(hit - data) - anchor;
        if (matchesAt(data + start)) return true;
        if (misses == 64) return occursByPairs(text, start + 1, nullptr);
        scan(k, hit + 1);
    }
}

bool FoldedNeedle::matchesAt(const unsigned char* start) const {
    size_t i = 0;
    while (i < needle.size() && lowerASCII(start[i]) == static_cast<unsigned char>(needle[i])) ++i;
    return i == needle.size();
}

bool FoldedNeedle::occursByPairs(std::string_view text, size_t from, bool* nonASCII) const {
    using namespace ByteBlocks;
    const auto* data = reinterpret_cast<const unsigned char*>(text.data());
    const size_t last = text.size() - needle.size(); // the last place the needle can start
    if (last + 1 - from < 16) {
        if (nonASCII) *nonASCII = !UTF8::isASCII(text);
        for (size_t start = from; start <= last; ++start)
            if (matchesAt(data + start)) return true;
        return false;
    }
    // Setting bit 0x20 lowers an ASCII letter and maps no other byte onto a lower-case letter.
    auto caseBit = [](char c) -> unsigned char {
        return isASCIILetter(static_cast<unsigned char>(c)) ? 0x20 : 0;
    };
    const Bytes firstByte = lane(static_cast<unsigned char>(needle[anchor])),
                firstCase = lane(caseBit(needle[anchor]));
    const Bytes secondByte = lane(static_cast<unsigned char>(needle[second])),
                secondCase = lane(caseBit(needle[second]));
    Bytes seen = lane(0); // every anchor-side byte loaded, ORed, for the high bit
    auto block = [&](size_t start) {
        const Bytes a = load(data + start + anchor), b = load(data + start + second);
        seen |= a;
        auto both = ((a | firstCase) == firstByte) & ((b | secondCase) == secondByte);
        return !forEachMarked(both, [&](size_t i) { return !matchesAt(data + start + i); });
    };
    size_t start = from;
    for (; start + 16 <= last + 1; start += 16)
        if (block(start)) return true;
    // The places left over are covered by one more block ending at the last place.
    if (start <= last && block(last + 1 - 16)) return true;
    if (nonASCII) {
        // The anchor-side loads covered [from + anchor, last + 1 + anchor). A needle of at most
        // 16 bytes leaves less than 16 on either side, which one more load at each end covers.
        const bool endsLoaded = from == 0 && needle.size() <= 16;
        if (endsLoaded) {
            Bytes end;
            std::memcpy(&end, data, 16);
            seen |= end;
            std::memcpy(&end, data + text.size() - 16, 16);
            seen |= end;
        }
        std::uint64_t halves[2];
        std::memcpy(halves, &seen, 16);
        *nonASCII = ((halves[0] | halves[1]) & 0x8080808080808080ULL) != 0 ||
                    (!endsLoaded && (!UTF8::isASCII(text.substr(0, from + anchor)) ||
                                     !UTF8::isASCII(text.substr(last + 1 + anchor))));
    }
    return false;
}

bool FoldedNeedle::mayHoldAnchor(std::string_view window) const {
    const char target = needle[anchor];
    size_t at = 0;
    while (at < window.size()) {
        auto byte = static_cast<unsigned char>(window[at]);
        if (byte < 0x80) {
            if (static_cast<char>(lowerASCII(byte)) == target) return true;
            ++at;
            continue;
        }
        auto folded = TextFolding::foldedFromTable(UTF8::decode(window, at));
        if (!folded || folded->find(target) != std::string_view::npos) return true;
    }
    return false;
}

std::optional<bool> FoldedNeedle::acrossOneLetter(std::string_view text, size_t start, size_t end,
                                                  char32_t c) const {
    // Most accented letters fold to one ASCII letter, and the text around them is ASCII, which
    // folds byte for byte: then the needle is compared in place at each spot the letter can take.
    auto folded = TextFolding::foldedFromTable(c);
    if (!folded || folded->size() != 1) return std::nullopt;
    // Outward from the letter, byte by byte: an ASCII byte that differs settles the spot, a
    // non-ASCII one (its folded form need not be one byte) leaves it unsure.
    const auto* data = reinterpret_cast<const unsigned char*>(text.data());
    auto compare = [&](size_t place, char wanted) {
        if (place >= text.size()) return 0; // the text ends first (places below 0 wrap past it)
        if (data[place] >= 0x80) return -1;
        return lowerASCII(data[place]) == static_cast<unsigned char>(wanted) ? 1 : 0;
    };
    bool unsure = false;
    for (size_t j = 0; j < needle.size(); ++j) {
        if (needle[j] != (*folded)[0]) continue;
        int verdict = 1;
        for (size_t k = 1; k <= j && verdict == 1; ++k) verdict = compare(start - k, needle[j - k]);
        for (size_t k = j + 1; k < needle.size() && verdict == 1; ++k)
            verdict = compare(end + k - j - 1, needle[k]);
        if (verdict == 1) return true;
        unsure |= verdict < 0;
    }
    if (unsure) return std::nullopt;
    return false;
}

bool FoldedNeedle::occursAcrossNonASCII(std::string_view text) const {
    // Most code points met here are two or three bytes long and fold to bytes the needle lacks,
    // which the table tells without a full decode (the length picked without a jump). Text that
    // is not well formed (which the store drops anyway) may be misread here.
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    std::string window;
    bool found = false;
    UTF8::forEachNonASCII<true>(text, 0, [&](size_t at) {
        if (at + 3 <= text.size()) {
            const size_t lead = bytes[at], b1 = bytes[at + 1] & 0x3Fu, b2 = bytes[at + 2] & 0x3Fu;
            const size_t c = lead < 0xE0   ? (lead & 0x1Fu) << 6 | b1
                             : lead < 0xF0 ? (lead & 0x0Fu) << 12 | b1 << 6 | b2
                                           : foldBits.size();
            if (c < foldBits.size() && (foldBits[c] & bits) == 0) return at + 1;
        }
        found = occursAcross(text, at, window);
        return found ? text.size() : at + 1;
    });
    return found;
}

bool FoldedNeedle::occursAcross(std::string_view text, size_t start, std::string& window) const {
    // A match that the raw comparison misses takes in a non-ASCII code point that may fold into
    // the needle; it then lies within the needle's folded length on either side of that code
    // point, and within its line, since nothing folds into or out of a line break. Only that
    // window is folded. A code point beyond the fold table counts as folding to nothing, which
    // only widens the window.
    auto foldedLength = [](std::string_view codePoint) -> size_t {
        if (codePoint.size() == 1) return 1;
        size_t at = 0;
        auto folded = TextFolding::foldedFromTable(UTF8::decode(codePoint, at));
        return folded ? folded->size() : 0;
    };
    auto isContinuation = [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; };
    size_t at = start;
    const char32_t c = UTF8::decode(text, at);
    if (auto known = acrossOneLetter(text, start, at, c)) return *known;
    size_t from = start, gathered = 0;
    while (from > 0 && text[from - 1] != '\n' && gathered < needle.size()) {
        size_t end = from--;
        while (from > 0 && isContinuation(text[from])) --from;
        gathered += foldedLength(text.substr(from, end - from));
    }
    size_t to = at;
    gathered = 0;
    while (to < text.size() && text[to] != '\n' && gathered < needle.size()) {
        size_t begin = to;
        UTF8::decode(text, to);
        gathered += foldedLength(text.substr(begin, to - begin));
    }
    // Folding is the costly part; a window without the needle's rarest byte, raw or folded out
    // of a letter, cannot hold the needle.
    if (!mayHoldAnchor(text.substr(from, to - from))) return false;
    window.clear();
    TextFolding::appendFolded(text.substr(from, to - from), window);
    return window.find(needle) != std::string::npos;
}

} // namespace zelmor
