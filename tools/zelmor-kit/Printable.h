// Text from files and file names, made safe to print for a person: a name may hold bytes that a
// terminal takes for commands (ESC starts a colour change or a cursor move, BEL rings).
#pragma once

#include <string>
#include <string_view>

namespace zelmor::kitcli {

/// The text with every control character written as an escape ("\n", "\t", "\r", "\x1b" and
/// "\u009b" for the C1 controls), so that it prints as one visible line.
std::string printable(std::string_view text);

} // namespace zelmor::kitcli
