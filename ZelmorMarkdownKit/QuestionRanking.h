// Ranking meetings for a question as a person asks it ("what did Ana say about the pricing
// roadmap?"), to find the meeting that answers it: the evidence of a term ranking with length
// normalisation, the question's words in the order it puts them, and the speakers it names.
// Beside the answer ranking, which keeps its own rules; both stand on the same tokenizer.
#pragma once

#include "ZelmorMarkdownKit/TranscriptDocument.h"

#include <chrono>
#include <cstddef>
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
    /// Up to three turns that carry the answer, best first: the turns that hold the most of the
    /// question's weight (and were spoken by a speaker it names, when it names one).
    std::vector<size_t> answerTurns;
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
