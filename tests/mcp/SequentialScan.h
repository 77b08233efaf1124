// The folder scan written as plainly as possible (list, filter, read, check, parse, sort, one file
// at a time): the reference the store's fast paths are held to.
#pragma once

#include "ZelmorMCP/MeetingStore.h"
#include "ZelmorMarkdownKit/format/MarkdownTranscriptParser.h"
#include "ZelmorMarkdownKit/format/SkillsFolder.h"
#include "ZelmorMarkdownKit/format/ZelmorTranscriptMarker.h"
#include "ZelmorMarkdownKit/text/UTF8.h"
#include "platform/FileSystem.h"
#include "platform/FolderListing.h"

#include <algorithm>
#include <cctype>

namespace zelmor::test {

inline std::vector<MeetingStore::Meeting> sequentialScan(const std::string& folder,
                                                         const std::string& memoryFolderName) {
    std::vector<MeetingStore::Meeting> meetings;
    auto listed = platform::listFilesRecursively(folder);
    for (const auto& path : listed.value()) {
        std::string name = path.substr(path.rfind('/') + 1);
        size_t dot = name.rfind('.');
        if (dot == std::string::npos || dot == 0) continue;
        std::string extension = name.substr(dot + 1);
        for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        if (extension != "md" || SkillsFolder::holds(path, memoryFolderName)) continue;
        auto text = platform::readFile(path);
        if (!text || !UTF8::isValid(*text) || !ZelmorTranscriptMarker::declares(*text)) continue;
        auto doc = MarkdownTranscriptParser::parse(*text);
        if (doc) meetings.push_back({platform::standardizePath(path), std::move(*doc)});
    }
    std::sort(meetings.begin(), meetings.end(), [](const auto& a, const auto& b) {
        const std::string& keyA = a.doc.startedAt.empty() ? a.doc.date : a.doc.startedAt;
        const std::string& keyB = b.doc.startedAt.empty() ? b.doc.date : b.doc.startedAt;
        return keyA != keyB ? keyA > keyB : a.path > b.path;
    });
    return meetings;
}

/// The documents as a listing shows them: the frontmatter only.
inline std::vector<MeetingStore::Meeting> withoutBodies(std::vector<MeetingStore::Meeting> meetings) {
    for (auto& meeting : meetings) {
        TranscriptDocument& doc = meeting.doc;
        doc.notes = doc.summary = doc.meetingNotes = doc.actionItems = doc.keyMoments = "";
        doc.turns.clear();
    }
    return meetings;
}

} // namespace zelmor::test
