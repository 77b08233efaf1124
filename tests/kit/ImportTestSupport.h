// Shared by the import tests: fixture reading and short ways to build turns.
#pragma once

#include "ZelmorMarkdownKit/format/TranscriptDocument.h"
#include "tests/support/TempFolder.h"

#include <string>
#include <vector>

namespace zelmor::test {

inline std::string importFixturePath(const std::string& name) {
    return std::string(ZELMOR_SOURCE_DIR) + "/tests/fixtures/import/" + name;
}

inline std::string importFixture(const std::string& name) {
    return readFile(importFixturePath(name));
}

using Turns = std::vector<TranscriptDocument::Turn>;

} // namespace zelmor::test
