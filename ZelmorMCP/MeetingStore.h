// The server's read-only view of the transcripts folder: its meetings newest first, the one gate
// through which an agent's path is let in for reading, and the people who appear in the meetings.
#pragma once

#include "ZelmorMarkdownKit/format/SkillsFolder.h"
#include "ZelmorMarkdownKit/format/TranscriptDocument.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace zelmor {

struct AnswerScope;

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
        enum class Kind {
            folderMissing,
            outsideFolder,
            notMarkdown,
            notFound,
            notZelmorTranscript,
            skillFile
        };
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

        /// Whether `sort` asks for the order by score.
        bool ordersByRelevance() const;
    };

    struct SearchHit {
        Meeting meeting;
        /// Turns holding at least one term; 0 without a query or when only the title or the
        /// participants matched. Newest first, counted when the row's snippets are made (a file
        /// changed since the scan so that it no longer matches keeps the count the scan reached
        /// before it stopped reading).
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

    /// A transcript as the scan meets it, handed to a visitor on one of the scan's threads.
    struct FileVisit {
        /// As `Meeting::path`.
        const std::string& path;
        /// The frontmatter fields; sections and turns stay empty unless the visitor fills them
        /// with `MarkdownTranscriptParser::parseBody(text, header)`. The visitor may move from it.
        TranscriptDocument& header;
        /// The whole file as read: valid UTF-8 and carrying the marker. Gone after the visit.
        std::string_view text;
    };

    explicit MeetingStore(std::string folder,
                          std::string memoryFolderName = SkillsFolder::defaultMemoryFolderName)
        : folder(std::move(folder)), memoryFolderName(std::move(memoryFolderName)) {}

    /// The transcripts folder, absolute.
    std::string folder;
    /// Its skills subfolder holds instructions for agents, never meetings.
    std::string memoryFolderName;

    /// Whether the file name ends in ".md" in any case (a name that is only the extension does not).
    static bool isMarkdownPath(std::string_view path);

    /// The folder's transcripts, newest first by start time (or date), then by path, both
    /// descending. Files that cannot be read, are not UTF-8, lack the marker or the frontmatter
    /// are left out. Throws `folderMissing` only.
    std::vector<Meeting> scan() const;

    /// As `scan()`, reading and parsing on `workers` threads (0: one per core; 1: on the calling
    /// thread). The result does not depend on the count.
    std::vector<Meeting> scan(unsigned workers) const;

    /// As `scan()`, with documents that hold the frontmatter only (no sections, no turns): all
    /// that listing meetings or their participants needs, at a fraction of the time and memory.
    std::vector<Meeting> scanHeaders(unsigned workers = 0) const;

    /// The scan with the caller deciding what each transcript yields: `visit(FileVisit&)` returns
    /// an optional result, nothing to leave the file out. Results come in scan order (newest
    /// first). Files are read one at a time per thread and dropped after their visit, so memory
    /// holds only what the results keep. `visit` runs on several threads at once and must touch
    /// nothing but its argument and what is safe to share; the first exception it throws stops
    /// the scan and is rethrown here. Throws `folderMissing` as `scan()`.
    template <typename Visitor> auto collect(Visitor&& visit, unsigned workers = 0) const;

    /// A test on a file's bytes as read, before they are checked as UTF-8 or parsed: false
    /// leaves the file out. Only for what no transcript that passes the checks could fail.
    using RawTest = std::function<bool(std::string_view raw)>;

    /// As `collect(visit, workers)`, with files that fail `mayYield` left out unchecked.
    template <typename Visitor>
    auto collect(Visitor&& visit, const RawTest& mayYield, unsigned workers = 0) const;

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

    /// The participant directory of meetings given newest first; `participants()` is this over
    /// the folder's scan.
    static std::vector<ParticipantSummary> participantsOf(const std::vector<Meeting>& meetings);

    /// The meetings a scope admits, in their order and cut to its `lastN`, as `AnswerScope::apply`
    /// takes them, without copying any.
    static std::vector<const Meeting*> admitted(const std::vector<Meeting>& meetings,
                                                const AnswerScope& scope);

    /// A scanned meeting's file read and parsed again, for the few rows a reply shows when the
    /// scan kept no bodies; nothing when it can no longer be read as a transcript.
    static std::optional<TranscriptDocument> readAgain(const std::string& path);
    /// As `readAgain`, the text unparsed: nothing when it can no longer be read as UTF-8 text.
    static std::optional<std::string> readTextAgain(const std::string& path);

    /// True for "Speaker " followed by one or more numeric characters.
    static bool isGenericSpeakerLabel(std::string_view name);

private:
    /// The folder's markdown files outside the skills folder, the files a scan reads; a link
    /// among them only when `resolveInsideFolder` would let it be read.
    std::vector<std::string> candidateFiles() const;
    /// The folder with every link along it resolved.
    std::string resolvedRoot() const;
    /// `resolveInsideFolder` against the folder as `resolvedRoot` gives it.
    std::string resolveAgainst(const std::string& root, std::string_view path) const;
    /// Reads and checks each file, calls `visit(index, file)` for the transcripts and returns the
    /// indexes of those it kept (it answered true), in scan order.
    std::vector<size_t> visitFiles(const std::vector<std::string>& files,
                                   const std::function<bool(size_t, FileVisit&)>& visit,
                                   const RawTest& mayYield, unsigned workers) const;
};

template <typename Visitor> auto MeetingStore::collect(Visitor&& visit, unsigned workers) const {
    return collect(std::forward<Visitor>(visit), RawTest{}, workers);
}

template <typename Visitor>
auto MeetingStore::collect(Visitor&& visit, const RawTest& mayYield, unsigned workers) const {
    using Result = typename std::invoke_result_t<Visitor&, FileVisit&>::value_type;
    std::vector<std::string> files = candidateFiles();
    // One slot per file, each written by the one thread that visits that file.
    std::vector<std::optional<Result>> slots(files.size());
    std::vector<size_t> order = visitFiles(
        files,
        [&](size_t index, FileVisit& file) {
            slots[index] = visit(file);
            return slots[index].has_value();
        },
        mayYield, workers);
    std::vector<Result> results;
    results.reserve(order.size());
    for (size_t index : order) results.push_back(std::move(*slots[index]));
    return results;
}

} // namespace zelmor
