// Word normalisation for turn fingerprints: case, punctuation and spacing do not count.
#pragma once

#include <string>
#include <string_view>

namespace zelmor::TextNormalize {

/// The text lower-cased, with every character that is not a Unicode letter, mark or digit treated
/// as a word break, and the words joined by single spaces.
std::string words(std::string_view text);

} // namespace zelmor::TextNormalize
