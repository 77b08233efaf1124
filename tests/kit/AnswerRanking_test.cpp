// Answer ranking: rare keywords weigh more, frequency saturates, age decays, the user's own
// meetings are boosted, and a question about nothing in the folder gets no answer at all.
#include "ZelmorMarkdownKit/answer/AnswerRanking.h"

#include <gtest/gtest.h>

#include <cmath>

namespace zelmor::RankedTranscriptSearch {
namespace {

using std::chrono::system_clock;
using Items = std::vector<std::pair<std::string, TranscriptDocument>>;

TranscriptDocument meeting(const std::string& date, std::vector<std::pair<std::string, std::string>> turns,
                           const std::string& title = "") {
    TranscriptDocument document;
    document.title = title;
    document.date = date;
    for (auto& [speaker, text] : turns) document.turns.push_back({speaker, text});
    return document;
}

AnswerRankOptions plain(double k = 1) {
    AnswerRankOptions options;
    options.useIDF = false;
    options.tfSaturationK = k;
    options.now = *utcMidnight("2026-11-22");
    return options;
}

std::vector<std::string> ids(const std::vector<AnswerHit<std::string>>& hits) {
    std::vector<std::string> result;
    for (const auto& hit : hits) result.push_back(hit.id);
    return result;
}

TEST(AnswerRanking, QuestionsWithoutContentKeywordsFindNothing) {
    Items items{{"a", meeting("2026-11-01", {{"Ana", "what did we do last week"}})}};
    EXPECT_TRUE(answerRank(items, "what did we do last week?", plain()).empty());
}

TEST(AnswerRanking, RareKeywordsWeighMoreThanUbiquitousOnes) {
    Items items;
    for (int i = 0; i < 9; ++i)
        items.push_back({"m" + std::to_string(i),
                         meeting("2026-11-01", {{"Ana", i == 4 ? "budget roadmap" : "budget"}})});
    AnswerRankOptions options = plain(1);
    options.useIDF = true;
    auto hits = answerRank(items, "budget roadmap", options);
    ASSERT_EQ(hits.size(), 9u);
    EXPECT_EQ(hits[0].id, "m4");
    EXPECT_EQ(hits[0].matchedKeywords, 2);
    // "budget" is everywhere: weight ln(10/10) + 1 = 1; "roadmap" in one of nine: ln(10/2) + 1.
    EXPECT_DOUBLE_EQ(hits[0].relevance, 1 + std::log(5.0) + 1);
    EXPECT_DOUBLE_EQ(hits[1].relevance, 1);
}

TEST(AnswerRanking, FrequencySaturates) {
    Items items{{"once", meeting("2026-11-01", {{"Ana", "budget"}})},
                {"thrice", meeting("2026-11-01", {{"Ana", "budget budget"}, {"Bo", "the budget"}})}};
    auto hits = answerRank(items, "budget", plain(1));
    ASSERT_EQ(ids(hits), (std::vector<std::string>{"thrice", "once"}));
    EXPECT_DOUBLE_EQ(hits[0].relevance, 1.5);
    EXPECT_DOUBLE_EQ(hits[1].relevance, 1.0);
    EXPECT_EQ(hits[0].match.matchingTurns, 2);
}

TEST(AnswerRanking, TitleAndParticipantHitsCountMore) {
    TranscriptDocument titled = meeting("2026-11-01", {}, "Budget review");
    TranscriptDocument listed = meeting("2026-11-01", {});
    listed.participants = {"Budget Office"};
    Items items{{"titled", titled}, {"listed", listed}};
    auto hits = answerRank(items, "budget", plain(0));
    // With K = 0 every matched keyword contributes its weight, whatever the frequency.
    EXPECT_DOUBLE_EQ(hits[0].relevance, 1);
    EXPECT_EQ(hits[0].match.score, 3);
    EXPECT_EQ(hits[1].match.score, 2);
    EXPECT_TRUE(hits[0].match.snippets.empty());
}

TEST(AnswerRanking, UnmatchedWeightAboveTheLimitRefusesTheWholeQuestion) {
    Items items{{"a", meeting("2026-11-01", {{"Ana", "budget"}})},
                {"b", meeting("2026-11-01", {{"Ana", "pricing"}})}};
    AnswerRankOptions options = plain(1);
    options.useIDF = true;
    // "budget" is in one of two meetings (weight ln(3/2) + 1), "zeppelin" in none (ln 3 + 1).
    const double share = (std::log(3.0) + 1) / (std::log(1.5) + 1 + std::log(3.0) + 1);
    options.unmatchedMassLimit = share - 0.01;
    EXPECT_TRUE(answerRank(items, "budget zeppelin", options).empty());
    options.unmatchedMassLimit = share + 0.01;
    EXPECT_EQ(ids(answerRank(items, "budget zeppelin", options)), std::vector<std::string>{"a"});
    // A single keyword is never refused, and without IDF the test is off.
    options.unmatchedMassLimit = 0;
    EXPECT_TRUE(answerRank(items, "zeppelin", options).empty());
    EXPECT_EQ(answerRank(items, "budget", options).size(), 1u);
    options.useIDF = false;
    EXPECT_EQ(answerRank(items, "budget zeppelin", options).size(), 1u);
}

TEST(AnswerRanking, AgeDecaysByHalfLivesAndTiesGoToTheNewerMeeting) {
    EXPECT_DOUBLE_EQ(recencyFactor("2026-11-08", *utcMidnight("2026-11-22"), 7.0), 0.25);
    EXPECT_DOUBLE_EQ(recencyFactor("2026-12-01", *utcMidnight("2026-11-22"), 7.0), 1);
    EXPECT_DOUBLE_EQ(recencyFactor("not a day", *utcMidnight("2026-11-22"), 7.0), 1);
    EXPECT_DOUBLE_EQ(recencyFactor("2026-11-08", *utcMidnight("2026-11-22"), std::nullopt), 1);
    EXPECT_DOUBLE_EQ(recencyFactor("2026-11-08", *utcMidnight("2026-11-22"), 0.0), 1);
    EXPECT_FALSE(utcMidnight("2026-02-30"));
    EXPECT_FALSE(utcMidnight("2026-2-3"));

    Items items{{"old", meeting("2026-10-01", {{"Ana", "budget"}})},
                {"new", meeting("2026-11-01", {{"Ana", "budget"}})},
                {"same", meeting("2026-11-01", {{"Bo", "budget"}})}};
    EXPECT_EQ(ids(answerRank(items, "budget", plain())), (std::vector<std::string>{"new", "same", "old"}));
    AnswerRankOptions decaying = plain();
    decaying.recencyHalfLifeDays = 30;
    auto hits = answerRank(items, "budget", decaying);
    EXPECT_EQ(hits.back().id, "old");
    EXPECT_LT(hits.back().relevance, hits.front().relevance);
}

TEST(AnswerRanking, MeetingsWhereTheUserSpokeAreBoosted) {
    Items items{{"listened", meeting("2026-11-01", {{"Ana", "the budget needs another look soon"}})},
                {"spoke", meeting("2026-10-01", {{"Ana", "the budget is fine"},
                                                 {"Me", "I think the budget needs cuts now"},
                                                 {"Me", "and the hiring plan waits until March"}})}};
    AnswerRankOptions options = plain(0);
    options.participation = ParticipationBoost{{"Me"}, 0.5, 2};
    auto hits = answerRank(items, "budget", options);
    EXPECT_EQ(ids(hits), (std::vector<std::string>{"spoke", "listened"}));
    EXPECT_DOUBLE_EQ(hits[0].relevance, 1.5);
    options.participation->minTurns = 3;
    EXPECT_EQ(ids(answerRank(items, "budget", options)), (std::vector<std::string>{"listened", "spoke"}));
}

TEST(AnswerRanking, SnippetsShowEachKeywordInItsOwnTurn) {
    TranscriptDocument document =
        meeting("2026-11-01", {{"Ana", "Budgets first."}, {"Bo", "The hiring plan, then budgets."}});
    document.summary = "We talked about the roadmap.";
    Items items{{"a", document}};
    auto hits = answerRank(items, "budget hiring roadmap", plain());
    ASSERT_EQ(hits.size(), 1u);
    EXPECT_EQ(hits[0].match.snippets,
              (std::vector<std::string>{"**Ana:** Budgets first.", "**Bo:** The hiring plan, then budgets.",
                                        "We talked about the roadmap."}));
}

TEST(AnswerRanking, TheScopeComesFirstAndCountsWhatIsLeft) {
    Items items{{"/m/c.md", meeting("2026-11-03", {{"Ana", "budget"}})},
                {"/m/b.md", meeting("2026-11-02", {{"Ana", "budget"}})},
                {"/m/a.md", meeting("2026-10-01", {{"Ana", "budget"}})}};
    AnswerScope scope;
    scope.dateFrom = "2026-11-01";
    scope.lastN = 1;
    auto result = answerRank(items, "budget", scope, plain());
    EXPECT_EQ(result.scannedCount, 1);
    ASSERT_EQ(result.hits.size(), 1u);
    EXPECT_EQ(result.hits[0].id, "/m/c.md");
}

} // namespace
} // namespace zelmor::RankedTranscriptSearch
