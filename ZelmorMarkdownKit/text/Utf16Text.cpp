// Decoding UTF-8 into UTF-16 while recording where each unit came from.
#include "ZelmorMarkdownKit/text/Utf16Text.h"

#include "ZelmorMarkdownKit/text/UTF8.h"
#include "ZelmorMarkdownKit/text/Whitespace.h"

namespace zelmor {

Utf16Text::Utf16Text(std::string_view text) {
    byteOffsets.reserve(text.size() + 1);
    size_t at = 0;
    while (at < text.size()) {
        size_t start = at;
        char32_t c = UTF8::decode(text, at);
        units.append(static_cast<UChar32>(c));
        byteOffsets.push_back(start);
        if (c > 0xFFFF) byteOffsets.push_back(start);
    }
    byteOffsets.push_back(text.size());
}

} // namespace zelmor
