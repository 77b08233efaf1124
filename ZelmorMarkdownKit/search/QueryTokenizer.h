// Free text to normalised words and stems, so that "meetings", "meeting" and "meet" meet; the
// one source of stems for question words and transcript words alike.
#pragma once

#include "ZelmorMarkdownKit/text/TextRange.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace zelmor::QueryTokenizer {

struct Word {
    /// The normalised form, not the text as written.
    std::string raw;
    std::string stem;
    /// Where the word stands in the caller's text (never in the one-on-one shadow).
    TextRange range;

    bool operator==(const Word&) const = default;
};

/// Least length, in characters, a stem keeps after "ing", "ed" or a final "e" goes.
inline constexpr size_t minStem = 4;
/// Least length a stem keeps after a plural ending goes.
inline constexpr size_t minPluralStem = 3;

/// Words that carry no topic (the list names "well" twice, so the set holds 194).
const std::unordered_set<std::string_view>& stopWords();
/// Words about time, which the time scope handles instead of the keyword match.
const std::unordered_set<std::string_view>& temporalWords();
const std::unordered_set<std::string_view>& numberWords();
/// Nouns mapped onto the stems their verbs get from the suffix rules ("decision" -> "decid").
const std::unordered_map<std::string_view, std::string_view>& lemmaOverrides();

/// Case and diacritics folded, a trailing "'s" or "’s" dropped, only letters and numbers kept.
std::string normalize(std::string_view word);

/// The stem of a normalised word: overrides, then plural endings, then "ing"/"ed", then "e".
std::string stem(std::string_view word);

/// Drops the second of two equal final letters, except vowels and "l", "s", "z".
std::string undouble(std::string_view word);

/// The text with every one-on-one spelling ("1:1", "one-on-one", "1-1s") replaced by "1o1" or
/// "1o1s" padded with spaces to the same UTF-16 length; nothing when there is none.
std::optional<std::string> oneOnOneShadow(std::string_view text);

/// Every word of two or more characters, in text order.
std::vector<Word> words(std::string_view text);

/// The words of many texts read by one thread, as tags its owner gives them: each distinct
/// spelling is normalised, stemmed and tagged once, so that a long text costs a lookup per word.
/// Not to be shared between threads.
class WordCache {
public:
    using Tagger = std::function<int(const Word& word)>;

    explicit WordCache(Tagger tag);
    /// The tag of each word of `words(text)`, in order; valid until the next call.
    const std::vector<int>& tags(std::string_view text);
    /// The tag of one segment `words` would read as a word, or `noWord` when it reads none there
    /// (under two characters once normalised).
    int tag(std::string_view segment);
    static constexpr int noWord = INT32_MIN;

private:
    /// Spellings up to this many bytes are held in the table itself, zero-padded, with no
    /// allocation; longer ones (rare) go to a map.
    static constexpr size_t inlineLength = 24;
    struct Slot {
        char key[inlineLength] = {};
        int32_t tag = 0;
        uint32_t length = 0; // 0: empty
    };
    static constexpr int32_t notAWord = INT32_MIN;

    int32_t tagOf(std::string_view segment);
    int32_t tagOfNew(std::string_view segment);
    void grow();

    Tagger tag_;
    std::vector<Slot> slots_;
    size_t used_ = 0;
    std::unordered_map<std::string, int32_t> long_;
    std::vector<int> tags_;
    std::vector<TextRange> segments_;
};

/// Whether a one-on-one spelling may stand in the text; false means `words` reads the text as
/// written, with no stand-in.
bool mayHoldOneOnOneSpelling(std::string_view text);

/// Text that holds no one-on-one spelling, cut where `words` reads the parts apart: pieces of
/// ASCII, and pieces that hold bytes outside it, in order (dashes and such between them, which
/// hold no word, belong to none). Segmented one by one, they give the words of the whole.
void forEachPiece(std::string_view text, const std::function<void(TextRange piece, bool ascii)>& visit);

// Segments of ASCII text that holds no one-on-one spelling, one at a time: where `words` reads
// a word, the segment is that word as written.

/// The first segment that starts at or after `from`, which must be 0 or where a segment ends.
std::optional<TextRange> nextASCIISegment(std::string_view text, size_t from);

/// The segment whose first letter or digit is at `at` (its leading "_" included), or nothing
/// when the byte there continues a segment that starts before.
std::optional<TextRange> asciiSegmentLeadBy(std::string_view text, size_t at);

/// The stems of `words(text)`, stop words included.
std::vector<std::string> tokens(std::string_view text);

/// A question's distinct content stems in first-seen order; a quoted multi-word term stays one
/// keyword of all its stems joined with spaces.
std::vector<std::string> keywords(std::string_view question);

/// False for stop, temporal and number words (by raw form or stem).
bool isContent(const Word& word);

/// How often the phrase stands in the tokens, overlaps included.
size_t count(const std::vector<std::string>& phrase, const std::vector<std::string>& tokens);

/// The range of the first place where the phrase's stems stand in the text.
std::optional<TextRange> firstRange(const std::vector<std::string>& phrase, std::string_view text);

namespace detail {
/// The word segmentation ICU gives, without the fast path for ASCII text; for tests that hold
/// the two to the same answers.
std::vector<Word> wordsUsingICU(std::string_view text);
} // namespace detail

} // namespace zelmor::QueryTokenizer
