// The trail of what the agent did, one JSON object a line in "agent-activity-log.jsonl" in the
// app's support folder, oldest first, bounded by age and by count. Each append rewrites the file.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <unicode/calendar.h>

namespace zelmor::AgentActivityFeed {

using Instant = std::chrono::system_clock::time_point;

inline constexpr std::string_view fileName = "agent-activity-log.jsonl";
inline constexpr size_t maxEntries = 300;
/// Entries older than this many calendar days are dropped at each append.
inline constexpr int keepDays = 60;
/// Longer detail, path and client texts are cut to this many characters and "…" when appended:
/// no real query, path or client name comes near it, and the app reads the whole feed at every
/// change, so an agent sending megabytes must not make it large.
inline constexpr size_t maxTextCharacters = 1000;
/// The tool name of an entry for notes the agent posted into a meeting.
inline constexpr std::string_view postNotesTool = "post_meeting_notes";

struct Entry {
    /// When the call finished; stored with whole seconds, so a decoded entry has none below.
    Instant ts;
    std::string tool;
    /// Search query, meeting title or notes title.
    std::optional<std::string> detail;
    /// Meeting file path.
    std::optional<std::string> path;
    /// True when the app itself started the agent run.
    bool triggered = false;
    /// The MCP client's name.
    std::optional<std::string> client;

    bool operator==(const Entry&) const = default;
};

/// The support folder + "agent-activity-log.jsonl".
std::string fileURL(const std::string& supportDirectory);

/// ISO 8601 in UTC with whole seconds, e.g. "2025-03-04T14:05:09Z"; nothing outside years 0000-9999.
std::optional<std::string> timestamp(Instant instant);

/// Reads "YYYY-MM-DDThh:mm:ssZ" or the same with a "+hh:mm" / "-hh:mm" offset; nothing for anything else.
std::optional<Instant> parsedTimestamp(std::string_view text);

/// The entry as one compact JSON line with sorted keys and no line feed; absent members are
/// left out. Nothing when the time cannot be written.
std::optional<std::string> encodedLine(const Entry& entry);

/// The entries of a feed text in file order; lines that do not decode are skipped.
std::vector<Entry> entries(std::string_view text);

/// The entries of the feed file; none when it cannot be read as UTF-8 text.
std::vector<Entry> load(const std::string& supportDirectory);

/// The entries not older than now minus `keepDays` calendar days, oldest first, at most the
/// newest `maxEntries`. Without an age limit when the calendar cannot compute the cutoff. An entry
/// dated after `now` (a clock that was wrong) counts as made now, so it never pushes out the
/// entries being made now.
std::vector<Entry> capped(std::vector<Entry> entries, Instant now, const icu::Calendar& calendar);

/// Adds the entry and rewrites the file whole. The support folder is never created and no
/// failure reaches the caller.
void append(const Entry& entry, const std::string& supportDirectory, Instant now,
            const icu::Calendar& calendar);

/// The same with the user's current calendar and time zone.
void append(const Entry& entry, const std::string& supportDirectory, Instant now);

/// An entry for notes posted into the meeting at `path`.
Entry postNotesEntry(const std::string& title, const std::string& path, Instant now);

} // namespace zelmor::AgentActivityFeed
