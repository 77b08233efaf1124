// Splits arbitrary bytes into a query and a transcript (at the first NUL) and runs the keyword
// search on them: the query's terms, the match of the parsed transcript (and, for UTF-8 input as
// the store gives it, the snippet-free scoring and raw-text needles held to it), the tokenizer's
// fast paths against ICU's and its word cache against its words, the question ranking's sieve
// against reading every word (and its two loops against each other), and excerpts.
// Text that does not parse as a transcript fills every searched field of a document instead.
#include "FuzzInput.h"

#include "ZelmorMarkdownKit/answer/QuestionRanking.h"
#include "ZelmorMarkdownKit/format/MarkdownTranscriptParser.h"
#include "ZelmorMarkdownKit/search/KeywordSieve.h"
#include "ZelmorMarkdownKit/search/QueryTokenizer.h"
#include "ZelmorMarkdownKit/search/RankedTranscriptSearch.h"
#include "ZelmorMarkdownKit/text/TextFolding.h"
#include "ZelmorMarkdownKit/text/UTF8.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

namespace RTS = zelmor::RankedTranscriptSearch;
using zelmor::fuzz::require;

zelmor::TranscriptDocument documentOf(std::string_view text) {
    if (auto parsed = zelmor::MarkdownTranscriptParser::parse(text)) return std::move(*parsed);
    std::string whole(text);
    zelmor::TranscriptDocument made;
    made.title = whole;
    made.participants = {whole};
    made.notes = made.summary = made.actionItems = made.keyMoments = whole;
    made.turns = {{"Ana", whole}, {"Bo", whole}, {"Ana", whole}, {"Cy", whole}};
    return made;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    auto args = zelmor::fuzz::arguments(std::string_view(reinterpret_cast<const char*>(data), size), 2);
    std::string_view query = args[0], text = args[1];
    bool validInput = zelmor::UTF8::isValid(query) && zelmor::UTF8::isValid(text);

    std::vector<std::string> terms = RTS::terms(query);
    for (const auto& term : terms) require(!term.empty(), "terms are never empty");
    zelmor::TranscriptDocument document = documentOf(text);
    if (auto found = RTS::match(document, terms)) {
        require(!terms.empty(), "no terms match nothing");
        require(found->snippets.size() <= 3, "at most three snippets");
        require(found->matchingTurns >= 0 &&
                    static_cast<size_t>(found->matchingTurns) <= document.turns.size(),
                "matching turns are turns of the document");
        require(found->score >= found->matchingTurns && found->score <= found->matchingTurns + 5,
                "the score is the matching turns plus the two bonuses at most");
        if (validInput)
            for (const auto& snippet : found->snippets)
                require(zelmor::UTF8::isValid(snippet), "snippets are valid UTF-8");
    }
    // The scoring the store uses for a folder must be the match without its snippets, and each
    // needle must find exactly what folding the whole text finds.
    if (validInput) {
        auto plain = RTS::match(document, terms);
        if (plain) plain->snippets.clear();
        if (auto needles = RTS::needles(terms)) {
            require(RTS::matchWithoutSnippets(document, *needles) == plain,
                    "the snippet-free match is the match");
            // As a folder search reads a file: the turns scored in place as the body is read.
            if (auto header = zelmor::MarkdownTranscriptParser::parseFrontmatter(text)) {
                RTS::TurnScorer scorer(*needles);
                zelmor::MarkdownTranscriptParser::parseBody(
                    text, *header, [&](const zelmor::MarkdownTranscriptParser::TurnText& turn) {
                        scorer.addTurn(turn.paragraphs);
                        return true;
                    });
                require(scorer.finish(*header) == plain, "turns scored in place match as the parsed turns");
                // Newest first, the store stops reading once the turns hold every term.
                RTS::TurnScorer hasty(*needles);
                zelmor::MarkdownTranscriptParser::parseBody(
                    text, *header, [&](const zelmor::MarkdownTranscriptParser::TurnText& turn) {
                        hasty.addTurn(turn.paragraphs);
                        return !hasty.foundEveryTerm();
                    });
                require(hasty.finish(*header).has_value() == plain.has_value(),
                        "a reading stopped once every term is found finds the same hits");
            }
            for (const auto& needle : *needles)
                require(needle.occursIn(text) ==
                            (zelmor::TextFolding::folded(text).find(needle.folded()) != std::string::npos),
                        "a needle finds what folding finds");
        } else {
            require(!plain, "a term that folds to nothing matches nothing");
        }
    } else if (zelmor::UTF8::isValid(query)) {
        // A folder search runs the needles over a file's bytes before checking them as UTF-8:
        // any bytes must be safe to search (what is found matters only in valid text).
        if (auto needles = RTS::needles(terms))
            for (const auto& needle : *needles) (void)needle.occursIn(text);
    }
    // The tokenizer's ASCII fast path must segment as ICU does, and the word cache the rankings
    // read with must see the same words.
    if (validInput) {
        namespace QT = zelmor::QueryTokenizer;
        auto words = QT::words(text);
        require(words == QT::detail::wordsUsingICU(text), "words read in pieces are ICU's words");
        std::vector<std::string> stems;
        QT::WordCache cache([&](const QT::Word& word) {
            stems.push_back(word.stem);
            return static_cast<int>(stems.size() - 1);
        });
        cache.tags(query);
        const auto& tags = cache.tags(text);
        require(tags.size() == words.size(), "the cache sees every word");
        for (size_t i = 0; i < tags.size() && i < words.size(); ++i)
            require(stems.at(static_cast<size_t>(tags[i])) == words[i].stem,
                    "the cache stems as the tokenizer does");
    }
    // The question ranking's sieve and its reading of turns in place must see what reading every
    // word of the parsed turns sees.
    if (validInput) {
        using zelmor::QuestionRanking::Question;
        const Question sieved(query), everyWord(query, Question::Reading::everyWord);
        const auto plain = everyWord.evidence(document);
        require(sieved.evidence(document) == plain, "the sieve changes no evidence");
        if (auto header = zelmor::MarkdownTranscriptParser::parseFrontmatter(text))
            require(sieved.evidence(text, *header) == plain, "turns read in place hold the same evidence");
        for (const auto& hit : zelmor::QuestionRanking::rank({&document}, query))
            for (size_t turn : hit.answerTurns)
                require(turn < document.turns.size(), "an answer turn is a turn of the meeting");
    }
    // The sieve's two loops find the same places, on any bytes.
    {
        const auto stems = zelmor::QuestionRanking::keywords(query);
        auto places = [&](zelmor::KeywordSieve::Blocks blocks) {
            std::vector<size_t> found;
            zelmor::KeywordSieve(stems, blocks).forEachPlace(text, [&](size_t at) {
                found.push_back(at);
                return true;
            });
            return found;
        };
        require(places(zelmor::KeywordSieve::Blocks::fastest) ==
                    places(zelmor::KeywordSieve::Blocks::portable),
                "the sieve's loops find the same places");
    }
    auto hits = RTS::rank(std::vector<std::pair<int, zelmor::TranscriptDocument>>{{1, document}}, query);
    require(hits.size() <= 1, "one document ranks at most once");

    // Excerpts around the first term, with a context taken from the query's length.
    if (!terms.empty()) {
        std::string around = RTS::excerpt(text, terms.front(), query.size() % 200);
        if (validInput) require(zelmor::UTF8::isValid(around), "an excerpt is valid UTF-8");
        RTS::termMatches(terms.front(), text);
    }
    return 0;
}
