// One pass over the frontmatter lines and one over the body's heading characters; it runs on
// every file of every scan, so it works on views of the text and copies only the values it keeps.
#include "ZelmorMarkdownKit/format/MarkdownTranscriptParser.h"

#include "ZelmorMarkdownKit/text/ASCII.h"
#include "ZelmorMarkdownKit/text/Whitespace.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

namespace zelmor::MarkdownTranscriptParser {

namespace {

using Whitespace::trim;
using Whitespace::trimSpacesAndTabs;

std::optional<std::string_view> frontmatterValue(std::string_view key, std::string_view line) {
    if (line.size() <= key.size() || line.compare(0, key.size(), key) != 0 || line[key.size()] != ':')
        return std::nullopt;
    return trimSpacesAndTabs(line.substr(key.size() + 1));
}

std::string unquoted(std::string_view value) {
    if (value.size() < 2 || value.front() != '"' || value.back() != '"') return std::string(value);
    std::string out;
    value = value.substr(1, value.size() - 2);
    out.reserve(value.size());
    for (size_t i = 0; i < value.size(); ++i) {
        if (value[i] == '\\' && i + 1 < value.size() && value[i + 1] == '"') continue;
        out += value[i];
    }
    return out;
}

long long integerValue(std::string_view value) {
    // An optional sign, then ASCII digits only; anything else (or overflow) reads as 0.
    std::string_view digits = value;
    bool negative = false;
    if (!digits.empty() && (digits[0] == '+' || digits[0] == '-')) {
        negative = digits[0] == '-';
        digits.remove_prefix(1);
    }
    if (digits.empty() ||
        !std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; }))
        return 0;
    unsigned long long magnitude = 0;
    auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), magnitude);
    if (error != std::errc() || end != digits.data() + digits.size()) return 0;
    constexpr auto limit = static_cast<unsigned long long>(std::numeric_limits<long long>::max());
    if (negative) return magnitude > limit + 1 ? 0 : static_cast<long long>(0ULL - magnitude);
    return magnitude > limit ? 0 : static_cast<long long>(magnitude);
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// Decimal notation only: an optional sign, digits with an optional fraction (at least one digit
/// in all), then an optional exponent. Hex, "inf" and "nan" are not decimal numbers.
bool isDecimalNumber(std::string_view value) {
    size_t i = 0;
    auto digitsFrom = [&] {
        size_t start = i;
        while (i < value.size() && isDigit(value[i])) ++i;
        return i - start;
    };
    if (i < value.size() && (value[i] == '+' || value[i] == '-')) ++i;
    size_t mantissa = digitsFrom();
    if (i < value.size() && value[i] == '.') {
        ++i;
        mantissa += digitsFrom();
    }
    if (mantissa == 0) return false;
    if (i < value.size() && (value[i] == 'e' || value[i] == 'E')) {
        ++i;
        if (i < value.size() && (value[i] == '+' || value[i] == '-')) ++i;
        if (digitsFrom() == 0) return false;
    }
    return i == value.size();
}

std::optional<double> decimalValue(std::string_view value) {
    if (!isDecimalNumber(value)) return std::nullopt;
    // The text is plain decimal now, so strtod reads all of it; past the range it gives ±inf or 0.
    return std::strtod(std::string(value).c_str(), nullptr);
}

std::vector<std::string> parseInlineTags(std::string_view value) {
    std::vector<std::string> tags;
    if (value.size() >= 2 && value.front() == '[' && value.back() == ']') {
        std::string_view inner = value.substr(1, value.size() - 2);
        size_t start = 0;
        while (start <= inner.size()) {
            size_t comma = inner.find(',', start);
            if (comma == std::string_view::npos) comma = inner.size();
            std::string tag = unquoted(trimSpacesAndTabs(inner.substr(start, comma - start)));
            if (!tag.empty()) tags.push_back(std::move(tag));
            start = comma + 1;
        }
    } else if (std::string tag = unquoted(value); !tag.empty()) {
        tags.push_back(std::move(tag));
    }
    return tags;
}

enum class OpenList { none, participants, pendingAudio, tags };

struct FrontmatterState {
    TranscriptDocument& doc;
    OpenList list = OpenList::none;
    bool sawSource = false;
};

struct KeyRule {
    std::string_view key;
    void (*apply)(std::string_view value, FrontmatterState& state);
};

// Tested in this order for each line; the first key that matches wins.
constexpr KeyRule keyRules[] = {
    {"title", [](std::string_view v, FrontmatterState& s) { s.doc.title = unquoted(v); }},
    {"started_at", [](std::string_view v, FrontmatterState& s) { s.doc.startedAt = v; }},
    {"date", [](std::string_view v, FrontmatterState& s) { s.doc.date = v; }},
    {"duration_min", [](std::string_view v, FrontmatterState& s) { s.doc.durationMin = integerValue(v); }},
    {"source_app", [](std::string_view v, FrontmatterState& s) { s.doc.sourceApp = unquoted(v); }},
    {"source",
     [](std::string_view v, FrontmatterState& s) {
         s.doc.source = v;
         s.sawSource = true;
     }},
    {"asr_summary", [](std::string_view v, FrontmatterState& s) { s.doc.asrSummary = unquoted(v); }},
    {"asr", [](std::string_view v, FrontmatterState& s) { s.doc.asr = v; }},
    {"status", [](std::string_view v, FrontmatterState& s) { s.doc.status = v; }},
    {"private",
     [](std::string_view v, FrontmatterState& s) {
         std::string flag = ASCII::lowercased(unquoted(v));
         s.doc.isPrivate = flag == "true" || flag == "yes" || flag == "1";
     }},
    {"calendar_event_id",
     [](std::string_view v, FrontmatterState& s) { s.doc.calendarEventID = unquoted(v); }},
    {"spend_id", [](std::string_view v, FrontmatterState& s) { s.doc.spendID = unquoted(v); }},
    {"pending_offset",
     [](std::string_view v, FrontmatterState& s) {
         if (auto number = decimalValue(v)) {
             s.doc.pendingOffsetSeconds = *number;
             s.doc.hasPendingOffset = true;
         }
     }},
    {"pending_reason", [](std::string_view v, FrontmatterState& s) { s.doc.pendingReason = unquoted(v); }},
    {"topic_hint", [](std::string_view v, FrontmatterState& s) { s.doc.topicHint = unquoted(v); }},
    {"participants", [](std::string_view, FrontmatterState& s) { s.list = OpenList::participants; }},
    {"pending_audio", [](std::string_view, FrontmatterState& s) { s.list = OpenList::pendingAudio; }},
    {"tags",
     [](std::string_view v, FrontmatterState& s) {
         if (v.empty())
             s.list = OpenList::tags;
         else
             for (auto& tag : parseInlineTags(v)) s.doc.tags.push_back(std::move(tag));
     }},
};

void addListItem(std::string_view item, FrontmatterState& state) {
    switch (state.list) {
    case OpenList::participants:
        state.doc.participants.emplace_back(item);
        break;
    case OpenList::pendingAudio:
        state.doc.pendingAudioPaths.push_back(unquoted(item));
        break;
    case OpenList::tags:
        if (std::string tag = unquoted(item); !tag.empty()) state.doc.tags.push_back(std::move(tag));
        break;
    case OpenList::none:
        break;
    }
}

void readFrontmatter(std::string_view frontmatter, TranscriptDocument& doc) {
    FrontmatterState state{doc};
    size_t start = 0;
    while (start <= frontmatter.size()) {
        size_t end = frontmatter.find('\n', start);
        if (end == std::string_view::npos) end = frontmatter.size();
        std::string_view line = frontmatter.substr(start, end - start);
        start = end + 1;

        if (line.substr(0, 4) == "  - ") {
            addListItem(trimSpacesAndTabs(line.substr(4)), state);
            continue;
        }
        state.list = OpenList::none; // any other line, blank ones included, ends a list
        for (const auto& rule : keyRules) {
            if (auto value = frontmatterValue(rule.key, line)) {
                rule.apply(*value, state);
                break;
            }
        }
    }
    if (!state.sawSource) doc.source = "Zelmor";
}

constexpr size_t headerCount = std::size(knownSectionHeaders);

/// Where the six headings and the block marker stand in a body, found in one pass over its "#"
/// and "<" characters (rare in speech) rather than one search of the whole body per heading
/// and section.
struct Landmarks {
    /// Per heading, the first offset where it is followed by "\n"; npos when there is none.
    std::array<size_t, headerCount> firstFollowedByLineBreak;
    /// Per heading, then for the block marker: the offsets, ascending, where it follows a "\n".
    std::array<std::vector<size_t>, headerCount + 1> afterLineBreak;

    explicit Landmarks(std::string_view body) {
        firstFollowedByLineBreak.fill(std::string_view::npos);
        auto record = [&](size_t at, size_t needle, std::string_view text) {
            if (body.compare(at, text.size(), text) != 0) return;
            if (at > 0 && body[at - 1] == '\n') afterLineBreak[needle].push_back(at);
            if (needle < headerCount && firstFollowedByLineBreak[needle] == std::string_view::npos &&
                at + text.size() < body.size() && body[at + text.size()] == '\n')
                firstFollowedByLineBreak[needle] = at;
        };
        for (size_t at = body.find('#'); at != std::string_view::npos; at = body.find('#', at + 1)) {
            for (size_t k = 0; k < headerCount; ++k) record(at, k, knownSectionHeaders[k]);
        }
        for (size_t at = body.find('<'); at != std::string_view::npos; at = body.find('<', at + 1))
            record(at, headerCount, machineBlockEndMarker);
    }
};

/// The text after the first heading line up to the first line break that, at or after the
/// section's start, is followed by another known heading or by the block marker.
std::string_view section(std::string_view body, size_t headerIndex, const Landmarks& landmarks) {
    size_t at = landmarks.firstFollowedByLineBreak[headerIndex];
    if (at == std::string_view::npos) return {};
    size_t start = at + knownSectionHeaders[headerIndex].size() + 1;
    size_t end = body.size();
    for (size_t needle = 0; needle <= headerCount; ++needle) {
        if (needle == headerIndex) continue;
        for (size_t found : landmarks.afterLineBreak[needle]) {
            if (found - 1 >= start) {
                end = std::min(end, found - 1);
                break;
            }
        }
    }
    return body.substr(start, end - start);
}

std::string stripCommentLines(std::string_view text) {
    if (text.find("<!--") == std::string_view::npos) return std::string(text);
    std::string out;
    bool first = true;
    size_t start = 0;
    while (start <= text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string_view::npos) end = text.size();
        std::string_view line = text.substr(start, end - start);
        start = end + 1;
        std::string_view bare = trimSpacesAndTabs(line);
        if (bare.size() >= 4 && bare.substr(0, 4) == "<!--" && bare.size() >= 3 &&
            bare.substr(bare.size() - 3) == "-->")
            continue;
        if (!first) out += '\n';
        out += line;
        first = false;
    }
    return out;
}

/// Hands each turn of a transcript section to `visit` as views, until it answers false (then
/// false): a paragraph opening with a bold "**Speaker:**" label starts a turn, any other
/// paragraph continues the turn before it.
template <typename Visit> bool forEachTurn(std::string_view section, Visit&& visit) {
    std::string_view speaker;
    std::vector<std::string_view> paragraphs;
    auto flush = [&] { return speaker.empty() || visit(TurnText{speaker, paragraphs}); };
    size_t start = 0;
    while (start <= section.size()) {
        size_t end = section.find("\n\n", start);
        if (end == std::string_view::npos) end = section.size();
        std::string_view paragraph = trim(section.substr(start, end - start));
        start = end + 2;
        if (paragraph.empty()) continue;
        size_t close = paragraph.size() >= 2 && paragraph.substr(0, 2) == "**" ? paragraph.find(":**")
                                                                               : std::string_view::npos;
        if (close != std::string_view::npos) {
            std::string_view label = paragraph.substr(2, close - 2);
            std::string_view text = paragraph.substr(close + 3);
            if (!text.empty() && text[0] == ' ') text.remove_prefix(1);
            // A label with no name starts nothing, and what follows it still continues the turn before.
            if (label.empty()) continue;
            if (!flush()) return false;
            speaker = label;
            paragraphs.assign(1, text);
        } else if (!speaker.empty()) {
            paragraphs.push_back(paragraph);
        }
    }
    return flush();
}

std::vector<TranscriptDocument::Turn> parseTurns(std::string_view section) {
    std::vector<TranscriptDocument::Turn> turns;
    forEachTurn(section, [&](const TurnText& turn) {
        std::string text(turn.paragraphs.front());
        for (size_t k = 1; k < turn.paragraphs.size(); ++k) text.append("\n\n").append(turn.paragraphs[k]);
        turns.push_back({std::string(turn.speaker), std::move(text)});
        return true;
    });
    return turns;
}

std::string replaceCRLF(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    size_t from = 0;
    for (size_t at = text.find("\r\n"); at != std::string_view::npos; at = text.find("\r\n", at + 2)) {
        out.append(text, from, at - from);
        from = at + 1; // the "\n" starts the next run
    }
    out.append(text, from);
    return out;
}

/// The frontmatter and the body of a text with "\r\n" normalised, viewed in `storage` or in
/// the original; nothing when there is no frontmatter. Without `withBody` the body may keep
/// its "\r\n".
struct Parts {
    std::string_view frontmatter;
    std::string_view body;
};

std::optional<Parts> split(std::string_view original, std::string& storage, bool withBody) {
    // With no "\r" up to the first "\n---\n", normalising leaves the frontmatter and the start
    // of the body where they are: the rest of the file is looked at only when the body is wanted.
    if (original.starts_with("---\n")) {
        size_t close = original.find("\n---\n", 4);
        if (close != std::string_view::npos &&
            original.substr(0, close + 5).find('\r') == std::string_view::npos) {
            std::string_view body = original.substr(close + 5);
            if (withBody && body.find("\r\n") != std::string_view::npos) {
                storage = replaceCRLF(body);
                body = storage;
            }
            return Parts{original.substr(4, close - 4), body};
        }
    }
    std::string_view text = original;
    if (original.find("\r\n") != std::string_view::npos) {
        storage = replaceCRLF(original);
        text = storage;
    }
    if (text.size() < 4 || text.substr(0, 4) != "---\n") return std::nullopt;

    size_t close = text.find("\n---\n", 4);
    size_t bodyStart = close + 5;
    if (close == std::string_view::npos) {
        close = text.find("\n---", 4);
        if (close == std::string_view::npos) return std::nullopt;
        bodyStart = close + 4;
    }
    return Parts{text.substr(4, close - 4), text.substr(bodyStart)};
}

void readBody(std::string_view body, TranscriptDocument& doc, const TurnVisitor* visit) {
    Landmarks landmarks(body);
    doc.notes = trim(section(body, 0, landmarks));
    if (!visit)
        doc.turns = parseTurns(section(body, 1, landmarks));
    else if (!forEachTurn(section(body, 1, landmarks), *visit))
        return;
    doc.summary = trim(stripCommentLines(section(body, 2, landmarks)));
    doc.meetingNotes = trim(stripCommentLines(section(body, 3, landmarks)));
    doc.actionItems = trim(stripCommentLines(section(body, 4, landmarks)));
    doc.keyMoments = trim(stripCommentLines(section(body, 5, landmarks)));
}

} // namespace

std::optional<TranscriptDocument> parse(std::string_view text) {
    std::string storage;
    auto parts = split(text, storage, true);
    if (!parts) return std::nullopt;
    TranscriptDocument doc;
    readFrontmatter(parts->frontmatter, doc);
    readBody(parts->body, doc, nullptr);
    return doc;
}

std::optional<TranscriptDocument> parseFrontmatter(std::string_view text) {
    std::string storage;
    auto parts = split(text, storage, false);
    if (!parts) return std::nullopt;
    TranscriptDocument doc;
    readFrontmatter(parts->frontmatter, doc);
    return doc;
}

void parseBody(std::string_view text, TranscriptDocument& doc) {
    std::string storage;
    if (auto parts = split(text, storage, true)) readBody(parts->body, doc, nullptr);
}

void parseBody(std::string_view text, TranscriptDocument& doc, const TurnVisitor& visit) {
    std::string storage;
    if (auto parts = split(text, storage, true)) readBody(parts->body, doc, &visit);
}

} // namespace zelmor::MarkdownTranscriptParser
