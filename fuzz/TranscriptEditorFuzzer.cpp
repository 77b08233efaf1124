// Applies every transcript edit to arbitrary bytes. The first byte picks the AI section header;
// the rest is cut at the first two NULs into two arguments (old and new label, title, notes,
// sections, body) and the transcript text, so a seed made of a transcript file is the third.
#include "FuzzInput.h"

#include "ZelmorMarkdownKit/edit/NotesBlockWriter.h"
#include "ZelmorMarkdownKit/edit/TranscriptEditor.h"
#include "ZelmorMarkdownKit/format/MarkdownTranscriptParser.h"
#include "ZelmorMarkdownKit/text/UTF8.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace {

namespace Editor = zelmor::TranscriptEditor;
using zelmor::fuzz::require;

// The four AI sections and one header that is none of them.
constexpr std::array<std::string_view, 5> headers = {"## Summary", "## Meeting Notes", "## Action Items",
                                                     "## Key Moments", "## Notes"};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    std::string_view header = headers[data[0] % headers.size()];
    auto args =
        zelmor::fuzz::arguments(std::string_view(reinterpret_cast<const char*>(data + 1), size - 1), 3);
    std::string_view first = args[0], second = args[1], text = args[2];
    bool validInput =
        zelmor::UTF8::isValid(first) && zelmor::UTF8::isValid(second) && zelmor::UTF8::isValid(text);
    bool transcript = zelmor::MarkdownTranscriptParser::parse(text).has_value();

    // Each edit's result must read again; those that only touch lines below the frontmatter's
    // opening keep it a transcript.
    auto check = [&](const std::string& edited, bool keepsFrontmatter) {
        bool parses = zelmor::MarkdownTranscriptParser::parse(edited).has_value();
        if (keepsFrontmatter && transcript) require(parses, "a line edit keeps the frontmatter");
        if (validInput) require(zelmor::UTF8::isValid(edited), "edits of valid UTF-8 stay valid UTF-8");
    };
    check(Editor::renameSpeaker(text, first, second), true);
    require(Editor::renameSpeaker(text, first, first) == text, "renaming a label to itself changes nothing");
    check(Editor::setTitle(text, first), true);
    check(Editor::setNotes(text, second), false);
    check(Editor::setEnhancedSections(text, first), false);
    std::string withSection = Editor::setAISection(text, header, second);
    check(withSection, false);
    if (header == "## Notes") require(withSection == text, "an unknown section header changes nothing");

    auto block = Editor::machineBlockRange(text);
    if (block) {
        require(block->start <= block->end && block->end <= text.size(), "the block lies inside the text");
        require(Editor::enhancedSections(text).has_value(), "a block has sections, if only empty ones");
    } else {
        require(Editor::setEnhancedSections(text, "") == text,
                "clearing a text without a block changes nothing");
    }
    Editor::isInsideMachineBlock({first.size(), first.size() + second.size()}, text);
    if (auto provenance = Editor::machineProvenance(text); provenance && validInput)
        require(zelmor::UTF8::isValid(*provenance), "the provenance line is valid UTF-8");
    if (auto sanitized = zelmor::NotesBlockWriter::sanitizedSections(first); sanitized && validInput)
        require(zelmor::UTF8::isValid(*sanitized), "sanitized sections are valid UTF-8");
    return 0;
}
