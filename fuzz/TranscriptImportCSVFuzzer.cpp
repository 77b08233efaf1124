// Tokenises arbitrary bytes as CSV and reads them as a meeting-list export.
#include "ZelmorMarkdownKit/import/TranscriptImportCSV.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view text(reinterpret_cast<const char*>(data), size);
    zelmor::TranscriptImport::parseCSV(text);
    zelmor::TranscriptImport::parseCSVExport(text);
    return 0;
}
