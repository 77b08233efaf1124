// Case-insensitive component test; ICU folds non-ASCII names, ASCII takes a fast path.
#include "ZelmorMarkdownKit/SkillsFolder.h"

#include <string>
#include <unicode/locid.h>
#include <unicode/unistr.h>
#include <vector>

namespace zelmor::SkillsFolder {

namespace {

std::string lowercased(std::string_view text) {
    bool ascii = true;
    for (char c : text) ascii = ascii && static_cast<unsigned char>(c) < 0x80;
    if (ascii) {
        std::string out(text);
        for (char& c : out) c = (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
        return out;
    }
    std::string out;
    icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())))
        .toLower(icu::Locale::getRoot())
        .toUTF8String(out);
    return out;
}

} // namespace

bool holds(std::string_view path, std::string_view memoryFolderName) {
    std::vector<std::string_view> parts;
    size_t start = 0;
    while (start <= path.size()) {
        size_t end = path.find('/', start);
        if (end == std::string_view::npos) end = path.size();
        if (end > start) parts.push_back(path.substr(start, end - start));
        start = end + 1;
    }
    if (parts.size() < 3) return false;
    std::string memory = lowercased(memoryFolderName);
    for (size_t i = 0; i + 2 < parts.size(); ++i) {
        if (lowercased(parts[i]) == memory && lowercased(parts[i + 1]) == "skills") return true;
    }
    return false;
}

} // namespace zelmor::SkillsFolder
