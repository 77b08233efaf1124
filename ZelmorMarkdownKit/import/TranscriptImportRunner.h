// Imports export files from disk: picks a destination that never overwrites a source or an
// unrelated file, recognises earlier imports by their provenance line, writes each rendered
// transcript atomically, and reports one outcome per source file.
#pragma once

#include "ZelmorMarkdownKit/import/TranscriptImport.h"

#include <unicode/calendar.h>

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace zelmor::TranscriptImportRunner {

/// One meeting was written.
struct Imported {
    std::string destination;
    TranscriptImport::Format format = TranscriptImport::Format::genericJSON;
    size_t turns = 0;
    bool operator==(const Imported&) const = default;
};

/// A source holding several meetings was written as several files, in meeting order. The
/// format is the first meeting's; the turns are counted over all of them.
struct ImportedMany {
    std::vector<std::string> destinations;
    TranscriptImport::Format format = TranscriptImport::Format::genericJSON;
    size_t turns = 0;
    bool operator==(const ImportedMany&) const = default;
};

/// The source was imported before into this file (for a multi-meeting source: into its first
/// meeting's file, every meeting file naming it); nothing was written.
struct AlreadyImported {
    std::string destination;
    bool operator==(const AlreadyImported&) const = default;
};

/// The source could not be read as text, or a file could not be written.
struct Unreadable {
    std::string reason;
    bool operator==(const Unreadable&) const = default;
};

struct AlreadyZelmor {
    bool operator==(const AlreadyZelmor&) const = default;
};
struct Unrecognized {
    bool operator==(const Unrecognized&) const = default;
};
struct NoSpeech {
    bool operator==(const NoSpeech&) const = default;
};

using Outcome =
    std::variant<Imported, ImportedMany, AlreadyImported, Unreadable, AlreadyZelmor, Unrecognized, NoSpeech>;

struct FileOutcome {
    std::string source;
    Outcome outcome;
    bool operator==(const FileOutcome&) const = default;
};

/// The reason given for a source that is not valid UTF-8 (and has no legacy encoding to try).
inline constexpr std::string_view notReadableAsText = "not readable as text";

/// Extensions a folder import considers, compared lower-cased.
inline constexpr std::string_view candidateExtensions[] = {"vtt",      "srt",  "txt", "md",
                                                           "markdown", "json", "csv"};

struct Options {
    /// Its time zone turns a file's modification time into the fallback day (Gregorian fields).
    const icu::Calendar& calendar;
    /// An ICU converter name, such as "windows-1252", used for sources that are not valid
    /// UTF-8. Without it such sources are reported unreadable.
    std::optional<std::string> legacyEncoding;
};

/// Called before each file of a folder import with its 1-based position, the count and its path.
using Progress = std::function<void(size_t position, size_t count, const std::string& source)>;

/// Imports one file into the folder. Never fails: every problem is an outcome.
Outcome importFile(const std::string& source, const std::string& folder, const Options& options);

/// Imports every candidate file below the source folder, in ascending path order, into the
/// destination (the source folder itself when absent). Hidden files, the memory folder and
/// ".zelmor" folders are left alone; one bad file never stops the rest.
std::vector<FileOutcome> importFolder(const std::string& source,
                                      const std::optional<std::string>& destination,
                                      std::string_view memoryFolderName, const Options& options,
                                      const Progress& progress = {});

/// Where a single-meeting source goes: "stem.md" ("stem (imported).md" for markdown sources),
/// then "stem (imported 2).md" and up. After 49 collisions the 50th name is used unchecked.
std::string destinationURL(const std::string& source, const std::string& folder);

/// Where meeting `index` (from 1) of `count` goes: "stem (i of n).md", then "stem (i of n) (2).md" and up.
std::string destinationURL(const std::string& source, const std::string& folder, size_t index, size_t count);

/// The file's modification day, "yyyy-MM-dd", in the calendar's time zone.
std::optional<std::string> modifiedDay(const std::string& source, const icu::Calendar& calendar);

/// Whether the file carries the provenance line "imported_from: NAME" for this source's name.
bool namesThisSource(const std::string& file, const std::string& source);

/// Whether ICU has a converter of this name.
bool isAvailableEncoding(const std::string& name);

/// A short word for the outcome, used to count outcomes: "imported", "already imported",
/// "already Zelmor", "unrecognized", "no speech" or "unreadable".
std::string_view category(const Outcome& outcome);

/// One line telling what happened to a file; the only place where outcomes become words.
std::string describe(const FileOutcome& outcome);

} // namespace zelmor::TranscriptImportRunner
