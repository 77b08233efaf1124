// The writer is the one place that touches the disk for AI sections; the text work is done by
// TranscriptEditor so a host can preview an edit without writing it.
#include "ZelmorMarkdownKit/edit/NotesBlockWriter.h"

#include "ZelmorMarkdownKit/edit/TranscriptEditor.h"
#include "ZelmorMarkdownKit/text/Whitespace.h"
#include "platform/FileSystem.h"

#include <unicode/calendar.h>
#include <unicode/locid.h>
#include <unicode/smpdtfmt.h>

#include <algorithm>
#include <memory>

namespace zelmor::NotesBlockWriter {

using Whitespace::trim;

std::optional<std::string> sanitizedSections(std::string_view raw) {
    std::string_view trimmed = trim(raw);
    if (trimmed.empty()) return std::nullopt;
    for (std::string_view header : aiSectionHeaders) {
        if (trimmed.substr(0, header.size()) == header) return std::string(trimmed);
    }
    size_t earliest = std::string_view::npos;
    for (std::string_view header : aiSectionHeaders) {
        earliest = std::min(earliest, trimmed.find("\n" + std::string(header)));
    }
    if (earliest == std::string_view::npos) return "## Summary\n" + std::string(trimmed);
    return std::string(trim(trimmed.substr(earliest + 1)));
}

std::string provenanceLine(std::chrono::system_clock::time_point date, const icu::Calendar& calendar) {
    UErrorCode status = U_ZERO_ERROR;
    icu::SimpleDateFormat format(icu::UnicodeString("MMM d, yyyy"), icu::Locale("en_US_POSIX"), status);
    std::string day;
    if (U_SUCCESS(status)) {
        format.setCalendar(calendar);
        auto millis = std::chrono::duration_cast<std::chrono::milliseconds>(date.time_since_epoch()).count();
        icu::UnicodeString formatted;
        format.format(static_cast<UDate>(millis), formatted);
        formatted.toUTF8String(day);
    }
    return "_Written by your agent on " + day + ". Regenerate or delete anytime._";
}

std::string mirrorPath(const std::string& filePath) {
    return platform::replacingPathExtension(filePath, "txt");
}

bool apply(std::string_view sections, std::string_view text, const std::string& filePath) {
    std::string updated = TranscriptEditor::setEnhancedSections(text, sections);
    if (updated == text) return false;
    if (!platform::writeFileAtomically(filePath, updated)) return false;
    std::string mirror = mirrorPath(filePath);
    if (mirror != filePath && platform::exists(mirror) && !platform::isDirectory(mirror)) {
        platform::writeFileAtomically(mirror, updated);
    }
    return true;
}

bool clearBlock(std::string_view text, const std::string& filePath) {
    return apply("", text, filePath);
}

} // namespace zelmor::NotesBlockWriter
