// Lower-cases with ICU first, since case mapping may change the length of the text, then
// classifies code points by their general category.
#include "ZelmorMarkdownKit/text/TextNormalize.h"

#include "ZelmorMarkdownKit/text/ICUText.h"
#include "ZelmorMarkdownKit/text/UTF8.h"
#include "ZelmorMarkdownKit/text/Whitespace.h"

#include <unicode/uchar.h>

namespace zelmor::TextNormalize {

namespace {

bool isAlphanumeric(char32_t c) {
    return (U_GET_GC_MASK(static_cast<UChar32>(c)) & (U_GC_L_MASK | U_GC_M_MASK | U_GC_N_MASK)) != 0;
}

} // namespace

std::string words(std::string_view text) {
    std::string lowered = ICUText::lowercased(text);
    std::string out;
    out.reserve(lowered.size());
    bool pendingSpace = false;
    size_t at = 0;
    while (at < lowered.size()) {
        size_t start = at;
        char32_t c = UTF8::decode(lowered, at);
        if (!isAlphanumeric(c)) {
            pendingSpace = !out.empty();
            continue;
        }
        if (pendingSpace) out += ' ';
        pendingSpace = false;
        out.append(lowered, start, at - start);
    }
    return out;
}

} // namespace zelmor::TextNormalize
