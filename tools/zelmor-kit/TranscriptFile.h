// What the transcript commands share: reading a file only when it is a Zelmor transcript, text
// arguments that may come from standard input, and writing an edit back only when it changed.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace zelmor::kitcli::TranscriptFile {

/// The file's bytes, as read, when it has frontmatter and the "source: Zelmor" line; otherwise
/// says why on standard error and gives nothing.
std::optional<std::string> read(std::string_view command, const std::string& path);

/// The argument itself, or all of standard input for "-"; ill-formed UTF-8 is repaired so that it
/// never reaches a transcript.
std::string argumentText(const std::string& argument);

/// Reads the transcript, applies the edit to its text, writes the result atomically if it changed,
/// and says on standard error whether it did. The exit status: 0, or 1 when the file was refused or could not
/// be written.
int editInPlace(std::string_view command, const std::string& path,
                const std::function<std::string(std::string_view text)>& edit);

/// The standard error lines of `editInPlace`, for commands that write by other means.
void reportUpdated(std::string_view command, const std::string& path);
void reportUnchanged(std::string_view command, const std::string& path);
int reportWriteFailure(std::string_view command, const std::string& path);

/// Help text shared by the edit commands.
inline constexpr const char* editFooterCommon =
    "FILE must be a Zelmor transcript: it opens with a --- frontmatter block and has the line\n"
    "\"source: Zelmor\"; any other file is refused with status 1. The file is replaced atomically,\n"
    "and only when the edit changes it; standard error says whether it did. Line ends are kept\n"
    "as they are. Exits 0 when the file was updated or needed no change, 1 on any error.";

} // namespace zelmor::kitcli::TranscriptFile
