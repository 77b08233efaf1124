// Import of other meeting tools' transcript exports: the formats we recognise, detection, and
// conversion into our own markdown transcript. The parsers and the renderer live beside this
// file in the TranscriptImport* headers; all of them share this namespace.
#pragma once

#include "ZelmorMarkdownKit/format/TranscriptDocument.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace zelmor::TranscriptImport {

/// A recognised export layout. The order is fixed: it is also the order of `allFormats`.
enum class Format {
    webVTT,
    srt,
    otterText,
    granolaMarkdown,
    limitlessMarkdown,
    speakerMarkdown,
    limitlessLifelog,
    fathomJSON,
    firefliesJSON,
    circlebackJSON,
    granolaJSON,
    granolaCSV,
    genericJSON,
};

inline constexpr Format allFormats[] = {
    Format::webVTT,
    Format::srt,
    Format::otterText,
    Format::granolaMarkdown,
    Format::limitlessMarkdown,
    Format::speakerMarkdown,
    Format::limitlessLifelog,
    Format::fathomJSON,
    Format::firefliesJSON,
    Format::circlebackJSON,
    Format::granolaJSON,
    Format::granolaCSV,
    Format::genericJSON,
};

/// The case name, such as "webVTT".
std::string_view rawValue(Format format);

/// The format whose raw value is exactly this text (case-sensitive).
std::optional<Format> formatFromRawValue(std::string_view raw);

/// The short name written into the "asr: imported (...)" line, such as "vtt" or "granola".
std::string_view label(Format format);

/// Why a text could not be converted.
enum class Failure {
    unrecognizedFormat, ///< no known layout
    noSpeech,           ///< a known layout without any speaker turn
    alreadyZelmor,      ///< already one of our own transcripts
};

/// The text shown for a failure; the only place where failures become words.
std::string_view describe(Failure failure);

/// One converted meeting.
struct Result {
    /// The complete transcript file.
    std::string markdown;
    /// For JSON exports the meeting's own dialect, else the detected format.
    Format format = Format::genericJSON;
    std::string title;
    std::vector<std::string> participants;
    size_t turnCount = 0;
    /// The "yyyy-MM-dd" day on the date line; absent when none was found.
    std::optional<std::string> date;

    bool operator==(const Result&) const = default;
};

/// One meeting as a multi-meeting reader (JSON, CSV) hands it to the conversion.
struct ParsedMeeting {
    std::vector<TranscriptDocument::Turn> turns;
    std::optional<std::string> title;
    std::optional<std::string> date;
    /// The dialect the reader saw; absent when the keys did not reveal the tool.
    std::optional<Format> format;

    bool operator==(const ParsedMeeting&) const = default;
};

/// The layout of a text, or nothing when it is of no known format. JSON is always reported as
/// `genericJSON` here; the JSON reader tells the dialect per meeting.
std::optional<Format> detect(std::string_view text);

/// Starts with "{" or "[" and the JSON reader finds at least one meeting in it.
bool looksLikeTranscriptJSON(std::string_view text);

/// The first line is a CSV header of two or more fields, one mentioning "transcript".
bool looksLikeCSVExport(std::string_view text);

/// Every meeting of the text, in the reader's order, or the failure.
using Conversion = std::variant<std::vector<Result>, Failure>;

/// Converts a text that may hold several meetings. `filename` is the source's name with its
/// extension; `fallbackDate` ("yyyy-MM-dd") is used when neither the content nor the name has one.
Conversion convertAll(std::string_view text, std::string_view filename,
                      const std::optional<std::string>& fallbackDate);

/// The first meeting of `convertAll`, or its failure.
std::variant<Result, Failure> convert(std::string_view text, std::string_view filename,
                                      const std::optional<std::string>& fallbackDate);

/// Normalises the start of a date-like text ("2025_03_14", "2025-03-14T09:30:00Z") to
/// "yyyy-MM-dd"; nothing unless year 1900-2200, month 1-12 and day 1-31.
std::optional<std::string> isoDay(std::string_view text);

} // namespace zelmor::TranscriptImport
