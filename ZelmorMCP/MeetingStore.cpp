// Scanning, path checks and the participant directory. Every tool call rescans the whole folder
// (thousands of files, a few hundred MB for a heavy user), so the scan runs on all cores, reads
// each file once into a buffer its thread reuses, and parses only the frontmatter unless the
// caller asks for more.
#include "ZelmorMCP/MeetingStore.h"

#include "ZelmorMarkdownKit/format/MarkdownTranscriptParser.h"
#include "ZelmorMarkdownKit/format/ZelmorTranscriptMarker.h"
#include "ZelmorMarkdownKit/text/FileLimits.h"
#include "ZelmorMarkdownKit/text/ICUText.h"
#include "ZelmorMarkdownKit/text/UTF8.h"
#include "ZelmorMarkdownKit/text/Whitespace.h"
#include "ZelmorMarkdownKit/text/Workers.h"
#include "platform/FileSystem.h"
#include "platform/FolderListing.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <map>
#include <mutex>
#include <new>
#include <optional>

namespace zelmor {

namespace {

/// Below this many files a second thread costs more than it saves.
constexpr size_t filesPerWorker = 16;

/// Where a kept transcript goes in the newest-first order.
struct OrderKey {
    std::string key; // start time, or the date when there is none
    std::string path;
};

} // namespace

bool MeetingStore::isMarkdownPath(std::string_view path) {
    size_t slash = path.rfind('/');
    std::string_view name = slash == std::string_view::npos ? path : path.substr(slash + 1);
    size_t dot = name.rfind('.');
    if (dot == std::string_view::npos || dot == 0) return false;
    return ICUText::lowercased(name.substr(dot + 1)) == "md";
}

std::vector<std::string> MeetingStore::candidateFiles() const {
    if (!platform::isDirectory(folder)) throw StoreError::folderMissing(folder);
    std::vector<bool> isLink;
    auto listed = platform::listFilesRecursively(platform::absolutePath(folder), &isLink);
    if (!listed) return {};          // a folder we may not read lists nothing
    std::optional<std::string> root; // resolved at the first link, if any
    std::vector<std::string> candidates;
    for (size_t i = 0; i < listed->size(); ++i) {
        std::string& path = (*listed)[i];
        // A name that is not UTF-8 could not be shown to the agent nor sent back by it to read.
        if (!UTF8::isValid(path) || !isMarkdownPath(path) || SkillsFolder::holds(path, memoryFolderName))
            continue;
        // Folders are never entered through links, so only a file link can lead elsewhere: it
        // is listed only where reading it would be allowed, so that no tool shows what
        // read_meeting refuses.
        if (isLink[i]) {
            if (!root) root = resolvedRoot();
            try {
                resolveAgainst(*root, path);
            } catch (const StoreError&) {
                continue;
            }
        }
        candidates.push_back(std::move(path));
    }
    return candidates;
}

std::vector<size_t> MeetingStore::visitFiles(const std::vector<std::string>& files,
                                             const std::function<bool(size_t, FileVisit&)>& visit,
                                             const RawTest& mayYield, unsigned workers) const {
    std::vector<std::optional<OrderKey>> keys(files.size());
    std::atomic<bool> failed{false};
    std::mutex failureLock;
    std::exception_ptr failure;
    workers = Workers::count(workers, (files.size() + filesPerWorker - 1) / filesPerWorker);
    std::vector<std::string> buffers(workers); // one per thread, reused from file to file

    // Each index's slots are written by the one thread that takes it, so the outcome is the same
    // for any number of workers.
    Workers::forEachIndex(files.size(), workers, [&](size_t i, unsigned worker) {
        if (failed) return; // a visitor failed: the rest of the list is left
        std::string& buffer = buffers[worker];
        std::optional<TranscriptDocument> header;
        std::string path;
        std::string_view text;
        try {
            auto length = platform::readFileInto(files[i], buffer, FileLimits::transcriptBytes);
            if (!length) return;
            text = std::string_view(buffer.data(), *length);
            if (mayYield && !mayYield(text)) return;
            if (!UTF8::isValid(text) || !ZelmorTranscriptMarker::declares(text)) return;
            header = MarkdownTranscriptParser::parseFrontmatter(text);
            if (!header) return;
            path = platform::standardizePath(files[i]);
        } catch (...) {
            return; // one bad file (even out of memory on a huge one) never ends the scan
        }
        OrderKey key{header->startedAt.empty() ? header->date : header->startedAt, path};
        try {
            FileVisit file{path, *header, text};
            if (visit(i, file)) keys[i] = std::move(key);
        } catch (const std::bad_alloc&) {
            // Out of memory on one file is that file's fault, as in the read above: left out.
        } catch (...) {
            std::lock_guard<std::mutex> hold(failureLock);
            if (!failure) failure = std::current_exception();
            failed = true;
        }
    });
    if (failure) std::rethrow_exception(failure);

    std::vector<size_t> order;
    for (size_t i = 0; i < keys.size(); ++i)
        if (keys[i]) order.push_back(i);
    std::sort(order.begin(), order.end(), [&](size_t a, size_t b) {
        int byKey = keys[a]->key.compare(keys[b]->key);
        return byKey != 0 ? byKey > 0 : keys[a]->path > keys[b]->path;
    });
    return order;
}

std::vector<MeetingStore::Meeting> MeetingStore::scan() const {
    return scan(0);
}

std::vector<MeetingStore::Meeting> MeetingStore::scan(unsigned workers) const {
    return collect(
        [](FileVisit& file) -> std::optional<Meeting> {
            try {
                MarkdownTranscriptParser::parseBody(file.text, file.header);
                return Meeting{file.path, std::move(file.header)};
            } catch (...) {
                return std::nullopt; // a body too big to hold is one bad file, not a failed scan
            }
        },
        workers);
}

std::vector<MeetingStore::Meeting> MeetingStore::scanHeaders(unsigned workers) const {
    return collect(
        [](FileVisit& file) {
            return std::optional<Meeting>{Meeting{file.path, std::move(file.header)}};
        },
        workers);
}

std::string MeetingStore::resolvedRoot() const {
    return platform::resolveSymlinks(platform::absolutePath(folder));
}

std::string MeetingStore::resolveInsideFolder(std::string_view path) const {
    return resolveAgainst(resolvedRoot(), path);
}

std::string MeetingStore::resolveAgainst(const std::string& root, std::string_view path) const {
    std::string candidate = platform::absolutePath(path);
    // A NUL would cut the path short at the OS; such a path is checked as written and cannot be read.
    if (candidate.find('\0') == std::string::npos) candidate = platform::resolveSymlinks(candidate);

    // The root "/" gives the prefix "//", which no resolved path carries: serving the whole disk
    // leaves nothing readable but "/" itself, which is refused as not markdown.
    bool inside = candidate == root || candidate.starts_with(root + "/");
    if (!inside) throw StoreError::outsideFolder(std::string(path));
    if (!isMarkdownPath(candidate)) throw StoreError::notMarkdown(std::string(path));
    if (SkillsFolder::holds(candidate, memoryFolderName)) throw StoreError::skillFile(std::string(path));
    return candidate;
}

std::string MeetingStore::readInsideFolder(std::string_view path) const {
    std::string file = resolveInsideFolder(path);
    // The checked path holds no links; opening it without following any, and only if it is still
    // the file just looked at, keeps a link swapped in meanwhile from leading outside the folder.
    std::optional<std::string> text;
    if (auto identity = platform::regularFileIdentity(file))
        text = platform::readFileWithoutLinks(file, *identity, FileLimits::transcriptBytes);
    if (!text || !UTF8::isValid(*text)) throw StoreError::notFound(std::string(path));
    return std::move(*text);
}

bool MeetingStore::isGenericSpeakerLabel(std::string_view name) {
    constexpr std::string_view prefix = "Speaker ";
    if (!name.starts_with(prefix)) return false;
    return ICUText::isNumeric(name.substr(prefix.size()));
}

std::vector<MeetingStore::ParticipantSummary> MeetingStore::participants() const {
    return participantsOf(scanHeaders());
}

std::vector<MeetingStore::ParticipantSummary>
MeetingStore::participantsOf(const std::vector<Meeting>& meetings) {
    std::map<std::string, ParticipantSummary, std::less<>> byName;
    for (const Meeting& meeting : meetings) {
        for (const std::string& listed : meeting.doc.participants) {
            std::string_view name = Whitespace::trimSpacesAndTabs(listed);
            if (name.empty()) continue;
            auto found = byName.find(name);
            if (found == byName.end()) {
                // Meetings come newest first, so the first meeting to list a name is its latest.
                ParticipantSummary first{std::string(name), 0, meeting.doc.date, meeting.doc.title,
                                         isGenericSpeakerLabel(name)};
                found = byName.emplace(first.name, std::move(first)).first;
            }
            ++found->second.meetingCount;
        }
    }
    std::vector<ParticipantSummary> rows;
    rows.reserve(byName.size());
    for (auto& [name, summary] : byName) rows.push_back(std::move(summary));
    // The map already gives names in byte order, so a stable sort by count finishes the order.
    std::stable_sort(rows.begin(), rows.end(), [](const ParticipantSummary& a, const ParticipantSummary& b) {
        return a.meetingCount > b.meetingCount;
    });
    return rows;
}

} // namespace zelmor
