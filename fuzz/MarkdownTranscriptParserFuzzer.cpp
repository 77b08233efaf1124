// Parses arbitrary bytes as a transcript file; the scan hands the parser whatever lies in the folder.
// The scan's way of parsing (frontmatter first, then the body, its turns handed over as views)
// must give exactly what the plain parse gives, and "\r\n" must read as "\n" wherever it stands.
#include "FuzzInput.h"

#include "ZelmorMarkdownKit/format/MarkdownTranscriptParser.h"
#include "ZelmorMarkdownKit/text/UTF8.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace {

namespace Parser = zelmor::MarkdownTranscriptParser;
using zelmor::fuzz::require;

void checkPiecewise(std::string_view text) {
    auto whole = Parser::parse(text);
    auto header = Parser::parseFrontmatter(text);
    require(whole.has_value() == header.has_value(),
            "the frontmatter alone parses exactly when the whole does");
    if (!whole) return;

    zelmor::TranscriptDocument withBody = *header;
    Parser::parseBody(text, withBody);
    require(withBody == *whole, "frontmatter then body is the whole parse");

    std::vector<zelmor::TranscriptDocument::Turn> visited;
    Parser::parseBody(text, *header, [&](const Parser::TurnText& turn) {
        std::string joined;
        for (size_t k = 0; k < turn.paragraphs.size(); ++k) {
            if (k > 0) joined += "\n\n";
            joined += turn.paragraphs[k];
        }
        visited.push_back({std::string(turn.speaker), std::move(joined)});
        return true;
    });
    require(visited == whole->turns, "visited turns join to the parsed turns");
    require(header->turns.empty(), "a visited body keeps no turns");

    std::string plain(text);
    // One pass, as the parser does it.
    for (size_t at = 0; (at = plain.find("\r\n", at)) != std::string::npos;) plain.erase(at, 1);
    // Normalising twice would go further where "\r\r\n" stood, so only texts it leaves plain.
    if (plain.find("\r\n") == std::string::npos)
        require(Parser::parse(plain) == whole, "\"\\r\\n\" reads as \"\\n\"");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view text(reinterpret_cast<const char*>(data), size);
    // The scan only parses valid UTF-8, but the parser is public and must not trust that.
    checkPiecewise(text);
    if (!zelmor::UTF8::isValid(text)) checkPiecewise(zelmor::UTF8::repaired(text));
    return 0;
}
