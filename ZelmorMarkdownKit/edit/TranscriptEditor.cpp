// Edits work on lines split at "\n" only, so a "\r" before it stays part of its line and the
// file keeps its line ends; every match is literal and case-sensitive.
#include "ZelmorMarkdownKit/edit/TranscriptEditor.h"

#include "ZelmorMarkdownKit/edit/NotesBlockWriter.h"
#include "ZelmorMarkdownKit/text/Split.h"
#include "ZelmorMarkdownKit/text/Whitespace.h"

#include <algorithm>
#include <vector>

namespace zelmor::TranscriptEditor {

namespace {

using Whitespace::trim;

constexpr std::string_view provenancePrefix = "<!-- zelmor:written-by ";

template <typename Lines> std::string joinLines(const Lines& lines, std::string_view separator = "\n") {
    std::string out;
    for (size_t i = 0; i < lines.size(); ++i) {
        if (i > 0) out += separator;
        out += lines[i];
    }
    return out;
}

bool isCommentLine(std::string_view line) {
    std::string_view trimmed = Whitespace::trimSpacesAndTabs(line);
    return trimmed.starts_with("<!--") && trimmed.ends_with("-->");
}

/// Where "## Transcript" ends and the first closing marker after it starts.
struct TranscriptTail {
    size_t headingEnd;
    size_t markerStart;
};

std::optional<TranscriptTail> transcriptTail(std::string_view text) {
    constexpr std::string_view heading = "## Transcript";
    size_t found = text.find(heading);
    if (found == std::string_view::npos) return std::nullopt;
    size_t headingEnd = found + heading.size();
    size_t marker = text.find(enhancedBlockEndMarker, headingEnd);
    if (marker == std::string_view::npos) return std::nullopt;
    return TranscriptTail{headingEnd, marker};
}

std::string_view blockInside(std::string_view text, ByteRange block) {
    return text.substr(block.start, block.end - enhancedBlockEndMarker.size() - block.start);
}

// --- AI sections inside a block ---

int canonicalRank(std::string_view header) {
    const auto& headers = NotesBlockWriter::aiSectionHeaders;
    auto found = std::find(std::begin(headers), std::end(headers), header);
    return found == std::end(headers) ? -1 : static_cast<int>(found - std::begin(headers));
}

bool opensBlock(std::string_view header) {
    return std::find(std::begin(blockStartHeaders), std::end(blockStartHeaders), header) !=
           std::end(blockStartHeaders);
}

/// The header a line is the heading of, if any; a "\r" before the line break is allowed.
std::optional<std::string_view> headingOf(std::string_view line) {
    if (line.ends_with("\r")) line.remove_suffix(1);
    return canonicalRank(line) >= 0 ? std::optional(line) : std::nullopt;
}

struct Section {
    std::string_view header;
    std::string text; ///< heading line through the end of the body, trailing space trimmed
};

/// A block's trimmed text cut into what precedes the first AI heading, the sections, and the run
/// of comment lines that ends it.
struct BlockLayout {
    std::string preamble;
    std::vector<Section> sections;
    std::string footer;

    explicit BlockLayout(std::string_view inside) {
        std::vector<std::string_view> lines = Text::split(inside, "\n");
        size_t footerStart = lines.size();
        while (footerStart > 0 &&
               (trim(lines[footerStart - 1]).empty() || isCommentLine(lines[footerStart - 1])))
            --footerStart;
        footer = trim(
            joinLines(std::vector(lines.begin() + static_cast<std::ptrdiff_t>(footerStart), lines.end())));

        std::vector<std::string_view> current;
        std::optional<std::string_view> currentHeader;
        auto close = [&] {
            std::string chunk(trim(joinLines(current)));
            if (currentHeader)
                sections.push_back({*currentHeader, std::move(chunk)});
            else
                preamble = std::move(chunk);
            current.clear();
        };
        for (size_t i = 0; i < footerStart; ++i) {
            if (auto header = headingOf(lines[i])) {
                close();
                currentHeader = header;
            }
            current.push_back(lines[i]);
        }
        close();
    }

    /// Puts a section that can open the block in front when nothing else holds its start.
    /// False when no such section exists.
    bool keepsOpeningHeading() {
        if (!preamble.empty() || sections.empty() || opensBlock(sections.front().header)) return true;
        auto opener = std::find_if(sections.begin(), sections.end(),
                                   [](const Section& section) { return opensBlock(section.header); });
        if (opener == sections.end()) return false;
        std::rotate(sections.begin(), opener, opener + 1);
        return true;
    }

    std::string joined() const {
        std::vector<std::string_view> parts;
        if (!preamble.empty()) parts.push_back(preamble);
        for (const Section& section : sections) parts.push_back(section.text);
        if (!footer.empty()) parts.push_back(footer);
        return joinLines(parts, "\n\n");
    }
};

} // namespace

std::string renameSpeaker(std::string_view text, std::string_view from, std::string_view to) {
    if (from.empty() || to.empty() || from == to) return std::string(text);
    std::string turnPrefix = "**" + std::string(from) + ":**";
    std::string listLine = "  - " + std::string(from);
    std::string newTurnPrefix = "**" + std::string(to) + ":**";
    std::string newListLine = "  - " + std::string(to);

    std::vector<std::string> lines;
    for (std::string_view line : Text::split(text, "\n")) {
        if (line.starts_with(turnPrefix))
            lines.push_back(newTurnPrefix + std::string(line.substr(turnPrefix.size())));
        else if (line == listLine)
            lines.push_back(newListLine);
        else
            lines.emplace_back(line);
    }
    return joinLines(lines);
}

std::string setTitle(std::string_view text, std::string_view title) {
    std::vector<std::string_view> lines = Text::split(text, "\n");
    auto titleLine =
        std::find_if(lines.begin(), lines.end(), [](std::string_view l) { return l.starts_with("title:"); });
    if (titleLine == lines.end()) return std::string(text);

    std::string value;
    if (title.find_first_of(":#'\"") == std::string_view::npos) {
        value = title;
    } else {
        value = "\"";
        for (char c : title) {
            if (c == '"') value += '\\';
            value += c;
        }
        value += '"';
    }
    std::string replacement = "title: " + value;
    *titleLine = replacement;
    return joinLines(lines);
}

std::string setNotes(std::string_view text, std::string_view notes) {
    constexpr std::string_view notesHeading = "## Notes\n";
    size_t heading = text.find(notesHeading);
    if (heading == std::string_view::npos) return std::string(text);
    size_t start = heading + notesHeading.size();
    size_t end = text.find("\n## Transcript", start);
    if (end == std::string_view::npos) return std::string(text);

    std::string_view trimmed = trim(notes);
    std::string replacement = trimmed.empty() ? "\n" : "\n" + std::string(trimmed) + "\n";
    return std::string(text.substr(0, start)) + replacement + std::string(text.substr(end));
}

std::optional<ByteRange> machineBlockRange(std::string_view text) {
    auto tail = transcriptTail(text);
    if (!tail) return std::nullopt;
    std::string_view between = text.substr(tail->headingEnd, tail->markerStart - tail->headingEnd);
    size_t start = std::string_view::npos;
    for (std::string_view header : blockStartHeaders) {
        start = std::min(start, between.find("\n" + std::string(header)));
    }
    if (start == std::string_view::npos) return std::nullopt;
    return ByteRange{tail->headingEnd + start, tail->markerStart + enhancedBlockEndMarker.size()};
}

bool isInsideMachineBlock(ByteRange range, std::string_view text) {
    auto tail = transcriptTail(text);
    return tail && tail->headingEnd <= range.start && range.end <= tail->markerStart;
}

std::optional<std::string> enhancedSections(std::string_view text) {
    auto block = machineBlockRange(text);
    if (!block) return std::nullopt;
    return std::string(trim(blockInside(text, *block)));
}

std::string setEnhancedSections(std::string_view text, std::string_view sections) {
    std::string_view trimmed = trim(sections);
    if (auto block = machineBlockRange(text)) {
        std::string replacement;
        if (!trimmed.empty())
            replacement = "\n" + std::string(trimmed) + "\n\n" + std::string(enhancedBlockEndMarker);
        return std::string(text.substr(0, block->start)) + replacement + std::string(text.substr(block->end));
    }
    if (trimmed.empty()) return std::string(text);
    size_t end = text.find_last_not_of("\n ");
    std::string out(text.substr(0, end == std::string_view::npos ? 0 : end + 1));
    out += "\n\n";
    out += trimmed;
    out += "\n\n";
    out += enhancedBlockEndMarker;
    out += "\n";
    return out;
}

std::optional<std::string> machineProvenance(std::string_view text) {
    auto block = machineBlockRange(text);
    if (!block) return std::nullopt;
    std::vector<std::string_view> lines = Text::split(trim(blockInside(text, *block)), "\n");
    for (auto line = lines.rbegin(); line != lines.rend(); ++line) {
        std::string_view trimmed = Whitespace::trimSpacesAndTabs(*line);
        if (trimmed.starts_with(provenancePrefix) && trimmed.ends_with("-->")) return std::string(trimmed);
    }
    return std::nullopt;
}

std::string setAISection(std::string_view text, std::string_view header, std::string_view body) {
    int rank = canonicalRank(header);
    if (rank < 0) return std::string(text);
    std::string_view trimmedBody = trim(body);
    std::string sectionText = std::string(header) + "\n\n" + std::string(trimmedBody);

    auto inside = enhancedSections(text);
    if (!inside) {
        if (trimmedBody.empty() || !opensBlock(header)) return std::string(text);
        return setEnhancedSections(text, sectionText);
    }

    BlockLayout layout(*inside);
    auto& sections = layout.sections;
    auto existing =
        std::find_if(sections.begin(), sections.end(), [&](const Section& s) { return s.header == header; });
    if (trimmedBody.empty()) {
        if (existing == sections.end()) return std::string(text);
        sections.erase(existing);
    } else if (existing != sections.end()) {
        existing->text = std::move(sectionText);
    } else {
        auto later = std::find_if(sections.begin(), sections.end(),
                                  [&](const Section& s) { return canonicalRank(s.header) > rank; });
        sections.insert(later, Section{header, std::move(sectionText)});
    }
    if (!layout.keepsOpeningHeading()) return std::string(text);
    if (layout.preamble.empty() && sections.empty()) return setEnhancedSections(text, "");
    return setEnhancedSections(text, layout.joined());
}

} // namespace zelmor::TranscriptEditor
