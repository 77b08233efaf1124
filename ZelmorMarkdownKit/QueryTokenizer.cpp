// Tokenizing: word tables, folding, stemming, the one-on-one shadow and word segmentation.
// ASCII text, the common case, is segmented and folded without ICU; the rules below give the
// same words as ICU's word breaks would (tests hold the two paths to each other).
#include "ZelmorMarkdownKit/QueryTokenizer.h"

#include "ZelmorMarkdownKit/ICUText.h"
#include "ZelmorMarkdownKit/RankedTranscriptSearch.h"
#include "ZelmorMarkdownKit/TextFolding.h"
#include "ZelmorMarkdownKit/Utf16Text.h"
#include "ZelmorMarkdownKit/Whitespace.h"

#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/regex.h>
#include <unicode/uchar.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace zelmor::QueryTokenizer {

namespace {

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

bool isASCII(std::string_view text) {
    for (char c : text) {
        if (static_cast<unsigned char>(c) >= 0x80) return false;
    }
    return true;
}

size_t characters(std::string_view text) {
    return isASCII(text) ? text.size() : ICUText::characterCount(text);
}

bool isASCIILetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool isASCIIDigit(char c) {
    return c >= '0' && c <= '9';
}
char lowerASCII(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + ('a' - 'A')) : c;
}

bool endsWith(std::string_view text, std::string_view suffix) {
    return text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix;
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
        if (lowerASCII(text[at + i]) != prefix[i]) return false;
    }
    return true;
}

/// Whether the text holds a piece that every match of the pattern must hold. No character
/// outside ASCII matches "o", "n", "e", "t" or a digit under case-insensitive matching, so a
/// byte-wise test misses nothing, and it keeps the regex off most texts with "one" in them.
bool mayHoldOneOnOne(std::string_view text) {
    for (size_t i = 0; i < text.size(); ++i) {
        char c = lowerASCII(text[i]);
        if (c == '1') {
            if (startsWithIgnoringASCIICase(text, i, "1:1") || startsWithIgnoringASCIICase(text, i, "1-1") ||
                startsWithIgnoringASCIICase(text, i, "1 on 1"))
                return true;
        } else if (c == 'o' && startsWithIgnoringASCIICase(text, i, "one")) {
            for (std::string_view rest : {"one on", "one-on", "one to", "one-to"}) {
                if (startsWithIgnoringASCIICase(text, i, rest)) return true;
            }
        }
    }
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

ASCIIClass classify(char c) {
    if (isASCIILetter(c)) return ASCIIClass::letter;
    if (isASCIIDigit(c)) return ASCIIClass::digit;
    switch (c) {
    case '_':
        return ASCIIClass::underscore;
    case '.':
    case '\'':
        return ASCIIClass::midLetterOrNumber;
    case ',':
    case ';':
        return ASCIIClass::midNumber;
    default:
        return ASCIIClass::other;
    }
}

/// Unicode word segmentation restricted to ASCII, as ICU's root rules apply it: letters, digits
/// and "_" join; "." and "'" join letter to letter and digit to digit; "," and ";" join digit to
/// digit; ICU does not treat ":" as joining letters. Only segments that can hold a letter or
/// digit are reported.
template <typename Visit> void forEachASCIISegment(std::string_view text, Visit&& visit) {
    size_t i = 0;
    while (i < text.size()) {
        ASCIIClass kind = classify(text[i]);
        if (kind != ASCIIClass::letter && kind != ASCIIClass::digit && kind != ASCIIClass::underscore) {
            ++i;
            continue;
        }
        size_t start = i++;
        while (i < text.size()) {
            ASCIIClass next = classify(text[i]);
            if (next == ASCIIClass::letter || next == ASCIIClass::digit || next == ASCIIClass::underscore) {
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
            kind = after;
            i += 2;
        }
        visit(start, i);
    }
}

std::vector<Word> asciiWords(std::string_view text) {
    std::vector<Word> words;
    std::optional<Shadow> shadow;
    std::string shadowText;
    std::string_view working = text;
    if (mayHoldOneOnOne(text)) {
        shadow = shadowOf(text, icu::UnicodeString::fromUTF8(
                                    icu::StringPiece(text.data(), static_cast<int32_t>(text.size()))));
        // An ASCII text's shadow is ASCII of the same length, so offsets carry over unchanged.
        if (shadow) working = shadow->units.toUTF8String(shadowText);
    }
    forEachASCIISegment(working, [&](size_t start, size_t end) {
        size_t inputEnd =
            shadow
                ? static_cast<size_t>(shadow->wordEnd(static_cast<int32_t>(start), static_cast<int32_t>(end)))
                : end;
        appendWord(words, working.substr(start, end - start), TextRange{start, inputEnd});
    });
    return words;
}

std::string normalizeASCII(std::string_view word) {
    std::string_view kept =
        endsWith(word, "'s") || endsWith(word, "'S") ? word.substr(0, word.size() - 2) : word;
    std::string out;
    out.reserve(kept.size());
    for (char c : kept) {
        if (isASCIILetter(c) || isASCIIDigit(c)) out += lowerASCII(c);
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
    if (isASCII(word)) return normalizeASCII(word);
    std::string folded = TextFolding::folded(word);
    std::string_view kept = folded;
    if (endsWith(kept, "'s"))
        kept.remove_suffix(2);
    else if (endsWith(kept, "\u2019s"))
        kept.remove_suffix(4);
    std::string out;
    out.reserve(kept.size());
    size_t at = 0;
    while (at < kept.size()) {
        char32_t c = Whitespace::decodeUtf8(kept, at);
        if (U_GET_GC_MASK(static_cast<UChar32>(c)) & (U_GC_L_MASK | U_GC_N_MASK))
            Whitespace::appendUtf8(out, c);
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
        lastChar = Whitespace::decodeUtf8(word, at);
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
    if (endsWith(w, "ies") && keepsAtLeast(w, "ies", minPluralStem)) {
        w.replace(w.size() - 3, 3, "y");
    } else if (std::string_view base = std::string_view(w).substr(0, w.size() >= 2 ? w.size() - 2 : 0);
               endsWith(w, "es") && keepsAtLeast(w, "es", minPluralStem) &&
               (endsWith(base, "x") || endsWith(base, "z") || endsWith(base, "ch") || endsWith(base, "sh"))) {
        w.resize(w.size() - 2);
    } else if (endsWith(w, "s") && !endsWith(w, "ss") && !endsWith(w, "us") && !endsWith(w, "sis") &&
               keepsAtLeast(w, "s", minPluralStem)) {
        w.pop_back();
    }
    if (endsWith(w, "ing") && keepsAtLeast(w, "ing", minStem)) {
        w = undouble(std::string_view(w).substr(0, w.size() - 3));
    } else if (endsWith(w, "ed") && keepsAtLeast(w, "ed", minStem)) {
        w = undouble(std::string_view(w).substr(0, w.size() - 2));
    }
    if (endsWith(w, "e") && keepsAtLeast(w, "e", minStem)) w.pop_back();
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
    if (isASCII(text)) return asciiWords(text);
    return detail::wordsUsingICU(text);
}

std::vector<Word> detail::wordsUsingICU(std::string_view text) {
    std::vector<Word> found;
    Utf16Text input(text);
    std::optional<Shadow> shadow = shadowOf(text, input.units);
    const icu::UnicodeString& working = shadow ? shadow->units : input.units;
    auto breaks = wordBreaks();
    breaks->setText(working);
    std::string segment;
    int32_t start = breaks->first();
    for (int32_t end = breaks->next(); end != icu::BreakIterator::DONE; start = end, end = breaks->next()) {
        segment.clear();
        working.tempSubStringBetween(start, end).toUTF8String(segment);
        int32_t inputEnd = shadow ? shadow->wordEnd(start, end) : end;
        appendWord(found, segment,
                   TextRange{input.byteOffsets[static_cast<size_t>(start)],
                             input.byteOffsets[static_cast<size_t>(inputEnd)]});
    }
    return found;
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
            hasWhitespace = Whitespace::isWhitespaceOrNewline(Whitespace::decodeUtf8(term, at));
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
