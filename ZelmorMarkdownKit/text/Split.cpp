#include "ZelmorMarkdownKit/text/Split.h"

namespace zelmor::Text {

std::vector<std::string_view> split(std::string_view text, std::string_view separator) {
    std::vector<std::string_view> pieces;
    size_t start = 0;
    while (true) {
        size_t at = text.find(separator, start);
        if (at == std::string_view::npos) {
            pieces.push_back(text.substr(start));
            return pieces;
        }
        pieces.push_back(text.substr(start, at - start));
        start = at + separator.size();
    }
}

} // namespace zelmor::Text
