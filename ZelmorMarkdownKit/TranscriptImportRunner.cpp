// File and folder imports. The provenance line written by the renderer is what makes a second
// run safe: a destination that names its source is reported, never rewritten.
#include "ZelmorMarkdownKit/TranscriptImportRunner.h"

#include "ZelmorMarkdownKit/UTF8.h"
#include "platform/FileSystem.h"
#include "platform/FolderListing.h"

#include <unicode/gregocal.h>
#include <unicode/ucnv.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>

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

std::string asciiLowercased(std::string text) {
    for (char& c : text) c = (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
    return text;
}

std::string samePlace(const std::string& path) { return platform::standardizePath(platform::absolutePath(path)); }

/// Tries the first name, then the numbered ones, as the two destination rules share.
template <typename Numbered>
std::string firstFreeName(const std::string& source, const std::string& folder, const std::string& first,
                          Numbered numbered) {
    std::string base = samePlace(folder);
    std::string sourcePlace = samePlace(source);
    std::string candidate = base + "/" + first;
    for (int n = 2; n < destinationCounterStop; ++n) {
        if (samePlace(candidate) != sourcePlace) {
            if (!platform::exists(candidate) || namesThisSource(candidate, source)) return candidate;
        }
        candidate = base + "/" + numbered(n);
    }
    return candidate;
}

std::optional<std::string> decodeLegacy(std::string_view bytes, const std::string& encoding) {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<UConverter, void (*)(UConverter*)> converter(ucnv_open(encoding.c_str(), &status), ucnv_close);
    if (U_FAILURE(status) || !converter) return std::nullopt;
    std::vector<UChar> units(bytes.size() * 2 + 16);
    int32_t length = ucnv_toUChars(converter.get(), units.data(), static_cast<int32_t>(units.size()), bytes.data(),
                                   static_cast<int32_t>(bytes.size()), &status);
    if (U_FAILURE(status)) return std::nullopt;
    std::string text;
    icu::UnicodeString(units.data(), length).toUTF8String(text);
    return text;
}

/// The source as UTF-8 text without a byte order mark, or nothing.
std::optional<std::string> readText(const std::string& source, const std::optional<std::string>& legacyEncoding) {
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

bool writeTranscript(const std::string& destination, const std::string& markdown, std::string& reason) {
    std::string folder = destination.substr(0, destination.rfind('/'));
    if (!platform::createFolders(folder)) {
        reason = "could not create the folder " + folder;
        return false;
    }
    if (!platform::writeFileAtomically(destination, markdown)) {
        reason = "could not write " + destination;
        return false;
    }
    return true;
}

Outcome outcomeOf(Failure failure) {
    switch (failure) {
    case Failure::unrecognizedFormat: return Unrecognized{};
    case Failure::noSpeech: return NoSpeech{};
    case Failure::alreadyZelmor: return AlreadyZelmor{};
    }
    return Unrecognized{};
}

std::string turnsText(size_t turns) { return std::to_string(turns) + (turns == 1 ? " turn" : " turns"); }

} // namespace

bool namesThisSource(const std::string& file, const std::string& source) {
    std::optional<std::string> text = platform::readFile(file);
    if (!text || !UTF8::isValid(*text)) return false;
    return text->find("imported_from: " + lastComponent(source) + "\n") != std::string::npos;
}

std::string destinationURL(const std::string& source, const std::string& folder) {
    std::string stem = stemOf(source);
    std::string extension = asciiLowercased(extensionOf(source));
    // A markdown source imported into its own folder must never collide with itself.
    bool markdown = extension == "md" || extension == "markdown";
    std::string first = markdown ? stem + " (imported).md" : stem + ".md";
    return firstFreeName(source, folder, first,
                         [&](int n) { return stem + " (imported " + std::to_string(n) + ").md"; });
}

std::string destinationURL(const std::string& source, const std::string& folder, size_t index, size_t count) {
    std::string stem = stemOf(source) + " (" + std::to_string(index) + " of " + std::to_string(count) + ")";
    return firstFreeName(source, folder, stem + ".md",
                         [&](int n) { return stem + " (" + std::to_string(n) + ").md"; });
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
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02d", year, month, day);
    return std::string(buffer);
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

    std::string reason;
    if (results.size() == 1) {
        if (!writeTranscript(single, results[0].markdown, reason)) return Unreadable{reason};
        return Imported{single, results[0].format, results[0].turnCount};
    }
    ImportedMany many{{}, results[0].format, 0};
    bool wroteAny = false;
    for (size_t i = 0; i < results.size(); ++i) {
        std::string destination = destinationURL(source, folder, i + 1, results.size());
        if (!(platform::exists(destination) && namesThisSource(destination, source))) {
            if (!writeTranscript(destination, results[i].markdown, reason)) return Unreadable{reason};
            wroteAny = true;
        }
        many.destinations.push_back(destination);
        many.turns += results[i].turnCount;
    }
    // Every meeting file was there already: this is a re-run, reported like a single file's.
    if (!wroteAny) return AlreadyImported{many.destinations.front()};
    return many;
}

std::vector<FileOutcome> importFolder(const std::string& source, const std::optional<std::string>& destination,
                                      std::string_view memoryFolderName, const Options& options,
                                      const Progress& progress) {
    auto listed = platform::listFilesRecursively(source);
    if (!listed) return {};
    // Appended rather than "/" + ...: GCC 12 at -O2 warns falsely (-Wrestrict) on that form.
    std::string memoryInfix = "/";
    memoryInfix.append(memoryFolderName).append("/");
    std::vector<std::string> candidates;
    for (const std::string& path : *listed) {
        std::string extension = asciiLowercased(extensionOf(path));
        bool candidate = std::find(std::begin(candidateExtensions), std::end(candidateExtensions), extension) !=
                         std::end(candidateExtensions);
        if (!candidate || path.find(memoryInfix) != std::string::npos || path.find("/.zelmor/") != std::string::npos) {
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
            for (size_t i = 0; i < o.destinations.size(); ++i) line += (i == 0 ? " " : ", ") + o.destinations[i];
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
