// In-place edits of a transcript file's text: speaker rename, title, notes, and the machine-written
// block of AI sections after the transcript. Pure functions: the caller reads and writes the file.
#pragma once

#include "ZelmorMarkdownKit/text/TextRange.h"

#include "ZelmorMarkdownKit/format/MarkdownTranscriptParser.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace zelmor::TranscriptEditor {

/// The line that closes the machine-written block.
inline constexpr std::string_view enhancedBlockEndMarker = MarkdownTranscriptParser::machineBlockEndMarker;

/// The only headings that can open a machine-written block; "## Meeting Notes" lives inside one.
inline constexpr std::string_view blockStartHeaders[] = {"## Summary", "## Action Items", "## Key Moments"};

/// Half-open range of UTF-8 byte offsets into the text.
using ByteRange = TextRange;

/// Renames every turn labelled "**old:**" at a line start and every frontmatter item written
/// exactly "  - old". Unchanged when either label is empty or both are the same.
std::string renameSpeaker(std::string_view text, std::string_view from, std::string_view to);

/// Rewrites the first "title:" line; the value is double-quoted (inner quotes escaped) when it
/// holds a colon, number sign, apostrophe or double quote. Unchanged when there is no such line.
std::string setTitle(std::string_view text, std::string_view title);

/// Replaces what stands between "## Notes\n" and the next "\n## Transcript" with the trimmed
/// notes between single blank lines (nothing for empty notes). Unchanged without both headings.
std::string setNotes(std::string_view text, std::string_view notes);

/// The block: from the line break before its first opening heading after "## Transcript" through
/// the end of the closing marker. Nothing when any of those is missing.
std::optional<ByteRange> machineBlockRange(std::string_view text);

/// True when the range lies after the "## Transcript" heading and before the first closing marker
/// that follows it.
bool isInsideMachineBlock(ByteRange range, std::string_view text);

/// The block's text before the closing marker, trimmed; empty (not nothing) for a blank block.
std::optional<std::string> enhancedSections(std::string_view text);

/// Replaces the block with the trimmed sections, or removes it when they are empty. Without a
/// block, non-empty sections are appended after the last non-space character, one blank line
/// apart, followed by the closing marker on its own line and a final line break.
std::string setEnhancedSections(std::string_view text, std::string_view sections);

/// The last "<!-- zelmor:written-by ... -->" line inside the block, trimmed.
std::optional<std::string> machineProvenance(std::string_view text);

/// Sets one AI section ("## Summary", "## Meeting Notes", "## Action Items", "## Key Moments")
/// to the trimmed body, written as the heading, a blank line and the body:
/// - a section already in the block is replaced where it stands (the first one, as readers see
///   only that); a new one is inserted in the order Summary, Meeting Notes, Action Items, Key
///   Moments; without a block, a block is created at the end of the text;
/// - an empty body removes the section, and the whole block when nothing else is left in it;
/// - sections are separated by one blank line, and comment lines at the end of the block (such as
///   a provenance comment) stay at its end;
/// - "## Meeting Notes" cannot open a block, so it never goes first: it follows the first section
///   that can. Setting it where there is no block, or removing the last section that can open the
///   block while Meeting Notes remains, leaves the text unchanged.
/// Any other header leaves the text unchanged.
std::string setAISection(std::string_view text, std::string_view header, std::string_view body);

} // namespace zelmor::TranscriptEditor
