// Writes an imported meeting as our own markdown transcript file, byte for byte the form the
// transcript parser reads, with the provenance line that later recognises a re-import.
#pragma once

#include "ZelmorMarkdownKit/format/TranscriptDocument.h"
#include "ZelmorMarkdownKit/import/TranscriptImport.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelmor::TranscriptImport {

/// The whole file: frontmatter (title, date when known, participants, zero duration, the
/// "source: Zelmor" marker, the asr line naming the format, "imported_from:"), the notes block
/// with its placeholder, and the turns. Nothing is quoted or escaped, but the title, the
/// participants, the file name and the speaker labels pass through `oneLine`.
std::string render(std::string_view title, const std::optional<std::string>& date,
                   const std::vector<std::string>& participants,
                   const std::vector<TranscriptDocument::Turn>& turns, Format format,
                   std::string_view filename);

/// The value with every line break and other control character (C0, DEL, C1, U+2028, U+2029)
/// made a space: a value that broke its line would let the rest pass for frontmatter keys of its
/// own ("private: true") or extra participants.
std::string oneLine(std::string_view value);

/// Distinct speakers in order of first appearance, with "Me" moved to the front.
std::vector<std::string> orderedParticipants(const std::vector<TranscriptDocument::Turn>& turns);

/// A title from a file name without its extension: the first date removed, "_" and "-" runs as
/// spaces, trailing "transcript", "recording" and "export" words cut; "Imported meeting" when
/// nothing is left.
std::string titleFromFilename(std::string_view name);

} // namespace zelmor::TranscriptImport
