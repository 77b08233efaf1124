// ICU-backed text operations on UTF-8 strings: regular expressions with byte offsets, Unicode
// lower-casing, and user-perceived characters (grapheme clusters) for length limits.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <unicode/uversion.h>

U_NAMESPACE_BEGIN
class RegexPattern;
U_NAMESPACE_END

namespace zelmor::ICUText {

/// A regular expression in ICU syntax, compiled once and shared read-only between threads.
/// Every offset it reports is a UTF-8 byte offset into the caller's string.
class Pattern {
public:
    /// A pattern that fails to compile is a programming error and stops the process.
    explicit Pattern(std::string_view pattern);
    ~Pattern();
    Pattern(const Pattern&) = delete;
    Pattern& operator=(const Pattern&) = delete;

    struct Match {
        /// Group 0 is the whole match; a group that took no part in the match is absent.
        std::vector<std::optional<std::string_view>> groups;
        std::string_view whole() const { return *groups[0]; }
    };

    /// The first match anywhere in the text.
    std::optional<Match> firstMatch(std::string_view text) const;
    bool foundIn(std::string_view text) const { return firstMatch(text).has_value(); }

    /// The text with every match replaced by the literal replacement.
    std::string replacingAll(std::string_view text, std::string_view replacement) const;
    /// The text with the first match, if any, replaced by the literal replacement.
    std::string replacingFirst(std::string_view text, std::string_view replacement) const;

private:
    std::string replacing(std::string_view text, std::string_view replacement, bool all) const;
    std::unique_ptr<icu::RegexPattern> compiled_;
};

/// Full Unicode lower-casing in the root locale.
std::string lowercased(std::string_view text);

/// The number of user-perceived characters.
size_t characterCount(std::string_view text);

/// The first `count` user-perceived characters (the whole text when it is shorter).
std::string_view prefixCharacters(std::string_view text, size_t count);

/// Calls `visit(character)` for each user-perceived character, as a view into the text.
void forEachCharacter(std::string_view text, const std::function<void(std::string_view)>& visit);

/// The byte offset `count` user-perceived characters after (or, when negative, before) the byte
/// offset `from`, stopping at either end of the text. An offset inside a character first moves
/// to that character's end when going forward and to its start when going back.
size_t movedByCharacters(std::string_view text, size_t from, long count);

/// The first code point of a non-empty text.
char32_t firstCodePoint(std::string_view text);

/// True when the text is not empty and every user-perceived character is a number: its first
/// code point has a Unicode numeric value (digits of any script, Roman and CJK numerals).
bool isNumeric(std::string_view text);

} // namespace zelmor::ICUText
