// Readers for text exports: caption files (WebVTT, SRT), Otter text, and speaker-labelled
// markdown or text (Granola and Limitless markdown among them).
#pragma once

#include "ZelmorMarkdownKit/format/TranscriptDocument.h"
#include "ZelmorMarkdownKit/import/TranscriptImport.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelmor::TranscriptImport {

/// Turns of a caption file. Cues without a speaker continue the previous cue's speaker, or
/// "Speaker 1" before any; consecutive cues of one speaker merge.
std::vector<TranscriptDocument::Turn> parseCueBased(std::string_view text);

/// Turns of an Otter text export: "Name  0:00" header lines followed by paragraphs.
std::vector<TranscriptDocument::Turn> parseOtter(std::string_view text);

/// What the speaker-markdown reader finds.
struct SpeakerMarkdown {
    std::vector<TranscriptDocument::Turn> turns;
    std::optional<std::string> title;
    std::optional<std::string> date;
    bool operator==(const SpeakerMarkdown&) const = default;
};

/// Speaker-labelled markdown: title and date from frontmatter, a "# " heading or a dated line,
/// turns from speaker lines.
SpeakerMarkdown parse(std::string_view text);

/// The speaker named by an Otter header line ("Ana Lopez  0:12"), normalised; nothing when the
/// line is not one or the name is not name-shaped.
std::optional<std::string> otterSpeaker(std::string_view line);

/// A line holding only a cue number directly above an SRT timing line (comma before milliseconds).
bool hasSRTCue(std::string_view text);

} // namespace zelmor::TranscriptImport
