// The fingerprint is the first three bytes of SHA-256 over the normalised words, so edits of
// case, punctuation or spacing keep an identifier valid while a changed word does not.
#include "ZelmorMarkdownKit/edit/TranscriptTurnID.h"

#include "ZelmorMarkdownKit/text/ICUText.h"
#include "ZelmorMarkdownKit/text/TextNormalize.h"

#include <openssl/evp.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <optional>

namespace zelmor::TranscriptTurnID {

namespace {

struct ParsedID {
    size_t index;
    std::string_view fingerprint;
};

std::string hash(std::string_view text) {
    std::string words = TextNormalize::words(text);
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (EVP_Digest(words.data(), words.size(), digest, &length, EVP_sha256(), nullptr) != 1 || length < 3) {
        return ""; // never equal to a parsed six-character fingerprint
    }
    char hex[7];
    std::snprintf(hex, sizeof hex, "%02x%02x%02x", digest[0], digest[1], digest[2]);
    return hex;
}

std::optional<ParsedID> parse(std::string_view id) {
    if (id.empty() || id.front() != 't') return std::nullopt;
    size_t dash = id.find('-');
    if (dash == std::string_view::npos) return std::nullopt;
    std::string_view digits = id.substr(1, dash - 1);
    std::string_view fingerprint = id.substr(dash + 1);
    if (digits.size() < 3) return std::nullopt;
    size_t position = 0;
    auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), position);
    if (error != std::errc() || end != digits.data() + digits.size() || position < 1) return std::nullopt;
    if (ICUText::characterCount(fingerprint) != 6) return std::nullopt;
    return ParsedID{position - 1, fingerprint};
}

} // namespace

std::string make(size_t index, std::string_view text) {
    char position[32];
    std::snprintf(position, sizeof position, "t%03zu-", index + 1);
    return position + hash(text);
}

std::vector<std::string> ids(const std::vector<TranscriptDocument::Turn>& turns) {
    std::vector<std::string> out;
    out.reserve(turns.size());
    for (size_t i = 0; i < turns.size(); ++i) out.push_back(make(i, turns[i].text));
    return out;
}

Match locate(std::string_view id, const std::vector<TranscriptDocument::Turn>& turns) {
    auto parsed = parse(id);
    if (!parsed) return Missing{};
    bool inRange = parsed->index < turns.size();
    if (inRange && hash(turns[parsed->index].text) == parsed->fingerprint) return Exact{parsed->index};

    std::optional<size_t> nearest;
    auto distance = [&](size_t j) { return j > parsed->index ? j - parsed->index : parsed->index - j; };
    for (size_t j = 0; j < turns.size(); ++j) {
        if (j == parsed->index || hash(turns[j].text) != parsed->fingerprint) continue;
        // Ascending order, so a tie keeps the earlier candidate.
        if (!nearest || distance(j) < distance(*nearest)) nearest = j;
    }
    if (nearest) return Moved{*nearest};
    if (inRange) return Stale{parsed->index};
    return Missing{};
}

} // namespace zelmor::TranscriptTurnID
