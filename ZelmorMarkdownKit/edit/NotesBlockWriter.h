// Prepares AI sections for a transcript's machine-written block and writes them into the file,
// together with its plain-text mirror.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include <unicode/uversion.h>

U_NAMESPACE_BEGIN
class Calendar;
U_NAMESPACE_END

namespace zelmor::NotesBlockWriter {

/// The AI sections a block may hold, in the order they are written.
inline constexpr std::string_view aiSectionHeaders[] = {"## Summary", "## Meeting Notes", "## Action Items",
                                                        "## Key Moments"};

/// Raw sections text as an agent wrote it, cut to start at its first AI heading, or filed under
/// "## Summary" when it has none. Nothing when the text is blank.
std::optional<std::string> sanitizedSections(std::string_view raw);

/// "_Written by your agent on Mar 14, 2025. Regenerate or delete anytime._", the day taken in the
/// calendar's time zone.
std::string provenanceLine(std::chrono::system_clock::time_point date, const icu::Calendar& calendar);

/// The plain-text copy that is kept beside a transcript: the same name with the extension "txt".
std::string mirrorPath(const std::string& filePath);

/// Sets the block of `text` (the file's current contents) to `sections` and writes the file
/// atomically, and its mirror when one exists (failures there are ignored). Writes nothing and
/// gives false when the text would not change or the file cannot be written. The sections are
/// written as given: no provenance comment is added, so applying the same sections twice never
/// rewrites the file; a caller that wants one includes it in the sections.
bool apply(std::string_view sections, std::string_view text, const std::string& filePath);

/// Removes the block from the file and its mirror, as `apply` with no sections; false when there
/// was no block or the file cannot be written.
bool clearBlock(std::string_view text, const std::string& filePath);

} // namespace zelmor::NotesBlockWriter
