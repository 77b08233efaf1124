// The question ranking's properties: the question's wording carries no weight, keywords side by
// side beat the same keywords apart, a named speaker's meetings and turns count, answer turns
// lie where the question gathers, length is normalised, and only a question about nothing the folder holds
// goes unanswered.
#include "ZelmorMarkdownKit/answer/QuestionRanking.h"

#include <gtest/gtest.h>

namespace zelmor::QuestionRanking {
namespace {

using Turns = std::vector<std::pair<std::string, std::string>>;

TranscriptDocument meeting(const Turns& turns) {
    TranscriptDocument document;
    document.date = "2026-11-01";
    for (const auto& [speaker, text] : turns) {
        document.turns.push_back({speaker, text});
        document.participants.push_back(speaker);
    }
    return document;
}

/// The positions of the ranked meetings, best first.
std::vector<size_t> order(const std::vector<TranscriptDocument>& meetings, std::string_view question,
                          unsigned workers = 0) {
    std::vector<const TranscriptDocument*> documents;
    for (const auto& document : meetings) documents.push_back(&document);
    std::vector<size_t> ranked;
    for (const auto& hit : rank(documents, question, {workers})) ranked.push_back(hit.index);
    return ranked;
}

// Filler that holds none of the questions' words, so that meetings differ only where a test says.
const std::string filler = "we went over the schedule and the hiring plan for the spring";

TEST(QuestionRanking, TheQuestionsWordingIsNoKeyword) {
    EXPECT_EQ(keywords("What did the team discuss about the pricing roadmap? Summarize what Ana said."),
              (std::vector<std::string>{"pric", "roadmap", "ana"}));
    EXPECT_EQ(keywords("Summarize the discussion."), std::vector<std::string>{});
}

TEST(QuestionRanking, KeywordsSideBySideBeatTheSameKeywordsApart) {
    // The second meeting is a word longer, so only the pair puts it first.
    std::vector<TranscriptDocument> meetings{
        meeting({{"Ana", "the pricing is late " + filler}, {"Bo", "the roadmap is late " + filler}}),
        meeting({{"Ana", "the pricing roadmap is late " + filler}, {"Bo", "the report is late " + filler}}),
        meeting({{"Ana", filler}})};
    EXPECT_EQ(order(meetings, "What is the pricing roadmap?"), (std::vector<size_t>{1, 0}));
}

TEST(QuestionRanking, ANamedSpeakersMeetingAndTurnsCount) {
    std::vector<TranscriptDocument> meetings{
        meeting({{"Ana", "the budget holds " + filler}, {"Bo", filler}, {"Bo", "budget too"}}),
        meeting({{"Gareth Pierce", "the budget holds " + filler}, {"Bo", filler}, {"Ana", "budget too"}})};
    std::vector<const TranscriptDocument*> documents{&meetings[0], &meetings[1]};
    auto hits = rank(documents, "What did Gareth Pierce say about the budget?");
    ASSERT_EQ(hits.size(), 2u);
    EXPECT_EQ(hits[0].index, 1u);
    EXPECT_EQ(hits[0].answerTurns.front(), 0u) << "Gareth's own turn carries the answer";
    EXPECT_EQ(hits[0].matchedKeywords, (std::vector<std::string>{"gareth", "pierce", "budget"}))
        << "the name is held where its speaker talks";
    // A lone capital letter names a speaker so labelled; "A" and "I" are words.
    meetings = {meeting({{"C", "the budget " + filler}}), meeting({{"D", "the budget " + filler}})};
    EXPECT_EQ(order(meetings, "What did D think of the budget?"), (std::vector<size_t>{1, 0}));
}

TEST(QuestionRanking, AnswerTurnsAreWhereTheQuestionGathers) {
    // Far apart (more than six turns), so that each turn's neighbourhood is its own.
    Turns turns{{"Ana", "the pricing of the roadmap"}, {"Bo", "pricing and roadmap and pricing roadmap"}};
    for (int i = 0; i < 8; ++i) turns.push_back({"Bo", filler});
    turns.push_back({"Cy", "pricing, then a new roadmap"});
    for (int i = 0; i < 8; ++i) turns.push_back({"Bo", filler});
    turns.push_back({"Ana", "the pricing roadmap"});
    std::vector<TranscriptDocument> meetings{meeting(turns)};
    std::vector<const TranscriptDocument*> documents{&meetings[0]};
    struct Case {
        const char* question;
        std::vector<size_t> answerTurns;
    } cases[] = {
        // Turns 0 and 1 gather the most; a turn that holds the pair beats one that holds the words apart.
        {"What about the pricing roadmap?", {1, 0, 19}},
        // A named speaker's turns first, however much others said.
        {"What did Cy say about the pricing roadmap?", {10, 1, 0}},
    };
    for (const auto& c : cases) {
        auto hits = rank(documents, c.question);
        ASSERT_EQ(hits.size(), 1u) << c.question;
        EXPECT_EQ(hits[0].answerTurns, c.answerTurns) << c.question;
    }
    // Snippets come from the file read again; turns it no longer has are left out.
    Hit shortened{0, 1, {"pricing"}, {1, 40}};
    EXPECT_EQ(snippets(meetings[0], shortened),
              std::vector<std::string>{"**Bo:** pricing and roadmap and pricing roadmap"});
}

TEST(QuestionRanking, LengthIsNormalisedAndTiesKeepTheOrderGiven) {
    std::string longTalk;
    for (int i = 0; i < 40; ++i) longTalk += filler + " ";
    std::vector<TranscriptDocument> meetings{meeting({{"Ana", "the launch date " + longTalk}}),
                                             meeting({{"Ana", "the launch date " + filler}}),
                                             meeting({{"Bo", "the launch date " + filler}})};
    EXPECT_EQ(order(meetings, "When is the launch?"), (std::vector<size_t>{1, 2, 0}));
    EXPECT_EQ(order(meetings, "When is the launch?", 1), order(meetings, "When is the launch?", 3));
}

TEST(QuestionRanking, OnlyAQuestionAboutNothingHeldGoesUnanswered) {
    std::vector<TranscriptDocument> meetings{meeting({{"Ana", "the pricing roadmap " + filler}})};
    EXPECT_EQ(order(meetings, "What did we decide about the pricing zorblax?"), std::vector<size_t>{0})
        << "one absent word does not empty the answer";
    EXPECT_TRUE(order(meetings, "What about the zorblax quuxification?").empty());
    EXPECT_TRUE(order(meetings, "Summarize the discussion.").empty());
}

} // namespace
} // namespace zelmor::QuestionRanking
