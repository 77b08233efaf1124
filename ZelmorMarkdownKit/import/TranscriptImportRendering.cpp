// The importer's output format. Any change here changes what the store reads and what a
// re-import recognises, so the layout is fixed line by line.
#include "ZelmorMarkdownKit/import/TranscriptImportRendering.h"

#include "ZelmorMarkdownKit/text/ICUText.h"
#include "ZelmorMarkdownKit/text/Whitespace.h"

#include <algorithm>

namespace zelmor::TranscriptImport {

namespace {

/// Cuts a trailing word when the text's last characters, lower-cased, are `suffix` (ASCII).
std::string cutSuffix(std::string text, std::string_view suffix) {
    // Compare code point by code point so that a non-ASCII character can never fake a match.
    size_t start = text.size();
    size_t points = 0;
    while (start > 0 && points < suffix.size()) {
        --start;
        while (start > 0 && (static_cast<unsigned char>(text[start]) & 0xC0) == 0x80) --start;
        ++points;
    }
    if (points < suffix.size() || ICUText::lowercased(std::string_view(text).substr(start)) != suffix)
        return text;
    text.erase(start);
    return std::string(Whitespace::trimSpacesAndTabs(text));
}

} // namespace

std::string oneLine(std::string_view value) {
    std::string out(value);
    for (size_t i = 0; i < out.size(); ++i) {
        auto byte = static_cast<unsigned char>(out[i]);
        if (byte < 0x20 || byte == 0x7F) {
            out[i] = ' ';
        } else if (byte == 0xC2 && i + 1 < out.size() &&
                   (static_cast<unsigned char>(out[i + 1]) & 0xE0) == 0x80) {
            out.replace(i, 2, " "); // U+0080 to U+009F, the next line (U+0085) among them
        } else if (out.compare(i, 3, "\xE2\x80\xA8") == 0 || out.compare(i, 3, "\xE2\x80\xA9") == 0) {
            out.replace(i, 3, " "); // the line and paragraph separators
        }
    }
    return out;
}

std::string render(std::string_view title, const std::optional<std::string>& date,
                   const std::vector<std::string>& participants,
                   const std::vector<TranscriptDocument::Turn>& turns, Format format,
                   std::string_view filename) {
    std::string out = "---\n";
    out.append("title: ").append(oneLine(title)).append("\n");
    if (date) out.append("date: ").append(*date).append("\n");
    out.append("participants:\n");
    for (const std::string& name : participants) out.append("  - ").append(oneLine(name)).append("\n");
    out.append("duration_min: 0\n");
    out.append("source: Zelmor\n");
    out.append("asr: imported (").append(label(format)).append(")\n");
    out.append("imported_from: ").append(oneLine(filename)).append("\n");
    out.append("---\n\n");
    out.append("## Notes\n\n").append(TranscriptDocument::notesPlaceholder).append("\n\n");
    out.append("## Transcript\n\n");
    for (size_t i = 0; i < turns.size(); ++i) {
        if (i > 0) out.append("\n\n");
        out.append("**").append(oneLine(turns[i].speaker)).append(":** ").append(turns[i].text);
    }
    out.append("\n");
    return out;
}

std::vector<std::string> orderedParticipants(const std::vector<TranscriptDocument::Turn>& turns) {
    std::vector<std::string> names;
    for (const auto& turn : turns) {
        if (std::find(names.begin(), names.end(), turn.speaker) == names.end()) names.push_back(turn.speaker);
    }
    auto me = std::find(names.begin(), names.end(), "Me");
    if (me != names.end()) std::rotate(names.begin(), me, me + 1);
    return names;
}

std::string titleFromFilename(std::string_view name) {
    static const ICUText::Pattern datePattern(R"(\d{4}[-_]\d{2}[-_]\d{2})");
    static const ICUText::Pattern separatorRuns("[_-]+");
    static const ICUText::Pattern spaceRuns(R"(\s{2,})");
    std::string title = datePattern.replacingFirst(name, "");
    title = separatorRuns.replacingAll(title, " ");
    title = spaceRuns.replacingAll(title, " ");
    title = std::string(Whitespace::trimSpacesAndTabs(title));
    title = cutSuffix(std::move(title), " transcript");
    title = cutSuffix(std::move(title), " recording");
    title = cutSuffix(std::move(title), " export");
    return title.empty() ? "Imported meeting" : title;
}

} // namespace zelmor::TranscriptImport
