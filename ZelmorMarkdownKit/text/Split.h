// Cutting text into pieces at a separator, as views into the caller's text.
#pragma once

#include <string_view>
#include <vector>

namespace zelmor::Text {

/// Splits at every occurrence of the separator, keeping empty pieces: "a\n\nb\n" at "\n" gives
/// "a", "", "b", "". A text without the separator is one piece. The separator must not be empty.
std::vector<std::string_view> split(std::string_view text, std::string_view separator);

} // namespace zelmor::Text
