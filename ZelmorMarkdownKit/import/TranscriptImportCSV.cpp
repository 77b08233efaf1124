// CSV exports put a whole meeting's transcript in one quoted cell, line breaks and all, so the
// tokenizer must follow quotes across lines.
#include "ZelmorMarkdownKit/import/TranscriptImportCSV.h"

#include "ZelmorMarkdownKit/import/TranscriptImportSpeakerLines.h"
#include "ZelmorMarkdownKit/text/ICUText.h"
#include "ZelmorMarkdownKit/text/Split.h"
#include "ZelmorMarkdownKit/text/Whitespace.h"

#include <optional>

namespace zelmor::TranscriptImport {

namespace {

/// The first column whose lower-cased header contains one of the words, tried word by word.
std::optional<size_t> columnMentioning(const std::vector<std::string>& lowerHeaders,
                                       std::initializer_list<std::string_view> words,
                                       std::optional<size_t> except = std::nullopt) {
    for (std::string_view word : words) {
        for (size_t column = 0; column < lowerHeaders.size(); ++column) {
            if (column != except && lowerHeaders[column].find(word) != std::string::npos) return column;
        }
    }
    return std::nullopt;
}

std::string_view cell(const std::vector<std::string>& row, std::optional<size_t> column) {
    if (!column || *column >= row.size()) return {};
    return row[*column];
}

} // namespace

std::vector<std::vector<std::string>> parseCSV(std::string_view text) {
    std::vector<std::vector<std::string>> rows;
    std::vector<std::string> row;
    std::string field;
    bool inQuotes = false;
    bool quoted = false; // the current field opened with a quote
    auto endField = [&] {
        row.push_back(std::move(field));
        field.clear();
        quoted = false;
    };
    auto endRow = [&] {
        bool blank = row.empty() && field.empty() && !quoted;
        endField();
        if (!blank) rows.push_back(std::move(row));
        row.clear();
    };
    for (size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (inQuotes) {
            if (c != '"') {
                field += c;
            } else if (i + 1 < text.size() && text[i + 1] == '"') {
                field += '"';
                ++i;
            } else {
                inQuotes = false;
            }
        } else if (c == '"' && field.empty() && !quoted) {
            inQuotes = quoted = true;
        } else if (c == ',') {
            endField();
        } else if (c == '\n') {
            endRow();
        } else if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n') {
            continue;
        } else {
            field += c;
        }
    }
    if (!row.empty() || !field.empty() || quoted) endRow();
    return rows;
}

std::vector<ParsedMeeting> parseCSVExport(std::string_view text) {
    std::vector<std::vector<std::string>> rows = parseCSV(text);
    if (rows.empty()) return {};
    std::vector<std::string> headers;
    for (const std::string& header : rows[0]) headers.push_back(ICUText::lowercased(header));
    std::optional<size_t> transcriptColumn = columnMentioning(headers, {"transcript"});
    if (!transcriptColumn) return {};
    std::optional<size_t> titleColumn = columnMentioning(headers, {"title", "name"}, transcriptColumn);
    std::optional<size_t> dateColumn =
        columnMentioning(headers, {"date", "created", "start"}, transcriptColumn);

    std::vector<ParsedMeeting> meetings;
    for (size_t r = 1; r < rows.size(); ++r) {
        const std::vector<std::string>& row = rows[r];
        ParsedMeeting meeting;
        meeting.turns = speakerLineTurns(Text::split(cell(row, transcriptColumn), "\n"), "Speaker 1");
        if (meeting.turns.empty()) continue;
        std::string_view title = Whitespace::trim(cell(row, titleColumn));
        if (!title.empty()) meeting.title = std::string(title);
        meeting.date = isoDay(Whitespace::trim(cell(row, dateColumn)));
        meeting.format = Format::granolaCSV;
        meetings.push_back(std::move(meeting));
    }
    return meetings;
}

} // namespace zelmor::TranscriptImport
