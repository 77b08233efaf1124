// Tokenizing: word tables, folding, stemming, the one-on-one shadow and word segmentation.
// ASCII text, the common case, is segmented and folded without ICU; the rules below give the
// same words as ICU's word breaks would (tests hold the two paths to each other).
#include "ZelmorMarkdownKit/search/QueryTokenizer.h"

#include "ZelmorMarkdownKit/search/RankedTranscriptSearch.h"
#include "ZelmorMarkdownKit/text/ASCII.h"
#include "ZelmorMarkdownKit/text/ByteBlocks.h"
#include "ZelmorMarkdownKit/text/ICUText.h"
#include "ZelmorMarkdownKit/text/TextFolding.h"
#include "ZelmorMarkdownKit/text/UTF8.h"
#include "ZelmorMarkdownKit/text/Utf16Text.h"
#include "ZelmorMarkdownKit/text/Whitespace.h"

#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/regex.h>
#include <unicode/uchar.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

namespace zelmor::QueryTokenizer {

namespace {

/// Called with a stretch of text that `words` reads as one word, before normalising (a one-on-one
/// spelling already replaced), and where it stands in the caller's text.
using SegmentVisitor = std::function<void(std::string_view segment, TextRange range)>;

constexpr std::string_view stopWordList[] = {
    "a",        "an",         "the",       "and",       "or",      "but",    "of",      "to",
    "in",       "on",         "at",        "for",       "with",    "about",  "from",    "as",
    "into",     "over",       "up",        "out",       "off",     "than",   "then",    "so",
    "if",       "no",         "not",       "nor",       "yes",     "across", "between", "among",
    "within",   "throughout", "regarding", "including", "without", "is",     "are",     "was",
    "were",     "be",         "been",      "being",     "am",      "do",     "did",     "does",
    "done",     "doing",      "have",      "has",       "had",     "having", "can",     "could",
    "would",    "should",     "will",      "shall",     "may",     "might",  "must",    "need",
    "needs",    "needed",     "i",         "me",        "my",      "mine",   "we",      "us",
    "our",      "ours",       "you",       "your",      "yours",   "he",     "him",     "his",
    "she",      "her",        "hers",      "they",      "them",    "their",  "theirs",  "it",
    "its",      "that",       "those",     "these",     "there",   "here",   "what",    "which",
    "who",      "whom",       "whose",     "how",       "when",    "where",  "why",     "all",
    "any",      "some",       "each",      "every",     "much",    "many",   "more",    "most",
    "just",     "also",       "only",      "very",      "too",     "own",    "other",   "such",
    "anything", "everything", "something", "nothing",   "recap",   "make",   "made",    "get",
    "got",      "go",         "going",     "went",      "say",     "said",   "tell",    "told",
    "give",     "given",      "want",      "still",     "open",    "land",   "landed",  "let",
    "ok",       "okay",       "hi",        "hey",       "oh",      "um",     "uh",      "ah",
    "yeah",     "yep",        "nope",      "well",      "dont",    "cant",   "wont",    "isnt",
    "arent",    "wasnt",      "werent",    "havent",    "hasnt",   "hadnt",  "didnt",   "doesnt",
    "couldnt",  "wouldnt",    "shouldnt",  "im",        "ive",     "id",     "ill",     "youre",
    "youve",    "youll",      "youd",      "hes",       "shes",    "theyre", "theyve",  "theyll",
    "weve",     "wed",        "well",      "lets",      "thats",   "theres", "whats",   "whos",
    "hows",     "wheres",     "whens",
};

constexpr std::string_view temporalWordList[] = {
    "today",    "tomorrow", "yesterday", "tonight",   "week", "weeks", "month",   "months",
    "year",     "years",    "day",       "days",      "next", "last",  "past",    "coming",
    "upcoming", "ago",      "since",     "until",     "till", "by",    "end",     "this",
    "recent",   "recently", "now",       "currently", "soon", "later", "earlier",
};

constexpr std::string_view numberWordList[] = {
    "one",       "two",      "three",    "four",   "five",     "six",      "seven",   "eight",
    "nine",      "ten",      "eleven",   "twelve", "thirteen", "fourteen", "fifteen", "sixteen",
    "seventeen", "eighteen", "nineteen", "twenty", "couple",   "few",      "several",
};

constexpr std::pair<std::string_view, std::string_view> lemmaOverrideList[] = {
    {"decision", "decid"},       {"decisions", "decid"},     {"commitment", "commit"},
    {"commitments", "commit"},   {"discussion", "discuss"},  {"discussions", "discuss"},
    {"agreement", "agre"},       {"agreements", "agre"},     {"blocker", "block"},
    {"blockers", "block"},       {"priorities", "priority"}, {"prioritize", "priority"},
    {"prioritized", "priority"}, {"prioritise", "priority"},
};

size_t characters(std::string_view text) {
    return UTF8::isASCII(text) ? text.size() : ICUText::characterCount(text);
}

/// Whether at least `least` characters stand before the suffix.
bool keepsAtLeast(std::string_view word, std::string_view suffix, size_t least) {
    return characters(word.substr(0, word.size() - suffix.size())) >= least;
}

// ---- One-on-one spellings ----

const icu::RegexPattern& oneOnOnePattern() {
    static const std::unique_ptr<icu::RegexPattern> pattern = [] {
        UErrorCode status = U_ZERO_ERROR;
        UParseError parseError{};
        std::unique_ptr<icu::RegexPattern> compiled(icu::RegexPattern::compile(
            icu::UnicodeString::fromUTF8(R"(\b(?:1:1|1-1|1 on 1|one[ -]on[ -]one|one[ -]to[ -]one)(s?)\b)"),
            UREGEX_CASE_INSENSITIVE, parseError, status));
        if (U_FAILURE(status) || !compiled) {
            std::fprintf(stderr, "zelmor: the one-on-one pattern does not compile\n");
            std::abort();
        }
        return compiled;
    }();
    return *pattern;
}

bool startsWithIgnoringASCIICase(std::string_view text, size_t at, std::string_view prefix) {
    if (text.size() - at < prefix.size()) return false;
    for (size_t i = 0; i < prefix.size(); ++i) {
        if (ASCII::lower(text[at + i]) != prefix[i]) return false;
    }
    return true;
}

/// Whether a one-on-one spelling may begin at `at`, where "1" or "one" in any case stands: after
/// a byte that is no ASCII word character, the pattern's "\b".
bool mayBeginOneOnOne(std::string_view text, size_t at) {
    auto isWordByte = [](char c) { return ASCII::isLetter(c) || ASCII::isDigit(c) || c == '_'; };
    if (at > 0 && isWordByte(text[at - 1])) return false;
    if (text[at] == '1')
        return startsWithIgnoringASCIICase(text, at, "1:1") || startsWithIgnoringASCIICase(text, at, "1-1") ||
               startsWithIgnoringASCIICase(text, at, "1 on 1");
    // "one", a space or "-", "on" or "to", a space or "-", "one".
    if (!startsWithIgnoringASCIICase(text, at, "one") || text.size() - at < 10) return false;
    auto isJoin = [&](size_t i) { return text[i] == ' ' || text[i] == '-'; };
    return isJoin(at + 3) &&
           (startsWithIgnoringASCIICase(text, at + 4, "on") ||
            startsWithIgnoringASCIICase(text, at + 4, "to")) &&
           isJoin(at + 6) && startsWithIgnoringASCIICase(text, at + 7, "one");
}

/// Whether the text holds a piece that every match of the one-on-one pattern must hold. No character
/// outside ASCII matches "o", "n", "e", "t" or a digit under case-insensitive matching, so a
/// byte-wise test misses nothing, and it keeps the regex off most texts with "one" in them.
/// Sixteen places at a time, only a "1" or an "one" is looked at more closely.
bool mayHoldOneOnOne(std::string_view text) {
    using namespace ByteBlocks;
    const auto* data = reinterpret_cast<const unsigned char*>(text.data());
    if (!text.empty() && (text[0] == '1' || ASCII::lower(text[0]) == 'o') && mayBeginOneOnOne(text, 0))
        return true;
    size_t at = 1;
    for (; at + 18 <= text.size(); at += 16) {
        const Bytes a = load(data + at), b = load(data + at + 1), c = load(data + at + 2);
        // Only after a byte that is no word character; the check of the place tells exactly.
        auto found = ((a == '1') | (((a | 0x20) == 'o') & ((b | 0x20) == 'n') & ((c | 0x20) == 'e'))) &
                     ~letterOrDigit(load(data + at - 1));
        // Stopped by a place that may begin one.
        if (!forEachMarked(found, [&](size_t i) { return !mayBeginOneOnOne(text, at + i); })) return true;
    }
    for (; at < text.size(); ++at)
        if ((text[at] == '1' || ASCII::lower(text[at]) == 'o') && mayBeginOneOnOne(text, at)) return true;
    return false;
}

/// A shadow in UTF-16 units, the same length as the input, and where its replacements stand.
struct Shadow {
    struct Replacement {
        int32_t start, end, written;
    };
    icu::UnicodeString units;
    std::vector<Replacement> replacements;

    /// A word that ends inside a replacement covers the whole of the spelling it replaced, so
    /// that "one on one" in the input is one word, not just its first three letters.
    int32_t wordEnd(int32_t start, int32_t end) const {
        for (const auto& replacement : replacements) {
            if (start < replacement.start + replacement.written && end > replacement.start &&
                end <= replacement.start + replacement.written)
                return replacement.end;
        }
        return end;
    }
};

std::optional<Shadow> shadowOf(std::string_view text, const icu::UnicodeString& units) {
    if (!mayHoldOneOnOne(text)) return std::nullopt;
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::RegexMatcher> matcher(oneOnOnePattern().matcher(units, status));
    if (U_FAILURE(status)) return std::nullopt;
    Shadow shadow{units, {}};
    while (matcher->find(status) && U_SUCCESS(status)) {
        bool hasS = matcher->end(1, status) > matcher->start(1, status);
        shadow.replacements.push_back({matcher->start(status), matcher->end(status), hasS ? 4 : 3});
    }
    if (shadow.replacements.empty() || U_FAILURE(status)) return std::nullopt;
    // Back to front, so that earlier positions stay valid.
    for (auto match = shadow.replacements.rbegin(); match != shadow.replacements.rend(); ++match) {
        icu::UnicodeString replacement(match->written == 4 ? u"1o1s" : u"1o1");
        while (replacement.length() < match->end - match->start) replacement.append(u' ');
        shadow.units.replace(match->start, match->end - match->start, replacement);
    }
    return shadow;
}

// ---- Word segmentation ----

std::unique_ptr<icu::BreakIterator> wordBreaks() {
    // Loading the rules is slow; cloning the loaded prototype is cheap.
    static const std::unique_ptr<icu::BreakIterator> prototype = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::BreakIterator> made(
            icu::BreakIterator::createWordInstance(icu::Locale::getRoot(), status));
        if (U_FAILURE(status) || !made) {
            std::fprintf(stderr, "zelmor: ICU word break rules are unavailable\n");
            std::abort();
        }
        return made;
    }();
    return std::unique_ptr<icu::BreakIterator>(prototype->clone());
}

/// Adds the word when its normalised form has two or more characters.
void appendWord(std::vector<Word>& words, std::string_view segment, TextRange range) {
    std::string raw = normalize(segment);
    if (raw.size() < 2 || characters(raw) < 2) return;
    std::string stemmed = stem(raw);
    words.push_back(Word{std::move(raw), std::move(stemmed), range});
}

enum class ASCIIClass { letter, digit, underscore, midLetterOrNumber, midNumber, other };

using ASCIIClasses = std::array<ASCIIClass, 256>;

/// The classes of ASCII bytes for word segmentation. Recent ICU root rules count "@" as a letter
/// (so that e-mail addresses stay one word); whether this ICU does is asked of its rules once.
const ASCIIClasses& asciiClasses() {
    static const ASCIIClasses table = [] {
        ASCIIClasses made{};
        made.fill(ASCIIClass::other);
        for (int c = 0; c < 128; ++c) {
            auto byte = static_cast<size_t>(c);
            if (ASCII::isLetter(static_cast<char>(c)))
                made[byte] = ASCIIClass::letter;
            else if (ASCII::isDigit(static_cast<char>(c)))
                made[byte] = ASCIIClass::digit;
        }
        made['_'] = ASCIIClass::underscore;
        made['.'] = made['\''] = ASCIIClass::midLetterOrNumber;
        made[','] = made[';'] = ASCIIClass::midNumber;
        auto breaks = wordBreaks();
        breaks->setText(icu::UnicodeString(u"x@y"));
        if (breaks->next() == 3) made['@'] = ASCIIClass::letter;
        return made;
    }();
    return table;
}

/// Where the segment that starts at `start` (a letter, digit or "_") ends. `oneOnOneStart` (when
/// given) is set if a one-on-one spelling may begin inside it, after a joining mark or "@".
size_t asciiSegmentEnd(std::string_view text, size_t start, bool* oneOnOneStart) {
    const ASCIIClasses& classes = asciiClasses();
    auto classify = [&](char c) { return classes[static_cast<unsigned char>(c)]; };
    auto mayStartOneOnOne = [&](size_t at) {
        return text[at] == '1' || startsWithIgnoringASCIICase(text, at, "one");
    };
    ASCIIClass kind = classify(text[start]);
    size_t i = start + 1;
    while (i < text.size()) {
        ASCIIClass next = classify(text[i]);
        if (next == ASCIIClass::letter || next == ASCIIClass::digit || next == ASCIIClass::underscore) {
            // "@" joins as a letter but is no word character to the one-on-one pattern.
            if (oneOnOneStart && text[i - 1] == '@') *oneOnOneStart = *oneOnOneStart || mayStartOneOnOne(i);
            kind = next;
            ++i;
            continue;
        }
        if (i + 1 >= text.size() || (kind != ASCIIClass::letter && kind != ASCIIClass::digit)) break;
        ASCIIClass after = classify(text[i + 1]);
        bool joins =
            (next == ASCIIClass::midLetterOrNumber && after == kind) ||
            (next == ASCIIClass::midNumber && kind == ASCIIClass::digit && after == ASCIIClass::digit);
        if (!joins) break;
        if (oneOnOneStart) *oneOnOneStart = *oneOnOneStart || mayStartOneOnOne(i + 1);
        kind = after;
        i += 2;
    }
    return i;
}

bool startsASCIISegment(char c) {
    ASCIIClass kind = asciiClasses()[static_cast<unsigned char>(c)];
    return kind == ASCIIClass::letter || kind == ASCIIClass::digit || kind == ASCIIClass::underscore;
}

/// Unicode word segmentation restricted to ASCII, as ICU's root rules apply it: letters, digits
/// and "_" join; "." and "'" join letter to letter and digit to digit; "," and ";" join digit to
/// digit; ICU does not treat ":" as joining letters, and "@" is a letter when its rules say so.
/// Only segments that can hold a letter or digit are reported. `oneOnOneStart` is set when "1"
/// or "one" in any case follows a byte that is not a word character (a segment's start, or just
/// after a joining mark or "@"), the only places where a one-on-one spelling can begin.
template <typename Visit>
void forEachASCIISegment(std::string_view text, bool& oneOnOneStart, Visit&& visit) {
    size_t i = 0;
    while (i < text.size()) {
        if (!startsASCIISegment(text[i])) {
            ++i;
            continue;
        }
        oneOnOneStart = oneOnOneStart || text[i] == '1' || startsWithIgnoringASCIICase(text, i, "one");
        size_t start = i;
        i = asciiSegmentEnd(text, start, &oneOnOneStart);
        visit(start, i);
    }
}

/// The segments of an ASCII text, gathered in `segments` before any is visited: only when a
/// one-on-one spelling may begin is the text looked at again for one. Its shadow is ASCII of the
/// same length, so offsets carry over unchanged.
template <typename Visit>
void forEachASCIISegmentOf(std::string_view text, std::vector<TextRange>& segments, Visit&& visit) {
    segments.clear();
    bool oneOnOneStart = false;
    forEachASCIISegment(text, oneOnOneStart, [&](size_t start, size_t end) {
        segments.push_back({start, end});
    });
    std::optional<Shadow> shadow;
    if (oneOnOneStart && mayHoldOneOnOne(text))
        shadow = shadowOf(text, icu::UnicodeString::fromUTF8(
                                    icu::StringPiece(text.data(), static_cast<int32_t>(text.size()))));
    if (!shadow) {
        for (const TextRange& segment : segments)
            visit(text.substr(segment.start, segment.end - segment.start), segment);
        return;
    }
    std::string working;
    shadow->units.toUTF8String(working);
    bool ignored = false;
    forEachASCIISegment(working, ignored, [&](size_t start, size_t end) {
        size_t inputEnd =
            static_cast<size_t>(shadow->wordEnd(static_cast<int32_t>(start), static_cast<int32_t>(end)));
        visit(std::string_view(working).substr(start, end - start), TextRange{start, inputEnd});
    });
}

/// This thread's word break iterator: a clone costs more than the short texts it mostly reads.
/// Never used by two segmentations at once (a visitor does not segment).
icu::BreakIterator& threadWordBreaks() {
    static thread_local std::unique_ptr<icu::BreakIterator> mine = wordBreaks();
    return *mine;
}

void forEachSegmentUsingICU(std::string_view text, const SegmentVisitor& visit) {
    Utf16Text input(text);
    std::optional<Shadow> shadow = shadowOf(text, input.units);
    const icu::UnicodeString& working = shadow ? shadow->units : input.units;
    icu::BreakIterator* breaks = &threadWordBreaks();
    breaks->setText(working);
    std::string segment;
    int32_t start = breaks->first();
    for (int32_t end = breaks->next(); end != icu::BreakIterator::DONE; start = end, end = breaks->next()) {
        segment.clear();
        working.tempSubStringBetween(start, end).toUTF8String(segment);
        int32_t inputEnd = shadow ? shadow->wordEnd(start, end) : end;
        visit(segment, TextRange{input.byteOffsets[static_cast<size_t>(start)],
                                 input.byteOffsets[static_cast<size_t>(inputEnd)]});
    }
}

/// The length of the mark at `at` that `forEachPiece` cuts about ("–", "—", "…", "“", "”"),
/// when ASCII or the end follows it; else 0.
size_t wordlessMarkAt(std::string_view text, size_t at) {
    if (at + 3 > text.size() || text[at] != '\xE2' || text[at + 1] != '\x80') return 0;
    const char last = text[at + 2];
    const bool wordless =
        last == '\x93' || last == '\x94' || last == '\xA6' || last == '\x9C' || last == '\x9D';
    return wordless && (at + 3 == text.size() || static_cast<unsigned char>(text[at + 3]) < 0x80) ? 3 : 0;
}

/// Text outside ASCII, read in pieces: ASCII pieces are segmented without ICU.
void forEachSegmentOfMixed(std::string_view text, const SegmentVisitor& visit) {
    if (mayHoldOneOnOne(text)) return forEachSegmentUsingICU(text, visit);
    forEachPiece(text, [&](TextRange range, bool ascii) {
        std::string_view piece = text.substr(range.start, range.end - range.start);
        auto shifted = [&](std::string_view segment, TextRange at) {
            visit(segment, TextRange{at.start + range.start, at.end + range.start});
        };
        if (!ascii) return forEachSegmentUsingICU(piece, shifted);
        bool ignored = false;
        forEachASCIISegment(piece, ignored, [&](size_t begin, size_t end) {
            shifted(piece.substr(begin, end - begin), TextRange{begin, end});
        });
    });
}

/// Every segment of the text in order, those too short to be words included.
void forEachSegment(std::string_view text, const SegmentVisitor& visit) {
    std::vector<TextRange> segments;
    if (UTF8::isASCII(text))
        forEachASCIISegmentOf(text, segments, visit);
    else
        forEachSegmentOfMixed(text, visit);
}

std::vector<Word> collectWords(std::string_view text,
                               void (*segments)(std::string_view, const SegmentVisitor&)) {
    std::vector<Word> found;
    segments(text, [&](std::string_view segment, TextRange range) { appendWord(found, segment, range); });
    return found;
}

std::string normalizeASCII(std::string_view word) {
    std::string_view kept =
        word.ends_with("'s") || word.ends_with("'S") ? word.substr(0, word.size() - 2) : word;
    std::string out;
    out.reserve(kept.size());
    for (char c : kept) {
        if (ASCII::isLetter(c) || ASCII::isDigit(c)) out += ASCII::lower(c);
    }
    return out;
}

} // namespace

const std::unordered_set<std::string_view>& stopWords() {
    static const std::unordered_set<std::string_view> set(std::begin(stopWordList), std::end(stopWordList));
    return set;
}

const std::unordered_set<std::string_view>& temporalWords() {
    static const std::unordered_set<std::string_view> set(std::begin(temporalWordList),
                                                          std::end(temporalWordList));
    return set;
}

const std::unordered_set<std::string_view>& numberWords() {
    static const std::unordered_set<std::string_view> set(std::begin(numberWordList),
                                                          std::end(numberWordList));
    return set;
}

const std::unordered_map<std::string_view, std::string_view>& lemmaOverrides() {
    static const std::unordered_map<std::string_view, std::string_view> map(std::begin(lemmaOverrideList),
                                                                            std::end(lemmaOverrideList));
    return map;
}

std::string normalize(std::string_view word) {
    if (UTF8::isASCII(word)) return normalizeASCII(word);
    std::string folded = TextFolding::folded(word);
    std::string_view kept = folded;
    if (kept.ends_with("'s"))
        kept.remove_suffix(2);
    else if (kept.ends_with("\u2019s"))
        kept.remove_suffix(4);
    std::string out;
    out.reserve(kept.size());
    size_t at = 0;
    while (at < kept.size()) {
        char32_t c = UTF8::decode(kept, at);
        if (U_GET_GC_MASK(static_cast<UChar32>(c)) & (U_GC_L_MASK | U_GC_N_MASK)) UTF8::append(out, c);
    }
    return out;
}

std::string undouble(std::string_view word) {
    if (word.empty()) return std::string(word);
    size_t at = 0, last = 0, previous = std::string_view::npos;
    char32_t lastChar = 0, previousChar = 0;
    while (at < word.size()) {
        previous = last;
        previousChar = lastChar;
        last = at;
        lastChar = UTF8::decode(word, at);
    }
    if (last == 0 || previous == std::string_view::npos || lastChar != previousChar) return std::string(word);
    if (!u_isalpha(static_cast<UChar32>(lastChar))) return std::string(word);
    if (std::u32string_view(U"aeiouslz").find(lastChar) != std::u32string_view::npos)
        return std::string(word);
    return std::string(word.substr(0, last));
}

std::string stem(std::string_view word) {
    if (auto found = lemmaOverrides().find(word); found != lemmaOverrides().end())
        return std::string(found->second);
    std::string w(word);
    if (w.ends_with("ies") && keepsAtLeast(w, "ies", minPluralStem)) {
        w.replace(w.size() - 3, 3, "y");
    } else if (std::string_view base = std::string_view(w).substr(0, w.size() >= 2 ? w.size() - 2 : 0);
               w.ends_with("es") && keepsAtLeast(w, "es", minPluralStem) &&
               (base.ends_with("x") || base.ends_with("z") || base.ends_with("ch") || base.ends_with("sh"))) {
        w.resize(w.size() - 2);
    } else if (w.ends_with("s") && !w.ends_with("ss") && !w.ends_with("us") && !w.ends_with("sis") &&
               keepsAtLeast(w, "s", minPluralStem)) {
        w.pop_back();
    }
    if (w.ends_with("ing") && keepsAtLeast(w, "ing", minStem)) {
        w = undouble(std::string_view(w).substr(0, w.size() - 3));
    } else if (w.ends_with("ed") && keepsAtLeast(w, "ed", minStem)) {
        w = undouble(std::string_view(w).substr(0, w.size() - 2));
    }
    if (w.ends_with("e") && keepsAtLeast(w, "e", minStem)) w.pop_back();
    return w;
}

std::optional<std::string> oneOnOneShadow(std::string_view text) {
    Utf16Text input(text);
    std::optional<Shadow> shadow = shadowOf(text, input.units);
    if (!shadow) return std::nullopt;
    std::string out;
    shadow->units.toUTF8String(out);
    return out;
}

std::vector<Word> words(std::string_view text) {
    return collectWords(text, forEachSegment);
}

bool mayHoldOneOnOneSpelling(std::string_view text) {
    return mayHoldOneOnOne(text);
}

void forEachPiece(std::string_view text, const std::function<void(TextRange piece, bool ascii)>& visit) {
    // ICU breaks words before every space that follows something else, so the text can be cut
    // there; a piece that holds a byte outside ASCII runs from the cut before it to the cut after.
    auto cutBefore = [&](size_t at) { return at > 0 && text[at] == ' ' && text[at - 1] != ' '; };
    size_t from = 0;
    while (from < text.size()) {
        const size_t outside = UTF8::firstNonASCII(text, from);
        // Dashes, the ellipsis and double curly quotes are no word and ICU breaks on both sides
        // of them (after, unless a mark joins them): the text is cut about them too, and they
        // belong to no piece. Transcripts are full of them.
        if (size_t length = wordlessMarkAt(text, outside)) {
            if (outside > from) visit(TextRange{from, outside}, true);
            from = outside + length;
            continue;
        }
        size_t start = outside;
        while (start > from && start < text.size() && !cutBefore(start)) --start;
        if (start > from) visit(TextRange{from, start}, true);
        if (outside == text.size()) break;
        size_t end = outside + 1;
        while (end < text.size() && !cutBefore(end)) ++end;
        visit(TextRange{start, end}, false);
        from = end;
    }
}

std::optional<TextRange> nextASCIISegment(std::string_view text, size_t from) {
    while (from < text.size() && !startsASCIISegment(text[from])) ++from;
    if (from == text.size()) return std::nullopt;
    return TextRange{from, asciiSegmentEnd(text, from, nullptr)};
}

std::optional<TextRange> asciiSegmentLeadBy(std::string_view text, size_t at) {
    const ASCIIClasses& classes = asciiClasses();
    auto classify = [&](size_t i) { return classes[static_cast<unsigned char>(text[i])]; };
    // Only "_" and "@" (when a letter) can stand before a segment's first letter or digit.
    size_t start = at;
    while (start > 0 &&
           (text[start - 1] == '_' || (text[start - 1] == '@' && classify(start - 1) == ASCIIClass::letter)))
        --start;
    if (start > 0) {
        ASCIIClass before = classify(start - 1);
        if (before == ASCIIClass::letter || before == ASCIIClass::digit || before == ASCIIClass::underscore)
            return std::nullopt;
        // A joining mark between two letters or two digits (or "," and ";" between digits)
        // continues the segment before.
        if (start > 1 && (before == ASCIIClass::midLetterOrNumber || before == ASCIIClass::midNumber)) {
            ASCIIClass left = classify(start - 2), right = classify(start);
            bool joins = (left == ASCIIClass::letter || left == ASCIIClass::digit) && left == right &&
                         (before == ASCIIClass::midLetterOrNumber || left == ASCIIClass::digit);
            if (joins) return std::nullopt;
        }
    }
    return TextRange{start, asciiSegmentEnd(text, start, nullptr)};
}

std::vector<Word> detail::wordsUsingICU(std::string_view text) {
    return collectWords(text, forEachSegmentUsingICU);
}

WordCache::WordCache(Tagger tag) : tag_(std::move(tag)), slots_(1024) {}

const std::vector<int>& WordCache::tags(std::string_view text) {
    tags_.clear();
    auto add = [&](std::string_view segment, TextRange) {
        if (int32_t tag = tagOf(segment); tag != notAWord) tags_.push_back(tag);
    };
    if (UTF8::isASCII(text))
        forEachASCIISegmentOf(text, segments_, add);
    else
        forEachSegmentOfMixed(text, add);
    return tags_;
}

namespace {
/// FNV-1a over the padded key, eight bytes at a time: short words hash in three steps.
size_t slotHash(const char (&key)[24]) {
    uint64_t hash = 14695981039346656037ull;
    for (size_t at = 0; at < 24; at += 8) {
        uint64_t part;
        std::memcpy(&part, key + at, 8);
        hash = (hash ^ part) * 1099511628211ull;
    }
    return static_cast<size_t>(hash ^ (hash >> 29));
}
} // namespace

int WordCache::tag(std::string_view segment) {
    int32_t found = tagOf(segment);
    return found == notAWord ? noWord : found;
}

int32_t WordCache::tagOf(std::string_view segment) {
    if (segment.empty()) return notAWord; // and an empty slot's zero key never matches
    if (segment.size() > inlineLength) {
        auto found = long_.find(std::string(segment));
        return found != long_.end() ? found->second : long_.emplace(segment, tagOfNew(segment)).first->second;
    }
    char key[inlineLength] = {};
    std::memcpy(key, segment.data(), segment.size());
    const size_t mask = slots_.size() - 1;
    for (size_t i = slotHash(key) & mask;; i = (i + 1) & mask) {
        Slot& slot = slots_[i];
        if (slot.length == segment.size() && std::memcmp(slot.key, key, inlineLength) == 0) return slot.tag;
        if (slot.length == 0) {
            std::memcpy(slot.key, key, inlineLength);
            slot.tag = tagOfNew(segment);
            slot.length = static_cast<uint32_t>(segment.size());
            int32_t tag = slot.tag;
            if (++used_ * 2 > slots_.size()) grow();
            return tag;
        }
    }
}

int32_t WordCache::tagOfNew(std::string_view segment) {
    std::vector<Word> made;
    appendWord(made, segment, {});
    return made.empty() ? notAWord : tag_(made.front());
}

void WordCache::grow() {
    std::vector<Slot> old(slots_.size() * 2);
    old.swap(slots_);
    const size_t mask = slots_.size() - 1;
    for (const Slot& slot : old) {
        if (slot.length == 0) continue;
        size_t i = slotHash(slot.key) & mask;
        while (slots_[i].length != 0) i = (i + 1) & mask;
        slots_[i] = slot;
    }
}

std::vector<std::string> tokens(std::string_view text) {
    std::vector<std::string> stems;
    for (Word& word : words(text)) stems.push_back(std::move(word.stem));
    return stems;
}

bool isContent(const Word& word) {
    for (const auto* table : {&stopWords(), &temporalWords(), &numberWords()}) {
        if (table->contains(word.raw) || table->contains(word.stem)) return false;
    }
    return true;
}

std::vector<std::string> keywords(std::string_view question) {
    std::vector<std::string> found;
    std::unordered_set<std::string> seen;
    auto emit = [&](std::string keyword) {
        if (seen.insert(keyword).second) found.push_back(std::move(keyword));
    };
    for (const std::string& term : RankedTranscriptSearch::terms(std::string(question))) {
        std::vector<Word> termWords = words(term);
        bool hasWhitespace = false;
        for (size_t at = 0; at < term.size() && !hasWhitespace;) {
            hasWhitespace = Whitespace::isWhitespaceOrNewline(UTF8::decode(term, at));
        }
        if (hasWhitespace && termWords.size() >= 2) {
            std::string phrase;
            for (const Word& word : termWords) phrase += (phrase.empty() ? "" : " ") + word.stem;
            emit(std::move(phrase));
            continue;
        }
        for (const Word& word : termWords) {
            if (isContent(word) && !word.stem.empty()) emit(word.stem);
        }
    }
    return found;
}

size_t count(const std::vector<std::string>& phrase, const std::vector<std::string>& tokens) {
    if (phrase.empty() || phrase.size() > tokens.size()) return 0;
    size_t found = 0;
    for (size_t i = 0; i + phrase.size() <= tokens.size(); ++i) {
        if (std::equal(phrase.begin(), phrase.end(), tokens.begin() + static_cast<std::ptrdiff_t>(i)))
            ++found;
    }
    return found;
}

std::optional<TextRange> firstRange(const std::vector<std::string>& phrase, std::string_view text) {
    if (phrase.empty()) return std::nullopt;
    std::vector<Word> found = words(text);
    for (size_t i = 0; i + phrase.size() <= found.size(); ++i) {
        bool same = true;
        for (size_t k = 0; k < phrase.size() && same; ++k) same = found[i + k].stem == phrase[k];
        if (same) return TextRange{found[i].range.start, found[i + phrase.size() - 1].range.end};
    }
    return std::nullopt;
}

} // namespace zelmor::QueryTokenizer
