// Refusals and reports use one wording for every transcript command.
#include "TranscriptFile.h"
#include "Printable.h"

#include "ZelmorMarkdownKit/format/MarkdownTranscriptParser.h"
#include "ZelmorMarkdownKit/format/ZelmorTranscriptMarker.h"
#include "ZelmorMarkdownKit/text/FileLimits.h"
#include "ZelmorMarkdownKit/text/UTF8.h"
#include "platform/FileSystem.h"

#include <cerrno>
#include <iostream>
#include <iterator>

namespace zelmor::kitcli::TranscriptFile {

namespace {

int writeIfChanged(std::string_view command, const std::string& path, std::string_view original,
                   std::string_view edited) {
    if (edited == original) {
        reportUnchanged(command, path);
        return 0;
    }
    if (!platform::writeFileAtomically(path, edited)) return reportWriteFailure(command, path);
    reportUpdated(command, path);
    return 0;
}

} // namespace

std::optional<std::string> read(std::string_view command, const std::string& path) {
    auto text = platform::readFile(path, FileLimits::transcriptBytes);
    if (!text) {
        std::cerr << "zelmor-kit " << command << ": cannot read " << printable(path) << "\n";
        return std::nullopt;
    }
    if (!MarkdownTranscriptParser::parse(*text)) {
        std::cerr << "zelmor-kit " << command << ": " << printable(path)
                  << " is not a Zelmor transcript: it does not open with a --- frontmatter block\n";
        return std::nullopt;
    }
    if (!ZelmorTranscriptMarker::declares(*text)) {
        std::cerr << "zelmor-kit " << command << ": " << printable(path)
                  << " is not a Zelmor transcript: it has no \"source: Zelmor\" line\n";
        return std::nullopt;
    }
    return text;
}

std::string argumentText(const std::string& argument) {
    if (argument != "-") return UTF8::repaired(argument);
    std::string input{std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>()};
    return UTF8::repaired(input);
}

void reportUpdated(std::string_view command, const std::string& path) {
    std::cerr << "zelmor-kit " << command << ": updated " << printable(path) << "\n";
}

void reportUnchanged(std::string_view command, const std::string& path) {
    std::cerr << "zelmor-kit " << command << ": no change; " << printable(path) << " left as it was\n";
}

int reportWriteFailure(std::string_view command, const std::string& path) {
    std::string why = errno == EACCES || errno == EPERM ? ": you may not write to it" : "";
    std::cerr << "zelmor-kit " << command << ": could not write " << printable(path) << why << "\n";
    return 1;
}

int editInPlace(std::string_view command, const std::string& path,
                const std::function<std::string(std::string_view text)>& edit) {
    auto text = read(command, path);
    if (!text) return 1;
    return writeIfChanged(command, path, *text, edit(*text));
}

} // namespace zelmor::kitcli::TranscriptFile
