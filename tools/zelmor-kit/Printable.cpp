// Escapes control characters for printing.
#include "Printable.h"

#include <cstdio>

namespace zelmor::kitcli {

std::string printable(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    char escape[8];
    for (size_t i = 0; i < text.size(); ++i) {
        auto byte = static_cast<unsigned char>(text[i]);
        if (byte == '\n') {
            out += "\\n";
        } else if (byte == '\t') {
            out += "\\t";
        } else if (byte == '\r') {
            out += "\\r";
        } else if (byte < 0x20 || byte == 0x7F) {
            std::snprintf(escape, sizeof escape, "\\x%02x", byte);
            out += escape;
        } else if (byte == 0xC2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) >= 0x80 &&
                   static_cast<unsigned char>(text[i + 1]) <= 0x9F) {
            // U+0080 to U+009F, whose CSI (U+009B) some terminals obey as ESC "[".
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned char>(text[++i]));
            out += escape;
        } else {
            out += text[i];
        }
    }
    return out;
}

} // namespace zelmor::kitcli
