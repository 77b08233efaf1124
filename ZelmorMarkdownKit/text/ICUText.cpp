// ICU works in UTF-16; every call here keeps a table from UTF-16 units back to the caller's
// UTF-8 bytes so that matches come back as views into the original string.
#include "ZelmorMarkdownKit/text/ICUText.h"

#include "ZelmorMarkdownKit/text/ASCII.h"
#include "ZelmorMarkdownKit/text/UTF8.h"
#include "ZelmorMarkdownKit/text/Utf16Text.h"
#include "ZelmorMarkdownKit/text/Whitespace.h"

#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/regex.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace zelmor::ICUText {

namespace {

bool isPlainASCII(std::string_view text) {
    for (char c : text) {
        if (static_cast<unsigned char>(c) >= 0x80 || c == '\r') return false;
    }
    return true;
}

std::unique_ptr<icu::BreakIterator> characterBreaks() {
    // Creating an iterator loads rules; cloning the prototype is much cheaper.
    static const std::unique_ptr<icu::BreakIterator> prototype = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::BreakIterator> made(
            icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
        if (U_FAILURE(status) || !made) {
            std::fprintf(stderr, "zelmor: ICU character break rules are unavailable\n");
            std::abort();
        }
        return made;
    }();
    return std::unique_ptr<icu::BreakIterator>(prototype->clone());
}

} // namespace

Pattern::Pattern(std::string_view pattern) {
    UErrorCode status = U_ZERO_ERROR;
    UParseError parseError{};
    compiled_.reset(icu::RegexPattern::compile(
        icu::UnicodeString::fromUTF8(icu::StringPiece(pattern.data(), static_cast<int32_t>(pattern.size()))),
        0, parseError, status));
    if (U_FAILURE(status) || !compiled_) {
        std::fprintf(stderr, "zelmor: bad built-in pattern %.*s\n", static_cast<int>(pattern.size()),
                     pattern.data());
        std::abort();
    }
}

Pattern::~Pattern() = default;

std::optional<Pattern::Match> Pattern::firstMatch(std::string_view text) const {
    Utf16Text input(text);
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::RegexMatcher> matcher(compiled_->matcher(input.units, status));
    if (U_FAILURE(status) || !matcher->find(status) || U_FAILURE(status)) return std::nullopt;
    Match match;
    for (int32_t group = 0; group <= matcher->groupCount(); ++group) {
        int32_t start = matcher->start(group, status);
        int32_t end = matcher->end(group, status);
        if (U_FAILURE(status) || start < 0) {
            match.groups.emplace_back(std::nullopt);
            status = U_ZERO_ERROR;
            continue;
        }
        size_t from = input.byteOffsets[static_cast<size_t>(start)];
        size_t to = input.byteOffsets[static_cast<size_t>(end)];
        match.groups.emplace_back(text.substr(from, to - from));
    }
    return match;
}

std::string Pattern::replacingAll(std::string_view text, std::string_view replacement) const {
    return replacing(text, replacement, true);
}

std::string Pattern::replacingFirst(std::string_view text, std::string_view replacement) const {
    return replacing(text, replacement, false);
}

std::string Pattern::replacing(std::string_view text, std::string_view replacement, bool all) const {
    Utf16Text input(text);
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::RegexMatcher> matcher(compiled_->matcher(input.units, status));
    if (U_FAILURE(status)) return std::string(text);
    std::string out;
    size_t copied = 0;
    while (matcher->find(status) && U_SUCCESS(status)) {
        size_t from = input.byteOffsets[static_cast<size_t>(matcher->start(status))];
        size_t to = input.byteOffsets[static_cast<size_t>(matcher->end(status))];
        out.append(text.substr(copied, from - copied));
        out.append(replacement);
        copied = to;
        if (!all) break;
    }
    out.append(text.substr(copied));
    return out;
}

std::string lowercased(std::string_view text) {
    if (UTF8::isASCII(text)) return ASCII::lowercased(std::string(text));
    std::string out;
    icu::UnicodeString units = Utf16Text(text).units;
    units.toLower(icu::Locale::getRoot());
    units.toUTF8String(out);
    return out;
}

void forEachCharacter(std::string_view text, const std::function<void(std::string_view)>& visit) {
    if (isPlainASCII(text)) {
        for (size_t i = 0; i < text.size(); ++i) visit(text.substr(i, 1));
        return;
    }
    Utf16Text input(text);
    auto breaks = characterBreaks();
    breaks->setText(input.units);
    int32_t start = breaks->first();
    for (int32_t end = breaks->next(); end != icu::BreakIterator::DONE; start = end, end = breaks->next()) {
        size_t from = input.byteOffsets[static_cast<size_t>(start)];
        size_t to = input.byteOffsets[static_cast<size_t>(end)];
        visit(text.substr(from, to - from));
    }
}

size_t characterCount(std::string_view text) {
    if (isPlainASCII(text)) return text.size();
    size_t count = 0;
    forEachCharacter(text, [&](std::string_view) { ++count; });
    return count;
}

std::string_view prefixCharacters(std::string_view text, size_t count) {
    if (isPlainASCII(text)) return text.substr(0, count);
    // Only the start of a long text matters, so break a window and widen it only when the
    // window held too few complete characters.
    size_t windowSize = count * 8 + 64;
    while (true) {
        std::string_view window = text.substr(0, std::min(text.size(), windowSize));
        size_t seen = 0, end = 0;
        forEachCharacter(window, [&](std::string_view character) {
            if (seen < count) {
                ++seen;
                end = static_cast<size_t>(character.data() + character.size() - text.data());
            }
        });
        if (window.size() == text.size()) return seen < count ? text : text.substr(0, end);
        // The last character of a window may be cut short; one that ends inside it is whole.
        if (seen == count && end < window.size()) return text.substr(0, end);
        windowSize *= 4;
    }
}

size_t movedByCharacters(std::string_view text, size_t from, long count) {
    from = std::min(from, text.size());
    if (isPlainASCII(text)) {
        long moved = static_cast<long>(from) + count;
        return static_cast<size_t>(std::clamp(moved, 0L, static_cast<long>(text.size())));
    }
    Utf16Text input(text);
    auto unit = std::lower_bound(input.byteOffsets.begin(), input.byteOffsets.end(), from);
    auto breaks = characterBreaks();
    breaks->setText(input.units);
    int32_t at = static_cast<int32_t>(unit - input.byteOffsets.begin());
    bool onBoundary = breaks->isBoundary(at); // leaves the iterator on the next boundary when not
    at = breaks->current();
    if (count < 0 && !onBoundary) at = breaks->previous();
    for (long step = 0; step < (count < 0 ? -count : count) && at != icu::BreakIterator::DONE; ++step) {
        at = count < 0 ? breaks->previous() : breaks->next();
    }
    if (at == icu::BreakIterator::DONE) return count < 0 ? 0 : text.size();
    return input.byteOffsets[static_cast<size_t>(at)];
}

char32_t firstCodePoint(std::string_view text) {
    if (text.empty()) return 0;
    size_t at = 0;
    return UTF8::decode(text, at);
}

bool isNumeric(std::string_view text) {
    if (text.empty()) return false;
    bool numeric = true;
    forEachCharacter(text, [&](std::string_view character) {
        numeric = numeric &&
                  u_getNumericValue(static_cast<UChar32>(firstCodePoint(character))) != U_NO_NUMERIC_VALUE;
    });
    return numeric;
}

} // namespace zelmor::ICUText
