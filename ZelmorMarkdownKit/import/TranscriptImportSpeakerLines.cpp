// Speaker-line rules shared by detection and every import reader. Patterns are ICU syntax and
// compiled once; names are measured in user-perceived characters.
#include "ZelmorMarkdownKit/import/TranscriptImportSpeakerLines.h"

#include "ZelmorMarkdownKit/text/ICUText.h"
#include "ZelmorMarkdownKit/text/Split.h"
#include "ZelmorMarkdownKit/text/Whitespace.h"

#include <unicode/uchar.h>

#include <algorithm>

namespace zelmor::TranscriptImport {

namespace {

const ICUText::Pattern& tagPattern() {
    static const ICUText::Pattern pattern("<[^>]+>");
    return pattern;
}

const ICUText::Pattern& leadingTimestampPattern() {
    static const ICUText::Pattern pattern(R"(^\[?\d{1,2}:\d{2}(:\d{2})?\]?\s*)");
    return pattern;
}

const ICUText::Pattern& timedSpeechPattern() {
    static const ICUText::Pattern pattern(
        R"(^(.{1,48}?)(?:\s+[\(\[]?\d{1,2}:\d{2}(?::\d{2})?\s*(?:[AaPp][Mm])?[\)\]]?)?\s*:\s+(.+)$)");
    return pattern;
}

bool isLetter(char32_t c) {
    return u_isalpha(static_cast<UChar32>(c));
}
bool isDigit(char32_t c) {
    return u_isdigit(static_cast<UChar32>(c));
}
bool isUppercase(char32_t c) {
    return u_hasBinaryProperty(static_cast<UChar32>(c), UCHAR_UPPERCASE);
}

/// A line of three or more of one of "-", "*" or "_" (a thematic break), which is never speech.
bool isThematicBreak(std::string_view line) {
    if (line.size() < 3 || (line[0] != '-' && line[0] != '*' && line[0] != '_')) return false;
    return std::all_of(line.begin(), line.end(), [&](char c) { return c == line[0]; });
}

/// "# Title", "## Notes", a lone "#".
bool isHeading(std::string_view line) {
    size_t hashes = line.find_first_not_of('#');
    if (hashes == 0) return false;
    return hashes == std::string_view::npos || line[hashes] == ' ' || line[hashes] == '\t';
}

} // namespace

bool isSectionWord(std::string_view name) {
    std::string lower = ICUText::lowercased(name);
    return std::find(std::begin(transcriptSectionWords), std::end(transcriptSectionWords), lower) !=
           std::end(transcriptSectionWords);
}

bool isPlausibleName(std::string_view name) {
    if (name.empty() || ICUText::characterCount(name) > 48) return false;
    if (name.find("  ") != std::string_view::npos) return false;
    size_t words = 0;
    for (std::string_view piece : Text::split(name, " ")) words += piece.empty() ? 0 : 1;
    if (words < 1 || words > 4) return false;
    if (name.find_first_of(".!?,;\"'()[]{}<>/\\|@") != std::string_view::npos) return false;
    bool hasLetter = false;
    ICUText::forEachCharacter(name, [&](std::string_view character) {
        hasLetter = hasLetter || isLetter(ICUText::firstCodePoint(character));
    });
    return hasLetter;
}

bool isNameShaped(std::string_view name) {
    size_t words = 0;
    bool shaped = true;
    Whitespace::forEachWord(name, [&](std::string_view word) {
        ++words;
        bool first = true;
        ICUText::forEachCharacter(word, [&](std::string_view character) {
            char32_t c = ICUText::firstCodePoint(character);
            if (first && !isUppercase(c) && !isDigit(c)) shaped = false;
            if (!isLetter(c) && !isDigit(c) && c != '-' && c != '\'' && c != '.' && c != U'\u2019')
                shaped = false;
            first = false;
        });
    });
    return shaped && words >= 1 && words <= 4;
}

std::string normalizeSpeaker(std::string_view name) {
    std::string_view trimmed = Whitespace::trimSpacesAndTabs(name);
    std::string lower = ICUText::lowercased(trimmed);
    if (lower == "me" || lower == "you" || lower == "self" || lower == "myself") return "Me";
    return std::string(trimmed);
}

std::string stripTags(std::string_view text) {
    // Every tag ends at a ">", so none lies past the last one. Matching only up to there keeps the
    // cost linear: each "<" then either starts a tag or fails at once on "<>", where in a run of
    // "<" with no ">" after it each one would scan to the end of the text and fail.
    size_t last = text.rfind('>');
    if (last == std::string_view::npos) return std::string(Whitespace::trimSpacesAndTabs(text));
    std::string stripped = tagPattern().replacingAll(text.substr(0, last + 1), "");
    stripped.append(text.substr(last + 1));
    return std::string(Whitespace::trimSpacesAndTabs(stripped));
}

std::string stripBullet(std::string_view line) {
    static constexpr std::string_view markers[] = {"- ", "* ", "+ ", "> ", "\u2022 "};
    std::string_view rest = Whitespace::trim(line);
    for (bool stripped = true; stripped;) {
        stripped = false;
        for (std::string_view marker : markers) {
            if (rest.starts_with(marker)) {
                rest = Whitespace::trim(rest.substr(marker.size()));
                stripped = true;
            }
        }
    }
    return std::string(rest);
}

std::optional<SpeakerLine> inlineSpeaker(std::string_view line) {
    size_t colon = line.find(':');
    if (colon == std::string_view::npos) return std::nullopt;
    std::string_view name = Whitespace::trim(line.substr(0, colon));
    if (!isPlausibleName(name) || isSectionWord(name)) return std::nullopt;
    return SpeakerLine{normalizeSpeaker(name), stripTags(Whitespace::trim(line.substr(colon + 1)))};
}

std::optional<SpeakerLine> markdownSpeakerLine(std::string_view line) {
    if (!line.starts_with("**")) return std::nullopt;
    size_t close = line.find(":**", 2);
    if (close == std::string_view::npos) return std::nullopt;
    std::string_view name = Whitespace::trim(line.substr(2, close - 2));
    if (!isPlausibleName(name)) return std::nullopt;
    return SpeakerLine{normalizeSpeaker(name), std::string(Whitespace::trim(line.substr(close + 3)))};
}

std::optional<SpeakerLine> exportSpeechLine(std::string_view line) {
    std::string_view rest = Whitespace::trim(line);
    bool mic = rest.starts_with("[MIC]");
    if (mic || rest.starts_with("[SYS]")) {
        std::string_view spoken = Whitespace::trim(rest.substr(5));
        std::string untimed = leadingTimestampPattern().replacingFirst(spoken, "");
        return SpeakerLine{mic ? "Me" : "Them", std::string(Whitespace::trim(untimed))};
    }
    while (rest.starts_with("- ") || rest.starts_with("* ") || rest.starts_with("> ")) {
        rest = Whitespace::trim(rest.substr(2));
    }
    if (rest.starts_with("**")) {
        if (auto bold = markdownSpeakerLine(rest)) return bold;
    }
    auto match = timedSpeechPattern().firstMatch(rest);
    if (!match) return std::nullopt;
    std::string_view name = Whitespace::trim(*match->groups[1]);
    if (!isNameShaped(name) || isSectionWord(name)) return std::nullopt;
    return SpeakerLine{normalizeSpeaker(name), stripTags(Whitespace::trim(*match->groups[2]))};
}

void append(std::vector<TranscriptDocument::Turn>& turns, std::string_view speaker, std::string_view text) {
    // Full trim, not only spaces: structured exports end segment texts with line breaks.
    std::string_view spoken = Whitespace::trim(text);
    if (spoken.empty()) return;
    if (!turns.empty() && turns.back().speaker == speaker) {
        turns.back().text += ' ';
        turns.back().text += spoken;
        return;
    }
    turns.push_back({std::string(speaker), std::string(spoken)});
}

std::optional<SpeakerLine> anySpeakerLine(std::string_view line) {
    if (auto found = exportSpeechLine(line)) return found;
    if (auto found = markdownSpeakerLine(line)) return found;
    return inlineSpeaker(line);
}

std::vector<TranscriptDocument::Turn> speakerLineTurns(const std::vector<std::string_view>& lines,
                                                       std::optional<std::string_view> lastResortSpeaker) {
    std::vector<TranscriptDocument::Turn> turns;
    std::optional<std::string> current;
    for (std::string_view raw : lines) {
        std::string_view line = Whitespace::trim(raw);
        if (line.empty() || isThematicBreak(line)) continue;
        if (isHeading(line)) {
            // A heading opens another section; what follows it is not the last speaker's speech.
            current.reset();
        } else if (auto found = anySpeakerLine(line)) {
            current = found->speaker;
            append(turns, found->speaker, found->text);
        } else if (current) {
            append(turns, *current, stripBullet(line));
        } else if (lastResortSpeaker) {
            append(turns, *lastResortSpeaker, stripBullet(line));
        }
    }
    return turns;
}

} // namespace zelmor::TranscriptImport
