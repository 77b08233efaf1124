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

/// The frontmatter fields only, for callers that look at no section or turn (listing a folder,
/// the participant directory): sections and turns are left empty. Gives nothing exactly when
/// `parse` does.
std::optional<TranscriptDocument> parseFrontmatter(std::string_view text);

/// Fills the sections and turns of a document that `parseFrontmatter` read from the same text;
/// the two together give what `parse` gives. Leaves the document alone when the text has no
/// frontmatter.
void parseBody(std::string_view text, TranscriptDocument& doc);

} // namespace zelmor::MarkdownTranscriptParser
