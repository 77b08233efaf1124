// Ranking meetings for a question as a person asks it ("what did Ana say about the pricing
// roadmap?"), to find the meeting that answers it: the evidence of a term ranking with length
// normalisation, the question's words in the order it puts them, and the speakers it names.
// Beside the answer ranking, which keeps its own rules; both stand on the same tokenizer.
#pragma once

#include "ZelmorMarkdownKit/format/TranscriptDocument.h"
#include "ZelmorMarkdownKit/search/QueryTokenizer.h"

#include <chrono>
#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace zelmor::QuestionRanking {

/// The question's topic words, as stems: its content words less the words that only say what
/// kind of answer is wanted ("discuss", "summarize", "think", "say", "decide"…). Distinct, in
/// the order they first stand.
std::vector<std::string> keywords(std::string_view question);

struct Options {
    /// Threads that read the meetings; 0: one per core, at most 8.
    unsigned workers = 0;
};

struct Hit {
    /// Position of the meeting among those given.
    size_t index = 0;
    double relevance = 0;
    /// The question's keywords (as written in it, normalised) that the meeting holds.
    std::vector<std::string> matchedKeywords;
    /// Up to three turns that carry the answer, best first: where the question's weight gathers,
    /// the turns of a speaker it names first.
    std::vector<size_t> answerTurns;
};

/// What one meeting holds of a question, counted in one pass over its turns.
struct Evidence {
    /// Mentions of each keyword, those in the title counted as several.
    std::vector<double> counts;
    /// Mentions of two keywords side by side, by the pair's keyword positions.
    std::map<std::pair<size_t, size_t>, double> pairCounts;
    /// Mentions of each keyword in the turns of a speaker the question names.
    std::vector<double> namedCounts;
    /// Keywords that are words of a speaker the question names: held by the meeting that speaker is in.
    std::vector<bool> inNamedSpeaker;
    /// The size of the turns' text, in bytes (as good a length as words, and free).
    double length = 0;
    /// Turns read, a keyword in them or not.
    size_t turnCount = 0;
    /// Whether a speaker the question names took part.
    bool named = false;
    /// A turn that holds a keyword (or, for a question of no keyword, one by a named speaker).
    struct Turn {
        size_t index;
        /// Positions of the keywords it holds, in the order they first stand.
        std::vector<size_t> keywords;
        bool byNamed;
        /// Keyword pairs side by side in it, in turn order.
        std::vector<std::pair<size_t, size_t>> pairs;
        bool operator==(const Turn&) const = default;
    };
    std::vector<Turn> turns;
    bool operator==(const Evidence&) const = default;
};

namespace detail {
struct ParsedQuestion;
} // namespace detail

/// A question read once, so that meetings can be weighed one at a time as they are read, on any
/// thread, keeping only their evidence, and ranked when all are in.
class Question {
public:
    enum class Reading {
        /// Only the words at the places a byte sieve finds, and the words after a keyword up to
        /// the next topic word, are tokenized.
        sieved,
        /// Every word is tokenized: the plain path the sieved one must agree with.
        everyWord
    };

    explicit Question(std::string_view text, Reading reading = Reading::sieved);
    ~Question();
    Question(const Question&) = delete;
    Question& operator=(const Question&) = delete;

    /// What of a meeting's evidence to keep.
    enum class Keep {
        /// The turns that hold a keyword too, which answer turns are found in.
        turns,
        /// Only what ranks the meeting (much less, for a folder of long meetings): ranked, it
        /// gets no answer turns, which `answerTurns` finds once its turns are read again.
        counts
    };

    /// What the meeting holds of the question. Safe to call from several threads at once.
    Evidence evidence(const TranscriptDocument& document, Keep keep = Keep::turns) const;
    /// As `evidence(document)` for the transcript `text` whose frontmatter `header` holds, read
    /// turn by turn as `MarkdownTranscriptParser::parseBody` hands them over without copying them:
    /// the header gets the sections, not the turns.
    Evidence evidence(std::string_view text, TranscriptDocument& header, Keep keep = Keep::turns) const;
    /// The evidence of a meeting that holds nothing of the question.
    Evidence nothing() const;
    /// As the `rank` below, over the meetings whose evidence is given (a hit's index is the
    /// position in `evidence`).
    std::vector<Hit> rank(const std::vector<Evidence>& evidence) const;
    /// How much each keyword weighs in the ranking of these meetings (the rarer, the more, and
    /// more where the question names its topic).
    std::vector<double> weights(const std::vector<Evidence>& evidence) const;
    /// The answer turns `rank` gives a meeting, from evidence that kept its turns, under the
    /// weights of the ranking it was part of.
    std::vector<size_t> answerTurns(const Evidence& evidence, const std::vector<double>& weights) const;
    /// The `snippets` of a hit ranked from counts alone, its meeting's transcript `text` read
    /// again for its answer turns (under `weights`); none when the text no longer parses.
    std::vector<std::string> snippets(std::string_view text, const Hit& hit,
                                      const std::vector<double>& weights) const;

private:
    template <typename Feed> Evidence gather(const TranscriptDocument& header, Keep keep, Feed&& feed) const;
    /// `gather` over the turns of `text` as the parser hands them over, each also given to `also`.
    template <typename Also>
    Evidence gatherText(std::string_view text, TranscriptDocument& header, Keep keep, Also&& also) const;

    std::unique_ptr<const detail::ParsedQuestion> parsed_;
    mutable std::mutex lock_;
    /// Word caches not in use, one made for each caller that found none.
    mutable std::vector<std::unique_ptr<QueryTokenizer::WordCache>> idle_;
};

/// The meetings that hold one of the question's keywords or a speaker it names, best first;
/// equal relevance keeps the order given (newest first, as the store lists meetings). Nothing for
/// a question with no keyword and no named speaker, or whose keywords no meeting holds.
std::vector<Hit> rank(const std::vector<const TranscriptDocument*>& documents, std::string_view question,
                      const Options& options = {});

/// The hit's answer turns as "**Speaker:** text", each cut to 90 characters either side of the
/// first of the matched keywords it holds.
std::vector<std::string> snippets(const TranscriptDocument& document, const Hit& hit);

} // namespace zelmor::QuestionRanking
