// The one JSON writer for everything we put on the wire or on disk: keys sorted at every depth,
// "/" written as "\/", non-ASCII as raw UTF-8 (ill-formed bytes as U+FFFD), integers kept integral.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace zelmor::JSONWriter {

/// One line, no spaces. Nothing when the value holds a number that JSON cannot carry (NaN, infinity).
std::optional<std::string> compact(const nlohmann::json& value);

/// Two-space indentation, one member per line, " : " between key and value; empty
/// containers as "{}" and "[]". Nothing when the value cannot be written.
std::optional<std::string> pretty(const nlohmann::json& value);

} // namespace zelmor::JSONWriter
