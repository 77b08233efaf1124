// Shared by the import tests: fixture reading and a short name for turns.
#pragma once

#include "ZelmorMarkdownKit/format/TranscriptDocument.h"
#include "tests/support/TempFolder.h"

#include <string>
#include <vector>

namespace zelmor::test {

inline std::string importFixture(const std::string& name) {
    return readFile(std::string(ZELMOR_SOURCE_DIR) + "/tests/fixtures/import/" + name);
}

using Turns = std::vector<TranscriptDocument::Turn>;

} // namespace zelmor::test
