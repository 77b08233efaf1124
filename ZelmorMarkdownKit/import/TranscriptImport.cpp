// Detection and conversion: which reader a text goes to, and how its meetings become files.
#include "ZelmorMarkdownKit/import/TranscriptImport.h"

#include "ZelmorMarkdownKit/format/ZelmorTranscriptMarker.h"
#include "ZelmorMarkdownKit/import/TranscriptImportCSV.h"
#include "ZelmorMarkdownKit/import/TranscriptImportJSON.h"
#include "ZelmorMarkdownKit/import/TranscriptImportRendering.h"
#include "ZelmorMarkdownKit/import/TranscriptImportSpeakerLines.h"
#include "ZelmorMarkdownKit/import/TranscriptImportTextParsers.h"
#include "ZelmorMarkdownKit/text/CalendarDays.h"
#include "ZelmorMarkdownKit/text/ICUText.h"
#include "ZelmorMarkdownKit/text/Split.h"
#include "ZelmorMarkdownKit/text/Whitespace.h"

#include <charconv>
#include <cstdio>

namespace zelmor::TranscriptImport {

namespace {

struct FormatNames {
    Format format;
    std::string_view raw;
    std::string_view label;
};

constexpr FormatNames formatNames[] = {
    {Format::webVTT, "webVTT", "vtt"},
    {Format::srt, "srt", "srt"},
    {Format::otterText, "otterText", "otter"},
    {Format::granolaMarkdown, "granolaMarkdown", "granola"},
    {Format::limitlessMarkdown, "limitlessMarkdown", "limitless"},
    {Format::speakerMarkdown, "speakerMarkdown", "markdown"},
    {Format::limitlessLifelog, "limitlessLifelog", "limitless"},
    {Format::fathomJSON, "fathomJSON", "fathom"},
    {Format::firefliesJSON, "firefliesJSON", "fireflies"},
    {Format::circlebackJSON, "circlebackJSON", "circleback"},
    {Format::granolaJSON, "granolaJSON", "granola"},
    {Format::granolaCSV, "granolaCSV", "granola"},
    {Format::genericJSON, "genericJSON", "json"},
};

/// Detection looks at no more than this many characters for headers and format words.
constexpr size_t detectionHeadLength = 4000;

bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

std::string replacingCRLF(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
        out += text[i];
    }
    return out;
}

/// The name without its extension ("call.vtt" to "call"; ".hidden" stays as it is).
std::string_view baseName(std::string_view filename) {
    size_t dot = filename.rfind('.');
    if (dot == std::string_view::npos || dot == 0 || dot + 1 == filename.size()) return filename;
    return filename.substr(0, dot);
}

/// Whether a line names a speaker, by the bold, inline and export rules in detection's order.
bool isSpeakerLine(std::string_view line) {
    bool bold = line.starts_with("**") && contains(line, ":**");
    if (bold) {
        size_t close = line.find(":**", 2);
        if (isPlausibleName(Whitespace::trimSpacesAndTabs(line.substr(2, close - 2)))) return true;
    } else if (inlineSpeaker(line)) {
        return true;
    }
    return exportSpeechLine(line).has_value();
}

Result finish(std::vector<TranscriptDocument::Turn> turns, std::string title, std::optional<std::string> date,
              Format format, std::string_view filename) {
    Result result;
    result.participants = orderedParticipants(turns);
    result.markdown = render(title, date, result.participants, turns, format, filename);
    result.format = format;
    result.title = std::move(title);
    result.turnCount = turns.size();
    result.date = std::move(date);
    return result;
}

} // namespace

std::string_view rawValue(Format format) {
    return formatNames[static_cast<size_t>(format)].raw;
}

std::string_view label(Format format) {
    return formatNames[static_cast<size_t>(format)].label;
}

std::optional<Format> formatFromRawValue(std::string_view raw) {
    for (const FormatNames& names : formatNames) {
        if (names.raw == raw) return names.format;
    }
    return std::nullopt;
}

std::string_view describe(Failure failure) {
    switch (failure) {
    case Failure::unrecognizedFormat:
        return "not a transcript format we recognise";
    case Failure::noSpeech:
        return "no speaker turns found";
    case Failure::alreadyZelmor:
        return "already a Zelmor transcript";
    }
    return "";
}

std::optional<std::string> isoDay(std::string_view text) {
    std::string day(text);
    for (char& c : day) c = c == '_' ? '-' : c;
    day = std::string(ICUText::prefixCharacters(day, 10));
    int numbers[3] = {0, 0, 0};
    size_t pieces = 0;
    for (std::string_view piece : Text::split(day, "-")) {
        if (piece.empty()) continue;
        if (pieces == 3) return std::nullopt;
        if (piece[0] == '+') piece.remove_prefix(1);
        int value = 0;
        auto [end, error] = std::from_chars(piece.data(), piece.data() + piece.size(), value);
        // Ten digits overflow an int; from_chars reports it instead of throwing.
        if (piece.empty() || error != std::errc() || end != piece.data() + piece.size()) return std::nullopt;
        numbers[pieces++] = value;
    }
    if (pieces != 3) return std::nullopt;
    auto [year, month, dayOfMonth] = numbers;
    if (year < 1900 || year > 2200 || month < 1 || month > 12 || dayOfMonth < 1 || dayOfMonth > 31)
        return std::nullopt;
    return CalendarDays::dayString(year, month, dayOfMonth);
}

bool looksLikeTranscriptJSON(std::string_view text) {
    std::string_view trimmed = Whitespace::trim(text);
    if (trimmed.empty() || (trimmed[0] != '{' && trimmed[0] != '[')) return false;
    return !parseJSONExport(trimmed).empty();
}

bool looksLikeCSVExport(std::string_view text) {
    std::string_view firstLine = text.substr(0, text.find('\n'));
    auto rows = parseCSV(firstLine);
    if (rows.empty() || rows[0].size() < 2) return false;
    for (const std::string& field : rows[0]) {
        if (contains(ICUText::lowercased(field), "transcript")) return true;
    }
    return false;
}

std::optional<Format> detect(std::string_view text) {
    std::string_view head = ICUText::prefixCharacters(text, detectionHeadLength);
    if (looksLikeTranscriptJSON(text)) return Format::genericJSON;
    if (looksLikeCSVExport(text)) return Format::granolaCSV;
    if (head.starts_with("WEBVTT") || contains(head, "\nWEBVTT")) return Format::webVTT;
    if (hasSRTCue(head)) return Format::srt;
    if (contains(head, "-->")) return Format::webVTT;
    std::vector<std::string_view> lines = Text::split(text, "\n");
    for (std::string_view line : lines) {
        if (otterSpeaker(line)) return Format::otterText;
    }
    for (std::string_view line : lines) {
        if (!isSpeakerLine(line)) continue;
        std::string lowerHead = ICUText::lowercased(head);
        if (contains(lowerHead, "granola")) return Format::granolaMarkdown;
        if (contains(lowerHead, "limitless")) return Format::limitlessMarkdown;
        return Format::speakerMarkdown;
    }
    return std::nullopt;
}

Conversion convertAll(std::string_view text, std::string_view filename,
                      const std::optional<std::string>& fallbackDate) {
    std::string normalized = replacingCRLF(text);
    // Our own files are never imported again, even though they would read as speaker markdown.
    if (ZelmorTranscriptMarker::declares(normalized)) return Failure::alreadyZelmor;
    std::optional<Format> detected = detect(normalized);
    if (!detected) return Failure::unrecognizedFormat;

    std::string_view base = baseName(filename);
    std::string fallbackTitle = titleFromFilename(base);
    static const ICUText::Pattern datePattern(R"(\d{4}[-_]\d{2}[-_]\d{2})");
    std::optional<std::string> fileDay = fallbackDate;
    if (auto match = datePattern.firstMatch(base)) {
        if (auto day = isoDay(match->whole())) fileDay = day;
    }

    std::vector<Result> results;
    auto addMeetings = [&](std::vector<ParsedMeeting> meetings) {
        for (ParsedMeeting& meeting : meetings) {
            if (meeting.turns.empty()) continue;
            results.push_back(finish(std::move(meeting.turns), meeting.title.value_or(fallbackTitle),
                                     meeting.date ? meeting.date : fileDay,
                                     meeting.format.value_or(*detected), filename));
        }
    };
    auto addTurns = [&](std::vector<TranscriptDocument::Turn> turns, std::optional<std::string> title,
                        std::optional<std::string> date) {
        if (turns.empty()) return;
        results.push_back(finish(std::move(turns), title.value_or(fallbackTitle), date ? date : fileDay,
                                 *detected, filename));
    };

    switch (*detected) {
    case Format::limitlessLifelog:
    case Format::fathomJSON:
    case Format::firefliesJSON:
    case Format::circlebackJSON:
    case Format::granolaJSON:
    case Format::genericJSON:
        addMeetings(parseJSONExport(normalized));
        break;
    case Format::granolaCSV:
        addMeetings(parseCSVExport(normalized));
        break;
    case Format::granolaMarkdown:
    case Format::limitlessMarkdown:
    case Format::speakerMarkdown: {
        SpeakerMarkdown parsed = parse(normalized);
        addTurns(std::move(parsed.turns), std::move(parsed.title), std::move(parsed.date));
        break;
    }
    case Format::webVTT:
        addTurns(parseCueBased(normalized), std::nullopt, std::nullopt);
        break;
    case Format::srt:
        addTurns(parseCueBased(normalized), std::nullopt, std::nullopt);
        break;
    case Format::otterText:
        addTurns(parseOtter(normalized), std::nullopt, std::nullopt);
        break;
    }
    if (results.empty()) return Failure::noSpeech;
    return results;
}

std::variant<Result, Failure> convert(std::string_view text, std::string_view filename,
                                      const std::optional<std::string>& fallbackDate) {
    Conversion all = convertAll(text, filename, fallbackDate);
    if (const Failure* failure = std::get_if<Failure>(&all)) return *failure;
    auto& results = std::get<std::vector<Result>>(all);
    if (results.empty()) return Failure::noSpeech;
    return std::move(results.front());
}

} // namespace zelmor::TranscriptImport
