// Reader for JSON exports: Limitless lifelogs, Fathom, Fireflies, Circleback and Granola
// exports, and any JSON that carries a list of speaker segments. One file may hold many meetings.
#pragma once

#include "ZelmorMarkdownKit/import/TranscriptImport.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelmor::TranscriptImport {

/// Keys under which an object may hold its speech segments, in the order they are tried.
inline constexpr std::string_view segmentKeys[] = {"transcript", "sentences", "segments",
                                                   "utterances", "turns",     "messages"};

/// How deep below the top the reader looks for segments. Exports nest a meeting two or three
/// levels down; the bound keeps hostile, deeply nested input from costing more than that.
inline constexpr int maxSegmentDepth = 12;

/// Every meeting the JSON text holds, in document order; empty when the text does not parse or
/// carries no segments. Meetings without turns are kept (the caller decides what they mean).
std::vector<ParsedMeeting> parseJSONExport(std::string_view text);

/// An object with "contents" as a list of objects, or with "markdown", or with "startTime".
bool isLifelog(const nlohmann::json& value);

/// One lifelog entry: title, start day, and the spoken nodes of its contents.
ParsedMeeting lifelog(const nlohmann::json& entry);

/// The speaker a segment names and the tool its keys reveal.
struct SegmentSpeaker {
    std::optional<std::string> name;
    std::optional<Format> format;
    bool operator==(const SegmentSpeaker&) const = default;
};

/// Reads "speaker_name" (Fireflies), "speaker.display_name" (Fathom), "source" (Granola),
/// "speaker" beside "timestamp" (Circleback), then plain "speaker", "attribution",
/// "diarization_label" and "name" without a dialect.
SegmentSpeaker speakerOf(const nlohmann::json& segment);

/// A trimmed, non-empty name, with "me" and "them" in any case written "Me" and "Them".
std::optional<std::string> named(std::string_view value);

/// The meeting day of a container: the first of its date-like keys that reads as a day. Texts go
/// through `isoDay`; numbers are seconds or milliseconds since 1970, taken in UTC.
std::optional<std::string> dateOf(const nlohmann::json& container);

/// The UTC day of a time stamp in seconds, or milliseconds when the number is too large to be
/// seconds of a plausible year; nothing outside 1900-2200.
std::optional<std::string> utcDay(double secondsOrMilliseconds);

} // namespace zelmor::TranscriptImport
