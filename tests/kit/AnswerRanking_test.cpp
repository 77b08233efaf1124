// The answer ranking (rare keywords weigh more, frequency saturates, age decays, the user's own meetings
// are boosted) and the question ranking (the wording carries no weight, keywords side by side and named
// speakers count, answer turns lie where the question gathers); neither answers about nothing held.
#include "ZelmorMarkdownKit/answer/AnswerRanking.h"
#include "ZelmorMarkdownKit/answer/QuestionRanking.h"

#include "ZelmorMarkdownKit/format/MarkdownTranscriptParser.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <tuple>

namespace zelmor {
namespace {

using namespace RankedTranscriptSearch;
using Items = std::vector<std::pair<std::string, TranscriptDocument>>;
using Strings = std::vector<std::string>;
using Order = std::vector<size_t>;

/// A meeting whose participants are its speakers.
TranscriptDocument meeting(std::vector<TranscriptDocument::Turn> turns,
                           const std::string& date = "2026-11-01", const std::string& title = "") {
    TranscriptDocument document;
    document.title = title;
    document.date = date;
    for (const auto& turn : turns) document.participants.push_back(turn.speaker);
    document.turns = std::move(turns);
    return document;
}

AnswerRankOptions plain(double k = 1, bool idf = false) {
    AnswerRankOptions options;
    options.useIDF = idf;
    options.tfSaturationK = k;
    options.now = *utcMidnight("2026-11-22");
    return options;
}

Strings ids(const std::vector<AnswerHit<std::string>>& hits) {
    Strings result;
    for (const auto& hit : hits) result.push_back(hit.id);
    return result;
}

TEST(AnswerRanking, FrequencySaturatesAndTitleAndParticipantHitsCountMore) {
    TranscriptDocument listed = meeting({});
    listed.participants = {"Budget Office"};
    Items items{{"once", meeting({{"Ana", "budget"}})},
                {"thrice", meeting({{"Ana", "budget budget"}, {"Bo", "the budget"}})},
                {"titled", meeting({}, "2026-11-01", "Budget review")},
                {"listed", listed}};
    // A title hit counts three times and a participant hit twice; equal scores keep their order.
    auto hits = answerRank(items, "budget", plain(1));
    ASSERT_EQ(ids(hits), (Strings{"thrice", "titled", "listed", "once"}));
    EXPECT_DOUBLE_EQ(hits[0].relevance, 1.5);
    EXPECT_DOUBLE_EQ(hits[1].relevance, 1.5);
    EXPECT_DOUBLE_EQ(hits[2].relevance, 4.0 / 3);
    EXPECT_EQ(std::make_tuple(hits[0].match.score, hits[1].match.score, hits[2].match.score),
              std::make_tuple(2LL, 3LL, 2LL))
        << "two turns; the title; a participant";
    EXPECT_DOUBLE_EQ(hits[3].relevance, 1.0);
    // With K = 0 every matched keyword contributes its weight, whatever the frequency.
    EXPECT_DOUBLE_EQ(answerRank(items, "budget", plain(0))[0].relevance, 1);
}

TEST(AnswerRanking, UnmatchedWeightAboveTheLimitRefusesTheWholeQuestion) {
    Items items{{"a", meeting({{"Ana", "budget"}})}, {"b", meeting({{"Ana", "pricing"}})}};
    AnswerRankOptions options = plain(1, true);
    // "budget" is in one of two meetings (weight ln(3/2) + 1), "zeppelin" in none (ln 3 + 1).
    const double share = (std::log(3.0) + 1) / (std::log(1.5) + 1 + std::log(3.0) + 1);
    options.unmatchedMassLimit = share - 0.01;
    EXPECT_TRUE(answerRank(items, "budget zeppelin", options).empty());
    options.unmatchedMassLimit = share + 0.01;
    EXPECT_EQ(ids(answerRank(items, "budget zeppelin", options)), Strings{"a"});
    // A single keyword is never refused, and without IDF the test is off.
    options.unmatchedMassLimit = 0;
    EXPECT_EQ(answerRank(items, "budget", options).size(), 1u);
    options.useIDF = false;
    EXPECT_EQ(answerRank(items, "budget zeppelin", options).size(), 1u);
}

TEST(AnswerRanking, AgeDecaysByHalfLivesAndTiesGoToTheNewerMeeting) {
    const auto now = *utcMidnight("2026-11-22");
    EXPECT_DOUBLE_EQ(recencyFactor("2026-11-08", now, 7.0), 0.25);
    EXPECT_DOUBLE_EQ(recencyFactor("2026-12-01", now, 7.0), 1);
    EXPECT_DOUBLE_EQ(recencyFactor("not a day", now, 7.0), 1);
    EXPECT_DOUBLE_EQ(recencyFactor("2026-11-08", now, std::nullopt), 1);
    EXPECT_DOUBLE_EQ(recencyFactor("2026-11-08", now, 0.0), 1);
    for (const char* bad : {"2026-02-30", "2026-2-3"}) EXPECT_FALSE(utcMidnight(bad)) << bad;
    Items items{{"old", meeting({{"Ana", "budget"}}, "2026-10-01")},
                {"new", meeting({{"Ana", "budget"}})},
                {"same", meeting({{"Bo", "budget"}})}};
    EXPECT_EQ(ids(answerRank(items, "budget", plain())), (Strings{"new", "same", "old"}));
    AnswerRankOptions decaying = plain();
    decaying.recencyHalfLifeDays = 30;
    auto hits = answerRank(items, "budget", decaying);
    EXPECT_LT(hits.back().relevance, hits.front().relevance) << "the old meeting, last either way, decays";
}

TEST(AnswerRanking, MeetingsWhereTheUserSpokeAreBoosted) {
    Items items{{"listened", meeting({{"Ana", "the budget needs another look soon"}})},
                {"spoke", meeting({{"Ana", "the budget is fine"},
                                   {"Me", "I think the budget needs cuts now"},
                                   {"Me", "and the hiring plan waits until March"}},
                                  "2026-10-01")}};
    AnswerRankOptions options = plain(0);
    options.participation = ParticipationBoost{{"Me"}, 0.5, 2};
    auto hits = answerRank(items, "budget", options);
    EXPECT_EQ(ids(hits), (Strings{"spoke", "listened"}));
    EXPECT_DOUBLE_EQ(hits[0].relevance, 1.5);
    options.participation->minTurns = 3;
    EXPECT_EQ(ids(answerRank(items, "budget", options)), (Strings{"listened", "spoke"}));
}

TEST(AnswerRanking, SnippetsShowEachKeywordInItsOwnTurnAtMostThreeAndTheScopeComesFirst) {
    TranscriptDocument document =
        meeting({{"Ana", "Budgets first."}, {"Bo", "The hiring plan, then budgets."}, {"Cy", "In March."}},
                "2026-11-03");
    document.summary = "We talked about the roadmap.";
    Items items{{"/m/c.md", document},
                {"/m/b.md", meeting({{"Ana", "budget"}}, "2026-11-02")},
                {"/m/a.md", meeting({{"Ana", "budget"}}, "2026-10-01")}};
    auto result = answerRank(items, "budget hiring roadmap march",
                             AnswerScope{.dateFrom = "2026-11-01", .lastN = 1}, plain());
    EXPECT_EQ(result.scannedCount, 1);
    ASSERT_EQ(ids(result.hits), Strings{"/m/c.md"});
    EXPECT_EQ(result.hits[0].match.snippets,
              (Strings{"**Ana:** Budgets first.", "**Bo:** The hiring plan, then budgets.",
                       "We talked about the roadmap."}));
    // A long turn is cut 90 characters either side of the keyword.
    Items longTurn{
        {"/m/l.md", meeting({{"Ana", std::string(120, 'a') + " budget " + std::string(120, 'b')}})}};
    EXPECT_EQ(
        answerRank(longTurn, "budget", plain())[0].match.snippets,
        Strings{"**Ana:** \u2026" + std::string(89, 'a') + " budget " + std::string(89, 'b') + "\u2026"});
}

std::vector<QuestionRanking::Hit> ranked(const std::vector<TranscriptDocument>& meetings,
                                         std::string_view question, unsigned workers = 0) {
    std::vector<const TranscriptDocument*> documents;
    for (const auto& document : meetings) documents.push_back(&document);
    return QuestionRanking::rank(documents, question, {workers});
}

Order order(const std::vector<TranscriptDocument>& meetings, std::string_view question,
            unsigned workers = 0) {
    Order positions;
    for (const auto& hit : ranked(meetings, question, workers)) positions.push_back(hit.index);
    return positions;
}

// Filler that holds none of the questions' words, so that meetings differ only where a test says.
const std::string filler = "we went over the schedule and the hiring plan for the spring";

TEST(QuestionRanking, TheQuestionsWordingIsNoKeywordAndOnlyAQuestionAboutNothingHeldGoesUnanswered) {
    EXPECT_EQ(QuestionRanking::keywords(
                  "What did the team discuss about the pricing roadmap? Summarize what Ana said."),
              (Strings{"pric", "roadmap", "ana"}));
    std::vector<TranscriptDocument> meetings{meeting({{"Ana", "the pricing roadmap " + filler}})};
    EXPECT_EQ(order(meetings, "What did we decide about the pricing zorblax?"), Order{0})
        << "one absent word does not empty the answer";
    EXPECT_TRUE(order(meetings, "What about the zorblax quuxification?").empty());
    EXPECT_TRUE(order(meetings, "Summarize the discussion.").empty());
}

TEST(QuestionRanking, KeywordsSideBySideAndTheWordsNamingTheTopicWeighMore) {
    // The second meeting is a word longer, so only the pair puts it first.
    std::vector<TranscriptDocument> meetings{
        meeting({{"Ana", "the pricing is late " + filler}, {"Bo", "the roadmap is late " + filler}}),
        meeting({{"Ana", "the pricing roadmap is late " + filler}, {"Bo", "the report is late " + filler}}),
        meeting({{"Ana", filler}})};
    EXPECT_EQ(order(meetings, "What is the pricing roadmap?"), (Order{1, 0}));
    // As long and as rare as each other: only where each stands in the question tells them apart.
    meetings = {meeting({{"Ana", "design " + filler}}), meeting({{"Ana", "launch " + filler}}),
                meeting({{"Ana", filler}})};
    EXPECT_EQ(order(meetings, "What did design say about the launch?"), (Order{1, 0}));
    EXPECT_EQ(QuestionRanking::keywords("What about, regarding, on, of, for, with, toward or towards it?"),
              Strings{})
        << "the words that open a topic are no keywords themselves";
}

TEST(QuestionRanking, ANamedSpeakersMeetingAndTurnsCount) {
    std::vector<TranscriptDocument> meetings{
        meeting({{"Ana", "the budget holds " + filler}, {"Bo", filler}, {"Bo", "budget too"}}),
        meeting({{"Gareth Pierce", "the budget holds " + filler}, {"Bo", filler}, {"Ana", "budget too"}})};
    auto hits = ranked(meetings, "What did Gareth Pierce say about the budget?");
    ASSERT_EQ(hits.size(), 2u);
    EXPECT_EQ(hits[0].index, 1u);
    EXPECT_EQ(hits[0].answerTurns.front(), 0u) << "Gareth's own turn carries the answer";
    EXPECT_EQ(order(meetings, "What did Gareth Pierce say?"), Order{1}) << "no keyword said, a speaker named";
    // A lone capital letter names a speaker so labelled; "A" and "I" are words.
    meetings = {meeting({{"C", "the budget " + filler}}), meeting({{"D", "the budget " + filler}})};
    EXPECT_EQ(order(meetings, "What did D think of the budget?"), (Order{1, 0}));
    EXPECT_EQ(order(meetings, "What did D think?"), Order{1});
    EXPECT_EQ(order(meetings, "Did the CD budget hold?"), (Order{0, 1})) << "no letter stands alone";
}

TEST(QuestionRanking, AnswerTurnsAreWhereTheQuestionGathers) {
    // Far apart (more than six turns), so that each turn's neighbourhood is its own.
    std::vector<TranscriptDocument::Turn> turns{{"Ana", "the pricing of the roadmap"},
                                                {"Bo", "pricing and roadmap and pricing roadmap"}};
    for (int i = 0; i < 8; ++i) turns.push_back({"Bo", filler});
    turns.push_back({"Cy", "pricing, then a new roadmap"});
    for (int i = 0; i < 8; ++i) turns.push_back({"Bo", filler});
    turns.push_back({"Ana", "the pricing roadmap"});
    std::vector<TranscriptDocument> meetings{meeting(turns)};
    // Turns 0 and 1 gather the most; a turn that holds the pair beats one that holds the words apart.
    EXPECT_EQ(ranked(meetings, "What about the pricing roadmap?").at(0).answerTurns, (Order{1, 0, 19}));
    // A named speaker's turns first, however much others said.
    EXPECT_EQ(ranked(meetings, "What did Cy say about the pricing roadmap?").at(0).answerTurns,
              (Order{10, 1, 0}));
    // A keyword said once points to the answer more than one said all through the meeting.
    turns.assign(30, {"Bo", filler});
    for (size_t at : {0, 8, 16}) turns[at].text = "the pricing";
    turns[24].text = "the roadmap";
    EXPECT_EQ(ranked({meeting(turns)}, "What about the pricing roadmap?").at(0).answerTurns,
              (Order{24, 0, 8}));
    // The words of a named speaker's label say whose answer, not what it is about.
    turns.assign(30, {"Marketing", filler});
    for (size_t at = 0; at < 8; ++at) turns[at].text = "for marketing";
    turns[20].text = "the battery";
    EXPECT_EQ(ranked({meeting(turns)}, "What did Marketing say about the battery?").at(0).answerTurns.front(),
              20u);
    // Snippets come from the file read again; turns it no longer has are left out.
    EXPECT_EQ(QuestionRanking::snippets(meetings[0], {0, 1, {"pricing"}, {1, 40}}),
              Strings{"**Bo:** pricing and roadmap and pricing roadmap"});
}

TEST(QuestionRanking, LengthIsNormalisedAndTiesKeepTheOrderGiven) {
    std::string longTalk;
    for (int i = 0; i < 40; ++i) longTalk += filler + " ";
    std::vector<TranscriptDocument> meetings{meeting({{"Ana", "the launch date " + longTalk}}),
                                             meeting({{"Ana", "the launch date " + filler}}),
                                             meeting({{"Bo", "the launch date " + filler}})};
    EXPECT_EQ(order(meetings, "When is the launch?"), (Order{1, 2, 0}));
    EXPECT_EQ(order(meetings, "When is the launch?", 1), order(meetings, "When is the launch?", 3));
}

TEST(QuestionRanking, TheSieveAndTheTurnsReadInPlaceChangeNoEvidence) {
    // Words that are, nearly are, or hide a keyword's stem (case, joining marks, plurals, the
    // nouns mapped onto verbs, one-on-one spellings), words of no topic between keywords, and
    // text outside ASCII; each meeting read three ways must hold the same evidence.
    const std::vector<std::string> pieces = {
        "budget",    "Budgets",  "BUDGETING", "b_udget",    "bud'get",  "x.budget",   "1.budget",
        "_budget",   "budge",    "the",       "and",        "of",       "launch",     "launches",
        "re-launch", "launch's", "plan",      "planned",    "plans.",   "plan,",      "decision",
        "decide",    "decided",  "policy",    "policies",   "polic",    "one-on-one", "1:1",
        "1:1s",      "2.1s",     "q3",        "one on one", "zeppelin", "zeppelins",  "Zoë",
        "—",         "“budget”", "budgét",    "ﬁnance",     "finance",  "Ana",        "said",
        "\n\n",      " ",        " ",         " ",          ", ",       ". ",         "budget—plan",
        "…",         "–launch",  "plan”",     "launch 1:1"};
    const std::vector<std::string> questions = {"What did we decide about the budget and the launch plan?",
                                                "What did Ana say about the policies?",
                                                "Any news on the zeppelin finance?",
                                                "Who ran the 1:1 about the budget?",
                                                "What about the plan?",
                                                "Were the 1s in the q3 budget?"};
    std::mt19937 random(3);
    auto talk = [&] {
        std::string text;
        for (size_t i = 0, length = 1 + random() % 40; i < length; ++i) {
            text += pieces[random() % pieces.size()];
            text += ' ';
        }
        return text;
    };
    std::vector<std::string> files;
    for (int round = 0; round < 300; ++round) {
        std::string file = "---\ntitle: " + talk() + "\nparticipants:\n  - Ana\n---\n\n## Transcript\n\n";
        for (size_t turn = 0, turns = 1 + random() % 6; turn < turns; ++turn)
            file += std::string(random() % 3 ? "**Ana:** " : "**Bo Li:** ") + talk() + "\n\n";
        files.push_back(std::move(file));
    }
    using Question = QuestionRanking::Question;
    for (const auto& text : questions) {
        const Question sieved(text), everyWord(text, Question::Reading::everyWord);
        std::vector<QuestionRanking::Evidence> whole, counts;
        for (const auto& file : files) {
            auto document = MarkdownTranscriptParser::parse(file);
            auto header = MarkdownTranscriptParser::parseFrontmatter(file);
            ASSERT_TRUE(document && header);
            const auto plain = everyWord.evidence(*document);
            ASSERT_EQ(sieved.evidence(*document), plain) << text << "\n" << file;
            ASSERT_EQ(sieved.evidence(file, *header), plain) << text << "\n" << file;
            whole.push_back(plain);
            counts.push_back(sieved.evidence(file, *header, Question::Keep::counts));
        }
        // Ranked on what ranks alone, the meetings come in the same order; their answer turns,
        // found once their turns are read again, are the ones the whole evidence gives.
        const auto hits = sieved.rank(whole), bare = sieved.rank(counts);
        const auto weights = sieved.weights(counts);
        ASSERT_EQ(hits.size(), bare.size()) << text;
        for (size_t i = 0; i < hits.size(); ++i) {
            EXPECT_EQ(bare[i].index, hits[i].index) << text;
            EXPECT_EQ(bare[i].relevance, hits[i].relevance) << text;
            EXPECT_TRUE(bare[i].answerTurns.empty()) << text;
            EXPECT_EQ(sieved.answerTurns(whole[hits[i].index], weights), hits[i].answerTurns) << text;
        }
    }
}

} // namespace
} // namespace zelmor
