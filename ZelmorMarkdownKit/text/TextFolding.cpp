// Folding one code point at a time keeps a plain byte-offset map back to the original; the
// common code points are folded once into a table so ICU stays off the hot path.
#include "ZelmorMarkdownKit/text/TextFolding.h"

#include "ZelmorMarkdownKit/text/ASCII.h"
#include "ZelmorMarkdownKit/text/UTF8.h"
#include "ZelmorMarkdownKit/text/Whitespace.h"

#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <cstdint>

namespace zelmor::TextFolding {

namespace {

std::string foldWithICU(char32_t c) {
    icu::UnicodeString units(static_cast<UChar32>(c));
    units.foldCase(U_FOLD_CASE_DEFAULT);
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* nfd = icu::Normalizer2::getNFDInstance(status);
    const icu::Normalizer2* nfc = icu::Normalizer2::getNFCInstance(status);
    if (U_FAILURE(status)) return {};
    icu::UnicodeString decomposed = nfd->normalize(units, status);
    icu::UnicodeString kept;
    for (int32_t i = 0; i < decomposed.length(); i = decomposed.moveIndex32(i, 1)) {
        UChar32 part = decomposed.char32At(i);
        if (u_charType(part) != U_NON_SPACING_MARK) kept.append(part);
    }
    icu::UnicodeString recomposed = nfc->normalize(kept, status);
    std::string out;
    if (U_SUCCESS(status)) recomposed.toUTF8String(out);
    return out;
}

/// Folded forms of U+0000 to U+2FFF (Latin, Greek, Cyrillic, general punctuation and more),
/// packed into one string.
struct FoldTable {
    static constexpr char32_t size = 0x3000;
    std::string pool;
    std::vector<uint32_t> starts;
    std::vector<uint32_t> asciiBits; // foldedASCIIBits of each

    FoldTable() {
        starts.reserve(size + 1);
        asciiBits.reserve(size);
        for (char32_t c = 0; c < size; ++c) {
            starts.push_back(static_cast<uint32_t>(pool.size()));
            std::string folded = c < 0xD800 || c > 0xDFFF ? foldWithICU(c) : std::string();
            asciiBits.push_back(folded.empty() ? ~uint32_t{0} : TextFolding::asciiBits(folded));
            pool += folded;
        }
        starts.push_back(static_cast<uint32_t>(pool.size()));
    }

    std::string_view operator[](char32_t c) const {
        return std::string_view(pool).substr(starts[c], starts[c + 1] - starts[c]);
    }
};

const FoldTable& foldTable() {
    static const FoldTable table;
    return table;
}

template <typename OnFolded> void foldEach(std::string_view text, std::string& out, OnFolded&& folded) {
    size_t at = 0;
    while (at < text.size()) {
        unsigned char byte = static_cast<unsigned char>(text[at]);
        size_t start = at;
        size_t before = out.size();
        if (byte < 0x80) {
            out += ASCII::lower(static_cast<char>(byte));
            ++at;
        } else {
            char32_t c = UTF8::decode(text, at);
            if (c < FoldTable::size)
                out += foldTable()[c];
            else
                out += foldWithICU(c);
        }
        folded(start, out.size() - before);
    }
}

} // namespace

void appendFolded(std::string_view text, std::string& out) {
    size_t at = 0;
    while (at < text.size()) {
        // Runs of ASCII, the bulk of most transcripts, are lowered in place in one go.
        size_t run = at;
        while (run < text.size() && static_cast<unsigned char>(text[run]) < 0x80) ++run;
        size_t written = out.size();
        out.resize(written + (run - at));
        for (char* cursor = out.data() + written; at < run; ++at, ++cursor) {
            char c = text[at];
            *cursor = ASCII::lower(c);
        }
        if (at == text.size()) break;
        size_t next = at;
        while (next < text.size() && static_cast<unsigned char>(text[next]) >= 0x80) ++next;
        foldEach(text.substr(at, next - at), out, [](size_t, size_t) {});
        at = next;
    }
}

std::string folded(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    appendFolded(text, out);
    return out;
}

Mapped foldedWithSources(std::string_view text) {
    Mapped mapped;
    mapped.originalSize = text.size();
    mapped.text.reserve(text.size());
    mapped.sources.reserve(text.size());
    foldEach(text, mapped.text, [&](size_t source, size_t written) {
        mapped.sources.insert(mapped.sources.end(), written, source);
    });
    return mapped;
}

TextRange Mapped::originalRange(size_t start, size_t end) const {
    if (start >= sources.size()) return {originalSize, originalSize};
    TextRange range{sources[start], originalSize};
    if (end <= start) return {range.start, range.start};
    size_t last = sources[end - 1];
    for (size_t k = end; k < sources.size(); ++k) {
        if (sources[k] != last) {
            range.end = sources[k];
            break;
        }
    }
    return range;
}

std::optional<TextRange> find(std::string_view text, std::string_view term) {
    std::string foldedTerm = folded(term);
    if (foldedTerm.empty()) return std::nullopt;
    Mapped mapped = foldedWithSources(text);
    size_t at = mapped.text.find(foldedTerm);
    if (at == std::string::npos) return std::nullopt;
    return mapped.originalRange(at, at + foldedTerm.size());
}

bool contains(std::string_view text, std::string_view term) {
    std::string foldedTerm = folded(term);
    return !foldedTerm.empty() && folded(text).find(foldedTerm) != std::string::npos;
}

uint32_t asciiBits(std::string_view bytes) {
    uint32_t bits = 0;
    for (char byte : bytes)
        if (static_cast<unsigned char>(byte) < 0x80) bits |= uint32_t{1} << (byte % 32);
    return bits;
}

std::span<const uint32_t> foldedASCIIBits() {
    return foldTable().asciiBits;
}

std::optional<std::string_view> foldedFromTable(char32_t c) {
    if (c >= FoldTable::size) return std::nullopt;
    return foldTable()[c];
}

} // namespace zelmor::TextFolding
