// Parses arbitrary bytes as a transcript file; the scan hands the parser whatever lies in the folder.
#include "ZelmorMarkdownKit/MarkdownTranscriptParser.h"
#include "ZelmorMarkdownKit/UTF8.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view text(reinterpret_cast<const char*>(data), size);
    // The scan only parses valid UTF-8, but the parser is public and must not trust that.
    zelmor::MarkdownTranscriptParser::parse(text);
    if (!zelmor::UTF8::isValid(text)) zelmor::MarkdownTranscriptParser::parse(zelmor::UTF8::repaired(text));
    return 0;
}
