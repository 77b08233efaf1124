// Converts arbitrary bytes as a foreign export; the first byte picks the file name, since
// detection looks at the extension as well as the content.
#include "ZelmorMarkdownKit/import/TranscriptImport.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static constexpr std::string_view names[] = {"call.vtt",  "call.srt", "call.txt", "2025-03-14 call.md",
                                                 "call.json", "call.csv", "call"};
    if (size == 0) return 0;
    std::string_view name = names[data[0] % std::size(names)];
    std::string_view text(reinterpret_cast<const char*>(data + 1), size - 1);
    zelmor::TranscriptImport::convertAll(text, name, std::string("2025-01-02"));
    zelmor::TranscriptImport::convertAll(text, name, std::nullopt);
    return 0;
}
