// Tells a transcript written by the recorder from other markdown: it carries "source: Zelmor".
#pragma once

#include <string_view>

namespace zelmor::ZelmorTranscriptMarker {

/// True when the text has the line "source: Zelmor" (first line, or any later line followed by
/// a line break). Literal and case-sensitive; "\r\n" counts as "\n".
bool declares(std::string_view text);

} // namespace zelmor::ZelmorTranscriptMarker
