// File and folder imports. The provenance line written by the renderer is what makes a second
// run safe: a destination that names its source is reported, never rewritten.
#include "ZelmorMarkdownKit/import/TranscriptImportRunner.h"

#include "ZelmorMarkdownKit/import/TranscriptImportRendering.h"
#include "ZelmorMarkdownKit/text/ASCII.h"
#include "ZelmorMarkdownKit/text/CalendarDays.h"
#include "ZelmorMarkdownKit/text/FileLimits.h"
#include "ZelmorMarkdownKit/text/UTF8.h"
#include "platform/FileSystem.h"
#include "platform/FolderListing.h"

#include <unicode/gregocal.h>
#include <unicode/ucnv.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <memory>
#include <variant>

namespace zelmor::TranscriptImportRunner {

namespace {

using TranscriptImport::Failure;

/// The deliberate stop of the numbered names: after 49 collisions the 50th is used as it is.
constexpr int destinationCounterStop = 51;

std::string lastComponent(const std::string& path) {
    size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

/// The extension of the last component ("" for "notes" and ".hidden").
std::string extensionOf(const std::string& path) {
    std::string name = lastComponent(path);
    size_t dot = name.rfind('.');
    if (dot == std::string::npos || dot == 0) return "";
    return name.substr(dot + 1);
}

std::string stemOf(const std::string& path) {
    std::string name = lastComponent(path);
    size_t dot = name.rfind('.');
    if (dot == std::string::npos || dot == 0) return name;
    return name.substr(0, dot);
}

std::string samePlace(const std::string& path) {
    return platform::standardizePath(platform::absolutePath(path));
}

/// The first name of a destination and its numbered alternatives.
struct Names {
    std::string first;
    std::function<std::string(int)> numbered;
};

/// Tries the first name, then the numbered ones, as the two destination rules share.
std::string firstFreeName(const std::string& source, const std::string& folder, const Names& names) {
    std::string base = samePlace(folder);
    std::string sourcePlace = samePlace(source);
    std::string candidate = base + "/" + names.first;
    for (int n = 2; n < destinationCounterStop; ++n) {
        if (samePlace(candidate) != sourcePlace) {
            if (!platform::exists(candidate) || namesThisSource(candidate, source)) return candidate;
        }
        candidate = base + "/" + names.numbered(n);
    }
    return candidate;
}

Names singleNames(const std::string& source) {
    std::string stem = stemOf(source);
    std::string extension = ASCII::lowercased(extensionOf(source));
    // A markdown source imported into its own folder must never collide with itself.
    bool markdown = extension == "md" || extension == "markdown";
    return {markdown ? stem + " (imported).md" : stem + ".md",
            [stem](int n) { return stem + " (imported " + std::to_string(n) + ").md"; }};
}

Names meetingNames(const std::string& source, size_t index, size_t count) {
    std::string stem = stemOf(source) + " (" + std::to_string(index) + " of " + std::to_string(count) + ")";
    return {stem + ".md", [stem](int n) { return stem + " (" + std::to_string(n) + ").md"; }};
}

std::optional<std::string> decodeLegacy(std::string_view bytes, const std::string& encoding) {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<UConverter, void (*)(UConverter*)> converter(ucnv_open(encoding.c_str(), &status),
                                                                 ucnv_close);
    if (U_FAILURE(status) || !converter) return std::nullopt;
    std::vector<UChar> units(bytes.size() * 2 + 16);
    int32_t length = ucnv_toUChars(converter.get(), units.data(), static_cast<int32_t>(units.size()),
                                   bytes.data(), static_cast<int32_t>(bytes.size()), &status);
    if (U_FAILURE(status)) return std::nullopt;
    std::string text;
    icu::UnicodeString(units.data(), length).toUTF8String(text);
    return text;
}

/// The source as UTF-8 text without a byte order mark, or nothing.
std::optional<std::string> readText(const std::string& source,
                                    const std::optional<std::string>& legacyEncoding) {
    std::optional<std::string> bytes = platform::readFile(source);
    if (!bytes) return std::nullopt;
    std::optional<std::string> text;
    if (UTF8::isValid(*bytes)) {
        text = std::move(bytes);
    } else if (legacyEncoding) {
        text = decodeLegacy(*bytes, *legacyEncoding);
    }
    // Windows tools start UTF-8 files with a byte order mark, which would hide a leading "{" or "WEBVTT".
    if (text && text->rfind("\xEF\xBB\xBF", 0) == 0) text->erase(0, 3);
    return text;
}

/// Where a meeting went: the file written, or the file that held it already.
struct Placed {
    std::string path;
    bool written = false;
};

/// Writes the meeting under the first of its names that is free, never over any file: a name
/// another import takes meanwhile is passed over like one taken before, and when every name is
/// taken nothing is written. A name holding this source's earlier import is where it already is.
std::variant<Placed, std::string> place(const std::string& source, const std::string& folder,
                                        const Names& names, const std::string& markdown) {
    std::string base = samePlace(folder);
    if (!platform::createFolders(base)) return "could not create the folder " + base;
    std::string sourcePlace = samePlace(source);
    for (int n = 1; n < destinationCounterStop; ++n) {
        std::string candidate = base + "/" + (n == 1 ? names.first : names.numbered(n));
        if (samePlace(candidate) == sourcePlace) continue;
        if (!platform::exists(candidate)) {
            switch (platform::createFileExclusively(candidate, markdown)) {
            case platform::CreateOutcome::created:
                return Placed{candidate, true};
            case platform::CreateOutcome::failed:
                return "could not write " + candidate;
            case platform::CreateOutcome::alreadyExists:
                break;
            }
        }
        if (namesThisSource(candidate, source)) return Placed{candidate, false};
    }
    return "every name for it is taken in " + base + " (up to \"" +
           names.numbered(destinationCounterStop - 1) + "\"); nothing was written";
}

Outcome outcomeOf(Failure failure) {
    switch (failure) {
    case Failure::unrecognizedFormat:
        return Unrecognized{};
    case Failure::noSpeech:
        return NoSpeech{};
    case Failure::alreadyZelmor:
        return AlreadyZelmor{};
    }
    return Unrecognized{};
}

std::string turnsText(size_t turns) {
    return std::to_string(turns) + (turns == 1 ? " turn" : " turns");
}

} // namespace

bool namesThisSource(const std::string& file, const std::string& source) {
    std::optional<std::string> text = platform::readFile(file, FileLimits::transcriptBytes);
    if (!text || !UTF8::isValid(*text)) return false;
    // As the name was written: on one line.
    return text->find("imported_from: " + TranscriptImport::oneLine(lastComponent(source)) + "\n") !=
           std::string::npos;
}

std::string destinationURL(const std::string& source, const std::string& folder) {
    return firstFreeName(source, folder, singleNames(source));
}

std::string destinationURL(const std::string& source, const std::string& folder, size_t index, size_t count) {
    return firstFreeName(source, folder, meetingNames(source, index, count));
}

std::optional<std::string> modifiedDay(const std::string& source, const icu::Calendar& calendar) {
    std::optional<double> seconds = platform::modificationTime(source);
    if (!seconds || !std::isfinite(*seconds)) return std::nullopt;
    UErrorCode status = U_ZERO_ERROR;
    icu::GregorianCalendar gregorian(calendar.getTimeZone(), status);
    gregorian.setTime(std::floor(*seconds * 1000.0), status);
    int32_t year = gregorian.get(UCAL_EXTENDED_YEAR, status);
    int32_t month = gregorian.get(UCAL_MONTH, status) + 1;
    int32_t day = gregorian.get(UCAL_DATE, status);
    if (U_FAILURE(status)) return std::nullopt;
    return CalendarDays::dayString(year, month, day);
}

Outcome importFile(const std::string& source, const std::string& folder, const Options& options) {
    std::optional<std::string> text = readText(source, options.legacyEncoding);
    if (!text) return Unreadable{std::string(notReadableAsText)};

    std::string single = destinationURL(source, folder);
    if (platform::exists(single) && namesThisSource(single, source)) return AlreadyImported{single};

    TranscriptImport::Conversion conversion =
        TranscriptImport::convertAll(*text, lastComponent(source), modifiedDay(source, options.calendar));
    if (const Failure* failure = std::get_if<Failure>(&conversion)) return outcomeOf(*failure);
    const auto& results = std::get<std::vector<TranscriptImport::Result>>(conversion);

    if (results.size() == 1) {
        auto placed = place(source, folder, singleNames(source), results[0].markdown);
        if (auto* reason = std::get_if<std::string>(&placed)) return Unreadable{*reason};
        const Placed& at = std::get<Placed>(placed);
        if (!at.written) return AlreadyImported{at.path}; // another run imported it meanwhile
        return Imported{at.path, results[0].format, results[0].turnCount};
    }
    ImportedMany many{{}, results[0].format, 0};
    bool wroteAny = false;
    for (size_t i = 0; i < results.size(); ++i) {
        auto placed = place(source, folder, meetingNames(source, i + 1, results.size()), results[i].markdown);
        if (auto* reason = std::get_if<std::string>(&placed)) return Unreadable{*reason};
        const Placed& at = std::get<Placed>(placed);
        wroteAny = wroteAny || at.written;
        many.destinations.push_back(at.path);
        many.turns += results[i].turnCount;
    }
    // Every meeting file was there already: this is a re-run, reported like a single file's.
    if (!wroteAny) return AlreadyImported{many.destinations.front()};
    return many;
}

std::vector<FileOutcome> importFolder(const std::string& source,
                                      const std::optional<std::string>& destination,
                                      std::string_view memoryFolderName, const Options& options,
                                      const Progress& progress) {
    auto listed = platform::listFilesRecursively(source);
    if (!listed) return {};
    // Appended rather than "/" + ...: GCC 12 at -O2 warns falsely (-Wrestrict) on that form.
    std::string memoryInfix = "/";
    memoryInfix.append(memoryFolderName).append("/");
    std::vector<std::string> candidates;
    for (const std::string& path : *listed) {
        std::string extension = ASCII::lowercased(extensionOf(path));
        bool candidate = std::find(std::begin(candidateExtensions), std::end(candidateExtensions),
                                   extension) != std::end(candidateExtensions);
        if (!candidate || path.find(memoryInfix) != std::string::npos ||
            path.find("/.zelmor/") != std::string::npos) {
            continue;
        }
        candidates.push_back(path);
    }
    std::sort(candidates.begin(), candidates.end());
    std::string into = destination.value_or(source);
    std::vector<FileOutcome> outcomes;
    for (size_t i = 0; i < candidates.size(); ++i) {
        if (progress) progress(i + 1, candidates.size(), candidates[i]);
        outcomes.push_back({candidates[i], importFile(candidates[i], into, options)});
    }
    return outcomes;
}

bool isAvailableEncoding(const std::string& name) {
    UErrorCode status = U_ZERO_ERROR;
    UConverter* converter = ucnv_open(name.c_str(), &status);
    if (converter != nullptr) ucnv_close(converter);
    return U_SUCCESS(status) && converter != nullptr;
}

std::string_view category(const Outcome& outcome) {
    struct Words {
        std::string_view operator()(const Imported&) const { return "imported"; }
        std::string_view operator()(const ImportedMany&) const { return "imported"; }
        std::string_view operator()(const AlreadyImported&) const { return "already imported"; }
        std::string_view operator()(const Unreadable&) const { return "unreadable"; }
        std::string_view operator()(const AlreadyZelmor&) const { return "already Zelmor"; }
        std::string_view operator()(const Unrecognized&) const { return "unrecognized"; }
        std::string_view operator()(const NoSpeech&) const { return "no speech"; }
    };
    return std::visit(Words{}, outcome);
}

std::string describe(const FileOutcome& file) {
    using TranscriptImport::describe;
    using TranscriptImport::label;
    struct Lines {
        const std::string& source;
        std::string operator()(const Imported& o) const {
            return source + " \u2192 " + o.destination + " (" + std::string(label(o.format)) + ", " +
                   turnsText(o.turns) + ")";
        }
        std::string operator()(const ImportedMany& o) const {
            std::string line = source + " \u2192 " + std::to_string(o.destinations.size()) + " meetings:";
            for (size_t i = 0; i < o.destinations.size(); ++i)
                line += (i == 0 ? " " : ", ") + o.destinations[i];
            return line + " (" + std::string(label(o.format)) + ", " + turnsText(o.turns) + ")";
        }
        std::string operator()(const AlreadyImported& o) const {
            return source + ": already imported as " + o.destination;
        }
        std::string operator()(const Unreadable& o) const { return source + ": unreadable, " + o.reason; }
        std::string operator()(const AlreadyZelmor&) const {
            return source + ": skipped, " + std::string(describe(Failure::alreadyZelmor));
        }
        std::string operator()(const Unrecognized&) const {
            return source + ": skipped, " + std::string(describe(Failure::unrecognizedFormat));
        }
        std::string operator()(const NoSpeech&) const {
            return source + ": skipped, " + std::string(describe(Failure::noSpeech));
        }
    };
    return std::visit(Lines{file.source}, file.outcome);
}

} // namespace zelmor::TranscriptImportRunner
