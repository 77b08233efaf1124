// The server's read-only view of the transcripts folder: its meetings newest first, the one gate
// through which an agent's path is let in for reading, and the people who appear in the meetings.
#pragma once

#include "ZelmorMarkdownKit/SkillsFolder.h"
#include "ZelmorMarkdownKit/TranscriptDocument.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelmor {

/// Every call reads the disk afresh; the store keeps nothing between calls.
struct MeetingStore {
    /// One transcript of the folder.
    struct Meeting {
        /// Absolute and standardised, symbolic links left as found: the meeting's identity.
        std::string path;
        TranscriptDocument doc;
        bool operator==(const Meeting&) const = default;
    };

    /// Why the store refused; thrown by value. The path is the one concerned, as the caller gave it.
    struct StoreError {
        enum class Kind { folderMissing, outsideFolder, notMarkdown, notFound, notZelmorTranscript, skillFile };
        Kind kind;
        std::string path;
        bool operator==(const StoreError&) const = default;

        static StoreError folderMissing(std::string path) { return {Kind::folderMissing, std::move(path)}; }
        static StoreError outsideFolder(std::string path) { return {Kind::outsideFolder, std::move(path)}; }
        static StoreError notMarkdown(std::string path) { return {Kind::notMarkdown, std::move(path)}; }
        static StoreError notFound(std::string path) { return {Kind::notFound, std::move(path)}; }
        /// Kept for callers that insist on the marker; the store's own read never raises it.
        static StoreError notZelmorTranscript(std::string path) {
            return {Kind::notZelmorTranscript, std::move(path)};
        }
        static StoreError skillFile(std::string path) { return {Kind::skillFile, std::move(path)}; }
    };

    /// One person across the folder's meetings.
    struct ParticipantSummary {
        std::string name;
        /// Listings of the name; a name listed twice in one meeting counts twice.
        long long meetingCount = 0;
        /// Date and title of the newest meeting that lists the name.
        std::string lastMeetingDate;
        std::string lastMeetingTitle;
        /// "Speaker " and digits: the recorder's per-meeting placeholder, not a person.
        bool isGenericLabel = false;
        bool operator==(const ParticipantSummary&) const = default;
    };

    /// What search_meetings asks for. Strings are used as given (not trimmed).
    struct SearchFilters {
        /// Words and double-quoted phrases that must all occur.
        std::optional<std::string> query;
        std::optional<std::string> participant;
        /// "yyyy-MM-dd", inclusive.
        std::optional<std::string> dateFrom;
        std::optional<std::string> dateTo;
        /// Clamped to 1...100 by the search.
        long long limit = 20;
        /// Below zero counts as zero.
        long long offset = 0;
        /// "relevance" in any case orders by score; anything else is newest first.
        std::optional<std::string> sort;
    };

    struct SearchHit {
        Meeting meeting;
        /// Turns holding at least one term; 0 without a query or when only the title or the
        /// participants matched.
        long long matchCount = 0;
        /// At most three, empty without a query.
        std::vector<std::string> snippets;
    };

    struct SearchResult {
        /// Every match, before paging.
        long long total = 0;
        /// The offset actually applied.
        long long offset = 0;
        std::vector<SearchHit> hits;
    };

    explicit MeetingStore(std::string folder, std::string memoryFolderName = SkillsFolder::defaultMemoryFolderName)
        : folder(std::move(folder)), memoryFolderName(std::move(memoryFolderName)) {}

    /// The transcripts folder, absolute.
    std::string folder;
    /// Its skills subfolder holds instructions for agents, never meetings.
    std::string memoryFolderName;

    /// The folder's transcripts, newest first by start time (or date), then by path, both
    /// descending. Files that cannot be read, are not UTF-8, lack the marker or the frontmatter
    /// are left out. Throws `folderMissing` only.
    std::vector<Meeting> scan() const;

    /// As `scan()`, reading and parsing on `workers` threads (0: one per core; 1: on the calling
    /// thread). The result does not depend on the count.
    std::vector<Meeting> scan(unsigned workers) const;

    /// The file to read for a path an agent sent: standardised, links resolved, inside the folder,
    /// ending in ".md", outside the skills folder. Throws `outsideFolder`, `notMarkdown` or
    /// `skillFile`, checked in that order.
    std::string resolveInsideFolder(std::string_view path) const;

    /// The whole raw text of a markdown file inside the folder, marker or not. Throws as
    /// `resolveInsideFolder`, and `notFound` when the file cannot be read as UTF-8 text.
    std::string readInsideFolder(std::string_view path) const;

    /// The meetings inside the date range and with the participant that hold every query term,
    /// newest first or by score, one page of them. A query with no terms in it returns no hits
    /// without looking at the folder. Throws `folderMissing` only.
    SearchResult search(const SearchFilters& filters) const;

    /// Everyone listed in the folder's meetings, most meetings first, then by name.
    std::vector<ParticipantSummary> participants() const;

    /// True for "Speaker " followed by one or more numeric characters.
    static bool isGenericSpeakerLabel(std::string_view name);
};

} // namespace zelmor
