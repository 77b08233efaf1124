// JSON exports: lifelog data first, then speech segments found at any depth up to a bound.
// The dialect comes from the segments' own keys, so one file can mix tools.
#include "ZelmorMarkdownKit/import/TranscriptImportJSON.h"

#include "ZelmorMarkdownKit/import/TranscriptImportSpeakerLines.h"
#include "ZelmorMarkdownKit/import/TranscriptImportTextParsers.h"
#include "ZelmorMarkdownKit/text/CalendarDays.h"
#include "ZelmorMarkdownKit/text/ICUText.h"
#include "ZelmorMarkdownKit/text/Whitespace.h"

#include <unicode/gregocal.h>
#include <unicode/timezone.h>

#include <cmath>
#include <cstdio>
#include <memory>

namespace zelmor::TranscriptImport {

namespace {

using nlohmann::json;
using Turn = TranscriptDocument::Turn;

/// Container keys that carry a meeting's day, in the order they are read.
constexpr std::string_view dateKeys[] = {"date",         "start_time",           "startTime", "started_at",
                                         "start",        "created_at",           "createdAt", "created",
                                         "meeting_date", "recording_start_time", "dateString"};

constexpr int maxLifelogDepth = 32;

const json* member(const json& object, std::string_view key) {
    if (!object.is_object()) return nullptr;
    auto found = object.find(key);
    return found == object.end() ? nullptr : &*found;
}

std::optional<std::string> text(const json& object, std::string_view key) {
    const json* value = member(object, key);
    if (value == nullptr || !value->is_string()) return std::nullopt;
    return value->get<std::string>();
}

std::optional<std::string> nonEmptyText(const json& object, std::string_view key) {
    auto value = text(object, key);
    if (!value) return std::nullopt;
    std::string_view trimmed = Whitespace::trim(*value);
    if (trimmed.empty()) return std::nullopt;
    return std::string(trimmed);
}

bool isListOfObjects(const json& value) {
    if (!value.is_array()) return false;
    for (const json& element : value) {
        if (!element.is_object()) return false;
    }
    return true;
}

std::optional<std::string> dayOfValue(const json& value) {
    if (value.is_number()) return utcDay(value.get<double>());
    if (!value.is_string()) return std::nullopt;
    std::string_view written = Whitespace::trim(value.get_ref<const std::string&>());
    if (auto day = isoDay(written)) return day;
    // Some tools write epoch numbers as strings.
    if (!written.empty() && written.size() <= 16 &&
        written.find_first_not_of("0123456789") == std::string_view::npos) {
        return utcDay(std::stod(std::string(written)));
    }
    return std::nullopt;
}

void walkContents(const json& nodes, int depth, std::vector<Turn>& turns) {
    if (depth > maxLifelogDepth || !nodes.is_array()) return;
    for (const json& node : nodes) {
        if (!node.is_object()) continue;
        std::string type = text(node, "type").value_or("");
        // Headings title the entry and its sections; every other node with content is speech.
        if (type.rfind("heading", 0) != 0) {
            if (auto content = text(node, "content")) {
                // The wearer is marked "user" and named "You"; both mean the app's "Me".
                std::optional<std::string> speaker;
                if (text(node, "speakerIdentifier") == "user") speaker = "Me";
                if (!speaker) {
                    if (auto name = text(node, "speakerName")) speaker = named(*name);
                    if (speaker) speaker = normalizeSpeaker(*speaker);
                }
                append(turns, speaker.value_or("Speaker 1"), *content);
            }
        }
        if (const json* children = member(node, "children")) walkContents(*children, depth + 1, turns);
    }
}

/// A title and day seen on an enclosing object, for segments whose own container has none.
struct Inherited {
    std::optional<std::string> title;
    std::optional<std::string> date;
};

std::optional<std::string> titleOf(const json& container) {
    if (auto title = nonEmptyText(container, "title")) return title;
    return nonEmptyText(container, "meeting_title");
}

ParsedMeeting meetingFrom(const json& segments, const json& container, const Inherited& inherited) {
    ParsedMeeting meeting;
    for (const json& segment : segments) {
        if (!segment.is_object()) continue;
        SegmentSpeaker speaker = speakerOf(segment);
        if (!meeting.format) meeting.format = speaker.format;
        std::optional<std::string> spoken = text(segment, "text");
        if (!spoken) spoken = text(segment, "content");
        if (!spoken) spoken = text(segment, "raw_text");
        if (spoken) append(meeting.turns, speaker.name.value_or("Speaker 1"), *spoken);
    }
    meeting.title = titleOf(container);
    if (!meeting.title) meeting.title = inherited.title;
    meeting.date = dateOf(container);
    if (!meeting.date) meeting.date = inherited.date;
    return meeting;
}

void collectMeetings(const json& value, int depth, const Inherited& inherited,
                     std::vector<ParsedMeeting>& out) {
    if (depth > maxSegmentDepth) return;
    if (value.is_array()) {
        for (const json& element : value) {
            if (element.is_object()) collectMeetings(element, depth + 1, inherited, out);
        }
        return;
    }
    if (!value.is_object()) return;
    for (std::string_view key : segmentKeys) {
        const json* segments = member(value, key);
        // An empty list is a list of objects too: it is this meeting's segments, and it has none.
        if (segments != nullptr && isListOfObjects(*segments)) {
            out.push_back(meetingFrom(*segments, value, inherited));
            return;
        }
    }
    Inherited here{titleOf(value), dateOf(value)};
    if (!here.title) here.title = inherited.title;
    if (!here.date) here.date = inherited.date;
    for (const auto& [key, child] : value.items()) {
        if (child.is_object() || child.is_array()) collectMeetings(child, depth + 1, here, out);
    }
}

/// A top-level list that is itself one meeting's segments.
bool looksLikeSegments(const json& value) {
    if (!value.is_array() || value.empty() || !isListOfObjects(value)) return false;
    for (const json& element : value) {
        if (text(element, "text") || text(element, "content") || text(element, "raw_text")) return true;
    }
    return false;
}

/// The "lifelogs" list of a lifelog export ({"data": {"lifelogs": [...]}} or {"lifelogs": [...]}).
const json* lifelogList(const json& root) {
    if (const json* data = member(root, "data")) {
        if (const json* list = member(*data, "lifelogs")) return list;
    }
    return member(root, "lifelogs");
}

} // namespace

bool isLifelog(const json& value) {
    if (!value.is_object()) return false;
    const json* contents = member(value, "contents");
    return (contents != nullptr && isListOfObjects(*contents)) || value.contains("markdown") ||
           value.contains("startTime");
}

ParsedMeeting lifelog(const json& entry) {
    ParsedMeeting meeting;
    meeting.format = Format::limitlessLifelog;
    meeting.title = nonEmptyText(entry, "title");
    if (const json* start = member(entry, "startTime")) meeting.date = dayOfValue(*start);
    if (const json* contents = member(entry, "contents")) walkContents(*contents, 0, meeting.turns);
    if (meeting.turns.empty()) {
        // Entries fetched without structured contents still carry their markdown rendering.
        if (auto markdown = text(entry, "markdown")) {
            SpeakerMarkdown parsed = parse(*markdown);
            meeting.turns = std::move(parsed.turns);
            if (!meeting.title) meeting.title = parsed.title;
            if (!meeting.date) meeting.date = parsed.date;
        }
    }
    return meeting;
}

std::optional<std::string> named(std::string_view value) {
    std::string_view trimmed = Whitespace::trim(value);
    if (trimmed.empty()) return std::nullopt;
    std::string lower = ICUText::lowercased(trimmed);
    if (lower == "me") return "Me";
    if (lower == "them") return "Them";
    return std::string(trimmed);
}

SegmentSpeaker speakerOf(const json& segment) {
    if (auto name = text(segment, "speaker_name")) return {named(*name), Format::firefliesJSON};
    const json* speaker = member(segment, "speaker");
    if (speaker != nullptr && speaker->is_object()) {
        if (auto name = text(*speaker, "display_name")) return {named(*name), Format::fathomJSON};
    }
    if (auto source = text(segment, "source")) {
        // Any text here marks Granola; only its two audio sources also name the speaker.
        std::string lower = ICUText::lowercased(*source);
        if (lower == "microphone") return {"Me", Format::granolaJSON};
        if (lower == "system") return {"Them", Format::granolaJSON};
        return {std::nullopt, Format::granolaJSON};
    }
    if (speaker != nullptr && speaker->is_string()) {
        std::optional<Format> dialect;
        if (segment.contains("timestamp")) dialect = Format::circlebackJSON;
        return {named(speaker->get_ref<const std::string&>()), dialect};
    }
    if (speaker != nullptr && speaker->is_object()) {
        if (auto name = text(*speaker, "name")) return {named(*name), std::nullopt};
    }
    for (std::string_view key : {"attribution", "diarization_label", "name"}) {
        if (auto name = text(segment, key)) return {named(*name), std::nullopt};
    }
    return {};
}

std::optional<std::string> utcDay(double stamp) {
    if (!std::isfinite(stamp)) return std::nullopt;
    // 1e11 seconds is past the year 5000, while 1e11 milliseconds is in 1973.
    double milliseconds = std::fabs(stamp) >= 1e11 ? stamp : stamp * 1000.0;
    if (std::fabs(milliseconds) > 1e14) return std::nullopt;
    UErrorCode status = U_ZERO_ERROR;
    icu::GregorianCalendar calendar(icu::TimeZone::getGMT()->clone(), status);
    calendar.setTime(milliseconds, status);
    int32_t year = calendar.get(UCAL_EXTENDED_YEAR, status);
    int32_t month = calendar.get(UCAL_MONTH, status) + 1;
    int32_t day = calendar.get(UCAL_DATE, status);
    if (U_FAILURE(status)) return std::nullopt;
    return isoDay(CalendarDays::dayString(year, month, day));
}

std::optional<std::string> dateOf(const json& container) {
    for (std::string_view key : dateKeys) {
        if (const json* value = member(container, key)) {
            if (auto day = dayOfValue(*value)) return day;
        }
    }
    return std::nullopt;
}

std::vector<ParsedMeeting> parseJSONExport(std::string_view source) {
    json root = json::parse(source.begin(), source.end(), nullptr, false);
    if (root.is_discarded()) return {};
    if (const json* list = lifelogList(root)) {
        std::vector<ParsedMeeting> meetings;
        if (list->is_array()) {
            for (const json& entry : *list) {
                if (entry.is_object()) meetings.push_back(lifelog(entry));
            }
        }
        return meetings;
    }
    std::optional<ParsedMeeting> single;
    if (isLifelog(root)) {
        single = lifelog(root);
        if (!single->turns.empty()) return {*single};
    }
    std::vector<ParsedMeeting> meetings;
    collectMeetings(root, 0, {}, meetings);
    if (meetings.empty() && looksLikeSegments(root))
        meetings.push_back(meetingFrom(root, json::object(), {}));
    // An object that only looked like a lifelog (a "startTime" beside segments, say) is read
    // for segments; when it has none it stays the lifelog it claimed to be.
    if (meetings.empty() && single) meetings.push_back(*single);
    return meetings;
}

} // namespace zelmor::TranscriptImport
