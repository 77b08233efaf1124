// Reader for CSV exports (Granola's meeting list): a conventional CSV tokenizer and the
// export reader that finds the transcript, title and date columns by their headers.
#pragma once

#include "ZelmorMarkdownKit/import/TranscriptImport.h"

#include <string>
#include <string_view>
#include <vector>

namespace zelmor::TranscriptImport {

/// Rows of fields. Fields are separated by commas; a field that opens with a double quote runs
/// to the closing quote, with doubled quotes standing for one and line breaks kept. Blank lines
/// give no row; "\r\n" ends a row like "\n".
std::vector<std::vector<std::string>> parseCSV(std::string_view text);

/// One meeting per data row whose transcript cell holds at least one turn. The first header
/// mentioning "transcript" holds the transcript; the first mentioning "title" (else "name")
/// the title; the first mentioning "date" (else "created", else "start") the day.
std::vector<ParsedMeeting> parseCSVExport(std::string_view text);

} // namespace zelmor::TranscriptImport
