// Validation runs over every byte of every transcript on every scan: runs of ASCII, which is
// nearly all of a transcript, are checked 64 bytes at a time, and the scan jumps straight to
// the next non-ASCII byte of a mixed stretch.
#include "ZelmorMarkdownKit/text/UTF8.h"

namespace zelmor::UTF8 {

namespace {

/// Length of the well-formed sequence at `at`, or the length of its maximal ill-formed
/// subpart negated (at least 1), following the Unicode recommendation for U+FFFD substitution.
int sequenceLength(std::string_view s, size_t at) {
    auto byte = [&](size_t k) { return static_cast<unsigned char>(s[k]); };
    unsigned char b0 = byte(at);
    if (b0 < 0x80) return 1;
    int need;
    unsigned char lo = 0x80, hi = 0xBF;
    if (b0 >= 0xC2 && b0 <= 0xDF)
        need = 1;
    else if (b0 >= 0xE0 && b0 <= 0xEF) {
        need = 2;
        if (b0 == 0xE0) lo = 0xA0;
        if (b0 == 0xED) hi = 0x9F;
    } else if (b0 >= 0xF0 && b0 <= 0xF4) {
        need = 3;
        if (b0 == 0xF0) lo = 0x90;
        if (b0 == 0xF4) hi = 0x8F;
    } else {
        return -1;
    }
    for (int k = 1; k <= need; ++k) {
        size_t index = at + static_cast<size_t>(k);
        if (index >= s.size()) return -k;
        unsigned char b = byte(index);
        bool ok = k == 1 ? (b >= lo && b <= hi) : (b >= 0x80 && b <= 0xBF);
        if (!ok) return -k;
    }
    return need + 1;
}

} // namespace

size_t firstNonASCII(std::string_view s, size_t from) {
    size_t found = s.size();
    forEachNonASCII(s, from, [&](size_t at) {
        found = at;
        return s.size();
    });
    return found;
}

bool isValid(std::string_view s) {
    bool valid = true;
    forEachNonASCII(s, 0, [&](size_t at) {
        int n = sequenceLength(s, at);
        if (n < 0) valid = false;
        return n < 0 ? s.size() : at + static_cast<size_t>(n);
    });
    return valid;
}

std::string repaired(std::string_view s) {
    if (isValid(s)) return std::string(s);
    std::string out;
    out.reserve(s.size() + 16);
    size_t i = 0;
    while (i < s.size()) {
        int n = sequenceLength(s, i);
        if (n > 0) {
            out.append(s.substr(i, static_cast<size_t>(n)));
            i += static_cast<size_t>(n);
        } else {
            out += "\xEF\xBF\xBD";
            i += static_cast<size_t>(-n);
        }
    }
    return out;
}

char32_t decode(std::string_view s, size_t& at) {
    int length = sequenceLength(s, at);
    if (length < 0) {
        at += static_cast<size_t>(-length);
        return 0xFFFD;
    }
    auto b0 = static_cast<unsigned char>(s[at]);
    if (length == 1) {
        ++at;
        return b0;
    }
    char32_t c = b0 & (0x7F >> length);
    for (int k = 1; k < length; ++k)
        c = (c << 6) | (static_cast<unsigned char>(s[at + static_cast<size_t>(k)]) & 0x3F);
    at += static_cast<size_t>(length);
    return c;
}

void append(std::string& out, char32_t c) {
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

} // namespace zelmor::UTF8
