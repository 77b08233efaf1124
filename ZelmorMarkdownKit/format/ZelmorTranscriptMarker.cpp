// The marker test runs on every file of every scan, so it avoids copying the text.
#include "ZelmorMarkdownKit/format/ZelmorTranscriptMarker.h"

namespace zelmor::ZelmorTranscriptMarker {

bool declares(std::string_view text) {
    static constexpr std::string_view marker = "source: Zelmor";
    // A line of exactly the marker, ended by "\n" or "\r\n", at the start or after a "\n".
    auto endsLine = [&](size_t at) {
        return (at < text.size() && text[at] == '\n') ||
               (at + 1 < text.size() && text[at] == '\r' && text[at + 1] == '\n');
    };
    // "\r\n" before the marker also ends in "\n", so only the line break after it needs care.
    size_t from = 0;
    while (true) {
        size_t at = text.find(marker, from);
        if (at == std::string_view::npos) return false;
        if ((at == 0 || text[at - 1] == '\n') && endsLine(at + marker.size())) return true;
        from = at + 1;
    }
}

} // namespace zelmor::ZelmorTranscriptMarker
