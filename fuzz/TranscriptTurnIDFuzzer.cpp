// Splits arbitrary bytes into a turn identifier and a transcript (at the first NUL), then makes
// the identifiers of the transcript's turns and locates them and the fuzzed one. Text that does
// not parse as a transcript gives one turn per line instead.
#include "FuzzInput.h"

#include "ZelmorMarkdownKit/edit/TranscriptTurnID.h"
#include "ZelmorMarkdownKit/format/MarkdownTranscriptParser.h"
#include "ZelmorMarkdownKit/text/TextNormalize.h"
#include "ZelmorMarkdownKit/text/UTF8.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace {

namespace TurnID = zelmor::TranscriptTurnID;
using zelmor::fuzz::require;
using Turns = std::vector<zelmor::TranscriptDocument::Turn>;

Turns turnsOf(std::string_view text) {
    if (auto parsed = zelmor::MarkdownTranscriptParser::parse(text)) return parsed->turns;
    Turns turns;
    size_t start = 0;
    while (start <= text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string_view::npos) end = text.size();
        turns.push_back({"Ana", std::string(text.substr(start, end - start))});
        start = end + 1;
    }
    return turns;
}

// The index an answer names, or the number of turns for `missing`.
size_t indexOf(const TurnID::Match& match, size_t missing) {
    return std::visit(
        [missing](const auto& m) -> size_t {
            if constexpr (std::is_same_v<std::decay_t<decltype(m)>, TurnID::Missing>)
                return missing;
            else
                return m.index;
        },
        match);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    auto args = zelmor::fuzz::arguments(std::string_view(reinterpret_cast<const char*>(data), size), 2);
    std::string_view id = args[0];
    Turns turns = turnsOf(args[1]);

    std::vector<std::string> ids = TurnID::ids(turns);
    require(ids.size() == turns.size(), "one identifier per turn");
    for (size_t i = 0; i < ids.size(); ++i)
        require(TurnID::locate(ids[i], turns) == TurnID::Match{TurnID::Exact{i}},
                "a fresh identifier is exact");

    TurnID::Match found = TurnID::locate(id, turns);
    size_t index = indexOf(found, turns.size());
    require(std::holds_alternative<TurnID::Missing>(found) || index < turns.size(), "a located turn exists");

    // Positions past the end, up to the largest one an index can name, for the fuzzed text.
    for (size_t past : {turns.size() + id.size(), std::numeric_limits<size_t>::max() - 1}) {
        TurnID::Match beyond = TurnID::locate(TurnID::make(past, id), turns);
        require(std::holds_alternative<TurnID::Missing>(beyond) ||
                    std::holds_alternative<TurnID::Moved>(beyond),
                "an identifier past the end is moved or missing");
    }
    std::string words = zelmor::TextNormalize::words(id);
    if (zelmor::UTF8::isValid(id)) require(zelmor::UTF8::isValid(words), "normalised words are valid UTF-8");
    return 0;
}
