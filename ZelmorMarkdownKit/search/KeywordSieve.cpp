// Sixteen places at a time, the sieve looks for a prefix's first character at the start of a
// word, followed by its second or by a joining mark; each such place is then checked by hand. Words are found
// the way `QueryTokenizer::words` segments ASCII text, but leniently: a place it cannot rule out counts as a
// find, which costs only the tokenizing the sieve was meant to spare.
#include "ZelmorMarkdownKit/search/KeywordSieve.h"

#include "ZelmorMarkdownKit/search/QueryTokenizer.h"
#include "ZelmorMarkdownKit/text/ASCII.h"
#include "ZelmorMarkdownKit/text/ByteBlocks.h"

#include <cstring>

namespace zelmor {

namespace {

bool isAlphanumeric(char c) {
    return ASCII::isLetter(c) || ASCII::isDigit(c);
}

/// Marks that can stand inside a word between its letters or digits (some only between digits,
/// "@" only where ICU counts it a letter: the sieve does not tell them apart).
bool isJoiningMark(char c) {
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

} // namespace

KeywordSieve::KeywordSieve(const std::vector<std::string>& stems) {
    for (const std::string& stem : stems) {
        std::string prefix = prefixOf(stem);
        if (prefix.empty()) {
            holdsAnything = true;
            continue;
        }
        lanes.push_back({ByteBlocks::lane(static_cast<unsigned char>(prefix[0])),
                         ByteBlocks::lane(static_cast<unsigned char>(prefix[1]))});
        prefixes.push_back(std::move(prefix));
    }
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

void KeywordSieve::forEachPlace(std::string_view text, const std::function<bool(size_t)>& visit) const {
    if (prefixes.empty()) return;
    auto mayStartAny = [&](size_t at) {
        for (const std::string& prefix : prefixes)
            if (ASCII::lower(text[at]) == prefix[0] && mayStartAt(text, at, prefix)) return true;
        return false;
    };
    const auto* data = reinterpret_cast<const unsigned char*>(text.data());
    if (!text.empty() && mayStartAny(0) && !visit(0)) return;
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
        if (!forEachMarked(found, [&](size_t i) { return !mayStartAny(at + i) || visit(at + i); })) return;
    }
    for (; at < text.size(); ++at)
        if (mayStartAny(at) && !visit(at)) return;
}

} // namespace zelmor
