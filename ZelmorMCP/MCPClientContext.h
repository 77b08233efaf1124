// What the server learns about its client during the session: only the client's name, which
// activity records carry.
#pragma once

#include <optional>
#include <string>

namespace zelmor {

struct MCPClientContext {
    std::optional<std::string> name;
};

} // namespace zelmor
