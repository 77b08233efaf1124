// The one reader of the on-disk transcript format: frontmatter, known sections, speaker turns.
#pragma once

#include "ZelmorMarkdownKit/TranscriptDocument.h"

#include <optional>
#include <string_view>

namespace zelmor::MarkdownTranscriptParser {

/// The six level-two headings whose text the document keeps, in this fixed order.
inline constexpr std::string_view knownSectionHeaders[] = {
    "## Notes", "## Transcript", "## Summary", "## Meeting Notes", "## Action Items", "## Key Moments"};

/// Closes a machine-written block of AI sections.
inline constexpr std::string_view machineBlockEndMarker = "<!-- /zelmor:ai -->";

/// Parses a transcript file. Gives nothing only when the text has no frontmatter; every other
/// defect leaves the affected field at its default.
std::optional<TranscriptDocument> parse(std::string_view text);

} // namespace zelmor::MarkdownTranscriptParser
