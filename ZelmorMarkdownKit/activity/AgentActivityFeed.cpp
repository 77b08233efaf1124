// Lines are written and read one by one, so a damaged line costs only itself.
#include "ZelmorMarkdownKit/activity/AgentActivityFeed.h"

#include "ZelmorMarkdownKit/text/CalendarDays.h"
#include "ZelmorMarkdownKit/text/FileLimits.h"
#include "ZelmorMarkdownKit/text/JSONWriter.h"
#include "ZelmorMarkdownKit/text/UTF8.h"
#include "ZelmorMarkdownKit/text/Whitespace.h"
#include "platform/FileSystem.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

namespace zelmor::AgentActivityFeed {

namespace {

using namespace std::chrono;

/// The value of `count` ASCII digits at `at`, or -1 when any of them is not a digit.
int digits(std::string_view text, size_t at, size_t count) {
    int value = 0;
    for (size_t i = at; i < at + count; ++i) {
        if (text[i] < '0' || text[i] > '9') return -1;
        value = value * 10 + (text[i] - '0');
    }
    return value;
}

/// Seconds east of UTC for "Z", "+hh:mm" or "-hh:mm" filling the whole text.
std::optional<long long> offsetSeconds(std::string_view zone) {
    if (zone == "Z") return 0;
    if (zone.size() != 6 || (zone[0] != '+' && zone[0] != '-') || zone[3] != ':') return std::nullopt;
    int hours = digits(zone, 1, 2), minutes = digits(zone, 4, 2);
    if (hours < 0 || hours > 23 || minutes < 0 || minutes > 59) return std::nullopt;
    long long seconds = hours * 3600LL + minutes * 60LL;
    return zone[0] == '-' ? -seconds : seconds;
}

std::optional<std::string> optionalString(const nlohmann::json& object, const char* key, bool& ok) {
    auto member = object.find(key);
    if (member == object.end() || member->is_null()) return std::nullopt;
    if (member->is_string()) return member->get<std::string>();
    ok = false;
    return std::nullopt;
}

std::optional<Entry> decodedEntry(std::string_view line) {
    nlohmann::json object = nlohmann::json::parse(line.begin(), line.end(), nullptr, false);
    if (object.is_discarded() || !object.is_object()) return std::nullopt;
    auto ts = object.find("ts"), tool = object.find("tool"), triggered = object.find("triggered");
    if (ts == object.end() || !ts->is_string() || tool == object.end() || !tool->is_string() ||
        triggered == object.end() || !triggered->is_boolean())
        return std::nullopt;
    std::optional<Instant> instant = parsedTimestamp(ts->get_ref<const std::string&>());
    if (!instant) return std::nullopt;
    bool ok = true;
    Entry entry{*instant,
                tool->get<std::string>(),
                optionalString(object, "detail", ok),
                optionalString(object, "path", ok),
                triggered->get<bool>(),
                optionalString(object, "client", ok)};
    if (!ok) return std::nullopt;
    return entry;
}

/// The text cut after `maxTextCharacters` code points, with "…" in place of the rest.
std::string cut(const std::string& text) {
    size_t characters = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        if ((static_cast<unsigned char>(text[i]) & 0xC0) == 0x80) continue; // inside a code point
        if (++characters > maxTextCharacters) return text.substr(0, i) + "\u2026";
    }
    return text;
}

std::string joined(const std::vector<Entry>& list) {
    std::string text;
    for (const Entry& entry : list) {
        if (std::optional<std::string> line = encodedLine(entry)) {
            text += *line;
            text += '\n';
        }
    }
    return text;
}

} // namespace

std::string fileURL(const std::string& supportDirectory) {
    if (!supportDirectory.empty() && supportDirectory.back() == '/')
        return supportDirectory + std::string(fileName);
    return supportDirectory + "/" + std::string(fileName);
}

std::optional<std::string> timestamp(Instant instant) {
    auto seconds = floor<std::chrono::seconds>(instant);
    auto day = floor<days>(seconds);
    year_month_day date(day);
    hh_mm_ss time(seconds - day);
    int year = static_cast<int>(date.year());
    if (year < 0 || year > 9999) return std::nullopt;
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%04d-%02u-%02uT%02d:%02d:%02dZ", year,
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()));
    return std::string(buffer);
}

std::optional<Instant> parsedTimestamp(std::string_view text) {
    // "YYYY-MM-DDThh:mm:ss" and then the zone.
    if (text.size() < 20 || text[4] != '-' || text[7] != '-' || text[10] != 'T' || text[13] != ':' ||
        text[16] != ':')
        return std::nullopt;
    int y = digits(text, 0, 4), mo = digits(text, 5, 2), d = digits(text, 8, 2);
    int h = digits(text, 11, 2), mi = digits(text, 14, 2), s = digits(text, 17, 2);
    std::optional<long long> offset = offsetSeconds(text.substr(19));
    if (y < 0 || mo < 0 || d < 0 || h < 0 || h > 23 || mi < 0 || mi > 59 || s < 0 || s > 59 || !offset)
        return std::nullopt;
    year_month_day date{year(y), month(static_cast<unsigned>(mo)), day(static_cast<unsigned>(d))};
    if (!date.ok()) return std::nullopt;
    long long since1970 =
        sys_days(date).time_since_epoch().count() * 86400LL + h * 3600LL + mi * 60LL + s - *offset;
    // Years the nanosecond clock cannot hold are as unreadable as a bad date.
    constexpr long long limit = duration_cast<std::chrono::seconds>(Instant::duration::max()).count() - 1;
    if (since1970 > limit || since1970 < -limit) return std::nullopt;
    return Instant(std::chrono::seconds(since1970));
}

std::optional<std::string> encodedLine(const Entry& entry) {
    std::optional<std::string> ts = timestamp(entry.ts);
    if (!ts) return std::nullopt;
    // Strings written to disk must read back; ill-formed bytes become U+FFFD.
    nlohmann::json object{{"ts", *ts}, {"tool", UTF8::repaired(entry.tool)}, {"triggered", entry.triggered}};
    if (entry.detail) object["detail"] = UTF8::repaired(*entry.detail);
    if (entry.path) object["path"] = UTF8::repaired(*entry.path);
    if (entry.client) object["client"] = UTF8::repaired(*entry.client);
    return JSONWriter::compact(object);
}

std::vector<Entry> entries(std::string_view text) {
    std::vector<Entry> list;
    // Only "\n" and "\r" break lines: both are always escaped inside JSON strings, unlike U+2028.
    size_t start = 0;
    while (start <= text.size()) {
        size_t end = text.find_first_of("\r\n", start);
        if (end == std::string_view::npos) end = text.size();
        std::string_view line = Whitespace::trimSpacesAndTabs(text.substr(start, end - start));
        if (!line.empty()) {
            if (std::optional<Entry> entry = decodedEntry(line)) list.push_back(std::move(*entry));
        }
        start = end + 1;
    }
    return list;
}

std::vector<Entry> load(const std::string& supportDirectory) {
    std::optional<std::string> text =
        platform::readFile(fileURL(supportDirectory), FileLimits::activityBytes);
    if (!text || !UTF8::isValid(*text)) return {};
    return entries(*text);
}

std::vector<Entry> capped(std::vector<Entry> list, Instant now, const icu::Calendar& calendar) {
    if (std::optional<Instant> cutoff = CalendarDays::adding(-keepDays, now, calendar)) {
        std::erase_if(list, [&](const Entry& entry) { return entry.ts < *cutoff; });
    }
    std::stable_sort(list.begin(), list.end(), [&](const Entry& a, const Entry& b) {
        return std::min(a.ts, now) < std::min(b.ts, now);
    });
    if (list.size() > maxEntries)
        list.erase(list.begin(), list.end() - static_cast<std::ptrdiff_t>(maxEntries));
    return list;
}

void append(const Entry& entry, const std::string& supportDirectory, Instant now,
            const icu::Calendar& calendar) try {
    std::vector<Entry> list = load(supportDirectory);
    list.push_back(entry);
    for (auto* text : {&list.back().detail, &list.back().path, &list.back().client})
        if (*text) **text = cut(**text);
    platform::writeFileAtomically(fileURL(supportDirectory), joined(capped(std::move(list), now, calendar)));
} catch (...) {
    // Even running out of memory leaves the file as it was and the caller unharmed.
}

void append(const Entry& entry, const std::string& supportDirectory, Instant now) {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Calendar> calendar(icu::Calendar::createInstance(status));
    if (U_FAILURE(status) || !calendar) return;
    append(entry, supportDirectory, now, *calendar);
}

Entry postNotesEntry(const std::string& title, const std::string& path, Instant now) {
    return Entry{now, std::string(postNotesTool), title, path, false, std::nullopt};
}

} // namespace zelmor::AgentActivityFeed
