// Caption, Otter and speaker-markdown readers. All of them speak through `append`, so a
// speaker's consecutive pieces always come out as one turn.
#include "ZelmorMarkdownKit/import/TranscriptImportTextParsers.h"

#include "ZelmorMarkdownKit/import/TranscriptImportSpeakerLines.h"
#include "ZelmorMarkdownKit/text/ICUText.h"
#include "ZelmorMarkdownKit/text/Split.h"
#include "ZelmorMarkdownKit/text/Whitespace.h"

namespace zelmor::TranscriptImport {

namespace {

using Turn = TranscriptDocument::Turn;

bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

const ICUText::Pattern& otterHeaderPattern() {
    static const ICUText::Pattern pattern(R"(^(.{1,48}?)\s+\d{1,2}:\d{2}(:\d{2})?\s*$)");
    return pattern;
}

const ICUText::Pattern& datePattern() {
    static const ICUText::Pattern pattern(R"(\d{4}[-_]\d{2}[-_]\d{2})");
    return pattern;
}

/// An optional sign, then one or more ASCII digits.
bool isInteger(std::string_view text) {
    if (!text.empty() && (text[0] == '+' || text[0] == '-')) text.remove_prefix(1);
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

/// One caption line: the speaker it names (if any) and its text.
struct CueLine {
    std::optional<std::string> speaker;
    std::string text;
};

CueLine readCueLine(std::string_view line) {
    if (line.starts_with("<v")) {
        size_t close = line.find('>');
        if (close != std::string_view::npos) {
            std::string_view inside = line.substr(2, close - 2);
            // "<v.loud Ana>" carries a class before the name; "<v Ana>" only the name.
            std::string_view name = inside;
            if (inside.starts_with(".")) {
                size_t space = inside.find(' ');
                name = space == std::string_view::npos ? std::string_view() : inside.substr(space + 1);
            }
            name = Whitespace::trim(name);
            CueLine cue{std::nullopt, stripTags(line.substr(close + 1))};
            if (!name.empty()) cue.speaker = std::string(name);
            return cue;
        }
    }
    if (auto named = inlineSpeaker(line)) return {named->speaker, named->text};
    return {std::nullopt, stripTags(line)};
}

} // namespace

std::optional<std::string> otterSpeaker(std::string_view line) {
    auto match = otterHeaderPattern().firstMatch(line);
    if (!match) return std::nullopt;
    std::string_view name = Whitespace::trimSpacesAndTabs(*match->groups[1]);
    if (!isNameShaped(name)) return std::nullopt;
    return normalizeSpeaker(name);
}

bool hasSRTCue(std::string_view text) {
    static const ICUText::Pattern pattern(R"((?m)^\s*\d+\s*$\n\s*\d{2}:\d{2}:\d{2},\d{3}\s*-->)");
    return pattern.foundIn(text);
}

// WebVTT and SRT blocks are read by the same rules.
std::vector<Turn> parseCueBased(std::string_view text) {
    std::vector<Turn> turns;
    std::string previousSpeaker = "Speaker 1";
    for (std::string_view block : Text::split(text, "\n\n")) {
        std::vector<std::string_view> lines;
        for (std::string_view line : Text::split(block, "\n")) {
            std::string_view trimmed = Whitespace::trim(line);
            if (!trimmed.empty()) lines.push_back(trimmed);
        }
        if (!lines.empty() && lines[0] == "WEBVTT") lines.erase(lines.begin());
        if (lines.empty()) continue;
        if (lines[0].starts_with("NOTE") || lines[0].starts_with("STYLE") || lines[0].starts_with("REGION"))
            continue;
        if (lines.size() > 1 && isInteger(lines[0]) && contains(lines[1], "-->")) lines.erase(lines.begin());
        if (!lines.empty() && contains(lines[0], "-->")) lines.erase(lines.begin());

        // One turn per cue: the first line that names a speaker names the cue's.
        std::optional<std::string> cueSpeaker;
        std::string spoken;
        for (std::string_view line : lines) {
            CueLine cue = readCueLine(line);
            if (!cueSpeaker) cueSpeaker = std::move(cue.speaker);
            if (!spoken.empty()) spoken += ' ';
            spoken += cue.text;
        }
        std::string_view said = Whitespace::trim(spoken);
        if (said.empty()) continue;
        if (cueSpeaker) previousSpeaker = *cueSpeaker;
        append(turns, previousSpeaker, said);
    }
    return turns;
}

std::vector<Turn> parseOtter(std::string_view text) {
    std::vector<Turn> turns;
    std::string speaker = "Speaker 1";
    std::string buffer;
    auto flush = [&] {
        std::string spoken(Whitespace::trim(buffer));
        buffer.clear();
        if (!spoken.empty()) append(turns, speaker, spoken);
    };
    for (std::string_view raw : Text::split(text, "\n")) {
        std::string_view line = Whitespace::trim(raw);
        if (line.empty()) continue;
        if (auto name = otterSpeaker(line)) {
            flush();
            speaker = *name;
            continue;
        }
        if (!buffer.empty()) buffer += ' ';
        buffer += line;
    }
    flush();
    return turns;
}

SpeakerMarkdown parse(std::string_view text) {
    std::vector<std::string_view> lines;
    for (std::string_view line : Text::split(text, "\n")) lines.push_back(Whitespace::trim(line));

    SpeakerMarkdown result;
    size_t bodyStart = 0;
    if (!lines.empty() && lines[0] == "---") {
        size_t close = 1;
        while (close < lines.size() && lines[close] != "---") ++close;
        if (close < lines.size()) {
            auto value = [](std::string_view line, size_t keyLength) {
                std::string_view v = Whitespace::trimSpacesAndTabs(line.substr(keyLength));
                while (!v.empty() && (v.front() == '"' || v.front() == '\'')) v.remove_prefix(1);
                while (!v.empty() && (v.back() == '"' || v.back() == '\'')) v.remove_suffix(1);
                return Whitespace::trimSpacesAndTabs(v);
            };
            for (size_t i = 1; i < close; ++i) {
                if (!result.title && lines[i].starts_with("title:")) {
                    std::string_view title = value(lines[i], 6);
                    if (!title.empty()) result.title = std::string(title);
                } else if (!result.date && lines[i].starts_with("date:")) {
                    result.date = isoDay(value(lines[i], 5));
                }
            }
            bodyStart = close + 1;
        }
    }

    std::vector<std::string_view> body(lines.begin() + static_cast<std::ptrdiff_t>(bodyStart), lines.end());
    for (std::string_view line : body) {
        if (!result.title && line.starts_with("# ")) {
            std::string_view title = Whitespace::trim(line.substr(2));
            if (!title.empty()) result.title = std::string(title);
        }
        if (!result.date) {
            if (auto match = datePattern().firstMatch(line)) result.date = isoDay(match->whole());
        }
    }
    result.turns = speakerLineTurns(body, std::nullopt);
    return result;
}

} // namespace zelmor::TranscriptImport
