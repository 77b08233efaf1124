// The one reader of the on-disk transcript format: frontmatter, known sections, speaker turns.
#pragma once

#include "ZelmorMarkdownKit/format/TranscriptDocument.h"

#include <functional>
#include <optional>
#include <span>
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

/// A turn as it stands in the text: the speaker, and its paragraphs (the first one's text after
/// the speaker label). The parsed turn's text is the paragraphs joined by "\n\n".
struct TurnText {
    std::string_view speaker;
    std::span<const std::string_view> paragraphs;
};

/// Answers whether to read on.
using TurnVisitor = std::function<bool(const TurnText&)>;

/// `parseBody` for a reader that looks at each turn once: the turns go to `visit` in order, as
/// views valid during the call, and `doc.turns` stays empty. No turn is copied. Once `visit`
/// answers false, the reading stops there: no more turns, and no section after the notes.
void parseBody(std::string_view text, TranscriptDocument& doc, const TurnVisitor& visit);

} // namespace zelmor::MarkdownTranscriptParser
