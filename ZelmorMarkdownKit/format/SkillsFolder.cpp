// Case-insensitive component test: the memory and skills names may be written in any case.
#include "ZelmorMarkdownKit/format/SkillsFolder.h"

#include "ZelmorMarkdownKit/text/ICUText.h"

#include <string>
#include <vector>

namespace zelmor::SkillsFolder {

bool holds(std::string_view path, std::string_view memoryFolderName) {
    std::vector<std::string> parts;
    size_t start = 0;
    while (start <= path.size()) {
        size_t end = path.find('/', start);
        if (end == std::string_view::npos) end = path.size();
        if (end > start) parts.push_back(ICUText::lowercased(path.substr(start, end - start)));
        start = end + 1;
    }
    if (parts.size() < 3) return false;
    const std::string memory = ICUText::lowercased(memoryFolderName);
    const std::string skills = ICUText::lowercased(folderName);
    for (size_t i = 0; i + 2 < parts.size(); ++i) {
        if (parts[i] == memory && parts[i + 1] == skills) return true;
    }
    return false;
}

} // namespace zelmor::SkillsFolder
