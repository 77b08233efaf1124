// Scanning, path checks and the participant directory. Every tool call rescans the whole folder
// (thousands of files for a heavy user), so the read-and-parse step runs on all cores.
#include "ZelmorMCP/MeetingStore.h"

#include "ZelmorMarkdownKit/ICUText.h"
#include "ZelmorMarkdownKit/MarkdownTranscriptParser.h"
#include "ZelmorMarkdownKit/UTF8.h"
#include "ZelmorMarkdownKit/Whitespace.h"
#include "ZelmorMarkdownKit/ZelmorTranscriptMarker.h"
#include "platform/FileSystem.h"
#include "platform/FolderListing.h"

#include <algorithm>
#include <atomic>
#include <map>
#include <optional>
#include <thread>

namespace zelmor {

namespace {

/// Below this many files a second thread costs more than it saves.
constexpr size_t filesPerWorker = 16;
/// Reading is bound by the disk as much as by parsing; more threads than this only contend.
constexpr unsigned maxWorkers = 8;

/// The extension of the last path component, lower-cased; a leading dot alone (".md") is a
/// hidden name, not an extension.
bool hasMarkdownExtension(std::string_view path) {
    size_t slash = path.rfind('/');
    std::string_view name = slash == std::string_view::npos ? path : path.substr(slash + 1);
    size_t dot = name.rfind('.');
    if (dot == std::string_view::npos || dot == 0) return false;
    return ICUText::lowercased(name.substr(dot + 1)) == "md";
}

/// Reads, checks and parses one listed file; nothing when it is not a transcript.
std::optional<MeetingStore::Meeting> meetingAt(const std::string& path) {
    try {
        auto text = platform::readFile(path);
        if (!text || !UTF8::isValid(*text) || !ZelmorTranscriptMarker::declares(*text)) return std::nullopt;
        auto doc = MarkdownTranscriptParser::parse(*text);
        if (!doc) return std::nullopt;
        return MeetingStore::Meeting{platform::standardizePath(path), std::move(*doc)};
    } catch (...) {
        return std::nullopt; // one bad file (even out of memory on a huge one) never ends the scan
    }
}

/// Each worker takes the next unclaimed index; results land in their own slots, so nothing
/// else is shared and the outcome is the same for any number of workers.
std::vector<std::optional<MeetingStore::Meeting>> readAll(const std::vector<std::string>& paths,
                                                          unsigned workers) {
    std::vector<std::optional<MeetingStore::Meeting>> results(paths.size());
    std::atomic<size_t> next{0};
    auto work = [&] {
        for (size_t i = next++; i < paths.size(); i = next++) results[i] = meetingAt(paths[i]);
    };
    if (workers == 0) workers = std::max(1u, std::min(maxWorkers, std::thread::hardware_concurrency()));
    workers = static_cast<unsigned>(
        std::min<size_t>(workers, (paths.size() + filesPerWorker - 1) / filesPerWorker));
    std::vector<std::thread> threads;
    try {
        threads.reserve(workers);
        for (unsigned k = 1; k < workers; ++k) threads.emplace_back(work);
    } catch (...) {
        // No more threads to be had: the ones running and this one finish the list.
    }
    work();
    for (auto& thread : threads) thread.join();
    return results;
}

const std::string& sortKey(const MeetingStore::Meeting& meeting) {
    return meeting.doc.startedAt.empty() ? meeting.doc.date : meeting.doc.startedAt;
}

} // namespace

std::vector<MeetingStore::Meeting> MeetingStore::scan() const {
    return scan(0);
}

std::vector<MeetingStore::Meeting> MeetingStore::scan(unsigned workers) const {
    if (!platform::isDirectory(folder)) throw StoreError::folderMissing(folder);
    auto listed = platform::listFilesRecursively(platform::absolutePath(folder));
    if (!listed) return {}; // a folder we may not read lists nothing

    std::vector<std::string> candidates;
    for (auto& path : *listed) {
        // A name that is not UTF-8 could not be shown to the agent nor sent back by it to read.
        if (!UTF8::isValid(path)) continue;
        if (hasMarkdownExtension(path) && !SkillsFolder::holds(path, memoryFolderName))
            candidates.push_back(std::move(path));
    }

    std::vector<Meeting> meetings;
    for (auto& result : readAll(candidates, workers)) {
        if (result) meetings.push_back(std::move(*result));
    }
    std::sort(meetings.begin(), meetings.end(), [](const Meeting& a, const Meeting& b) {
        int byKey = sortKey(a).compare(sortKey(b));
        return byKey != 0 ? byKey > 0 : a.path > b.path;
    });
    return meetings;
}

std::string MeetingStore::resolveInsideFolder(std::string_view path) const {
    std::string root = platform::resolveSymlinks(platform::absolutePath(folder));
    std::string candidate = platform::absolutePath(path);
    // A NUL would cut the path short at the OS; such a path is checked as written and cannot be read.
    if (candidate.find('\0') == std::string::npos) candidate = platform::resolveSymlinks(candidate);

    bool inside = candidate == root || candidate.starts_with(root == "/" ? root : root + "/");
    if (!inside) throw StoreError::outsideFolder(std::string(path));
    if (!hasMarkdownExtension(candidate)) throw StoreError::notMarkdown(std::string(path));
    if (SkillsFolder::holds(candidate, memoryFolderName)) throw StoreError::skillFile(std::string(path));
    return candidate;
}

std::string MeetingStore::readInsideFolder(std::string_view path) const {
    std::string file = resolveInsideFolder(path);
    // The checked path holds no links; opening it without following any, and only if it is still
    // the file just looked at, keeps a link swapped in meanwhile from leading outside the folder.
    std::optional<std::string> text;
    if (auto identity = platform::regularFileIdentity(file))
        text = platform::readFileWithoutLinks(file, *identity);
    if (!text || !UTF8::isValid(*text)) throw StoreError::notFound(std::string(path));
    return std::move(*text);
}

bool MeetingStore::isGenericSpeakerLabel(std::string_view name) {
    constexpr std::string_view prefix = "Speaker ";
    if (!name.starts_with(prefix)) return false;
    return ICUText::isNumeric(name.substr(prefix.size()));
}

std::vector<MeetingStore::ParticipantSummary> MeetingStore::participants() const {
    std::map<std::string, ParticipantSummary, std::less<>> byName;
    for (const Meeting& meeting : scan()) {
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
