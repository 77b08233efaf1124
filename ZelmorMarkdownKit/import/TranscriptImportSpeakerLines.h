// The line-level rules every import reader shares: what a speaker name looks like, how a line
// names its speaker, how names and text are cleaned, and how consecutive turns merge.
#pragma once

#include "ZelmorMarkdownKit/format/TranscriptDocument.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelmor::TranscriptImport {

/// Lower-case words and phrases that look like "Label:" but never name a speaker.
inline constexpr std::string_view transcriptSectionWords[] = {
    "transcript",
    "notes",
    "summary",
    "action items",
    "key moments",
    "attendees",
    "participants",
    "note",
    "http",
    "https",
    "date",
    "title",
    "duration",
    "overview",
    "highlights",
    "ai-generated notes",
    "ai generated notes",
    "my notes",
    "ai summaries",
    "meeting id",
    "meeting notes",
    "key takeaways",
    "next steps",
    "decisions",
    "questions",
    "agenda",
    "chapters",
    "recording",
};

/// True when the lower-cased text is one of `transcriptSectionWords`.
bool isSectionWord(std::string_view name);

/// A speaker found on a line, with the text spoken there.
struct SpeakerLine {
    std::string speaker;
    std::string text;
    bool operator==(const SpeakerLine&) const = default;
};

/// Loose test for a label before a colon: 1-4 words, at most 48 characters, a letter, no
/// double spaces and none of the punctuation that ordinary sentences carry.
bool isPlausibleName(std::string_view name);

/// Strict test for a name standing alone on a line: 1-4 capitalised words of letters, digits,
/// hyphens, apostrophes and full stops.
bool isNameShaped(std::string_view name);

/// Trims spaces and turns the ways people write themselves ("you", "me", "self", "myself") into "Me".
std::string normalizeSpeaker(std::string_view name);

/// Removes markup tags such as "<b>" or "<c.yellow>" and trims spaces.
std::string stripTags(std::string_view text);

/// Removes leading list and quote markers ("- ", "* ", "+ ", "> ", "• ") and trims.
std::string stripBullet(std::string_view line);

/// "Name: text", where the name is plausible and not a section word.
std::optional<SpeakerLine> inlineSpeaker(std::string_view line);

/// "**Name:** text".
std::optional<SpeakerLine> markdownSpeakerLine(std::string_view line);

/// The speech lines of meeting-tool exports: "[MIC]"/"[SYS]" lines, bulleted or quoted bold
/// speakers, and "Name (9:30 AM): text" with an optional time between name and colon.
std::optional<SpeakerLine> exportSpeechLine(std::string_view line);

/// Adds spoken text to the turns, extending the last turn when the speaker is the same.
void append(std::vector<TranscriptDocument::Turn>& turns, std::string_view speaker, std::string_view text);

/// Reads lines of speaker-labelled text: each speaker line starts text for its speaker, other
/// non-empty lines continue the current speaker, and a markdown heading ends the current turn.
/// Lines before any speaker go to `lastResortSpeaker`, or are dropped when it is absent.
std::vector<TranscriptDocument::Turn> speakerLineTurns(const std::vector<std::string_view>& lines,
                                                       std::optional<std::string_view> lastResortSpeaker);

/// The speaker a single line names, by the export, bold markdown and inline rules in that order.
std::optional<SpeakerLine> anySpeakerLine(std::string_view line);

} // namespace zelmor::TranscriptImport
