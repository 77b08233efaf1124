// zelmor-kit ask over the bundled examples (September to November 2026), with the clock and
// time zone fixed through the environment.
#include "tests/support/Subprocess.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace zelmor::test {
namespace {

const std::string examples = std::string(ZELMOR_SOURCE_DIR) + "/examples/transcripts";

ProcessResult ask(std::vector<std::string> arguments) {
    static TempFolder home;
    ProcessOptions options;
    options.arguments = {"ask"};
    options.arguments.insert(options.arguments.end(), arguments.begin(), arguments.end());
    options.environment = std::map<std::string, std::string>{
        {"HOME", home.path()}, {"TZ", "UTC"}, {"ZELMOR_NOW", "2026-11-22T12:00:00Z"}};
    return runProcess(ZELMOR_KIT_BINARY, options);
}

TEST(AskCommand, TimePhrasesScopeTheQuestionAndTheBestMeetingComesFirst) {
    auto result = ask({"what did we decide about pricing last month?", "--folder", examples});
    EXPECT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(result.out.rfind("Best matches in 2026-10-01 to 2026-10-31 (3 meetings searched):\n\n"
                               "1. Pricing decision: Team tier \u2014 2026-10-13\n   " +
                                   examples + "/2026-10-13-pricing-decision-team-tier.md\n",
                               0),
              0u)
        << result.out;
}

TEST(AskCommand, AThinLookBackWindowWidensAndSaysSo) {
    auto result = ask({"who is the backend candidate?", "--folder", examples, "--limit", "1"});
    // One meeting of the last 30 days matches; the window widens until three do.
    EXPECT_EQ(result.out.rfind("Widened to 90 days \u2014 only 1 meeting in the last 30\n"
                               "Best matches in 2026-08-25 to 2026-11-22 (8 meetings searched):\n\n"
                               "1. Hiring loop sync: backend engineer \u2014 2026-11-03\n",
                               0),
              0u)
        << result.out;
    EXPECT_EQ(result.out.find("\n2. "), std::string::npos);
}

TEST(AskCommand, JSONCarriesScopePhrasesAndHits) {
    auto result = ask({"pricing", "last", "month", "--folder", examples, "--json", "--limit", "1"});
    auto answer = nlohmann::json::parse(result.out);
    EXPECT_EQ(answer["question"], "pricing last month");
    EXPECT_EQ(answer["time_phrases"], nlohmann::json::array({"last month"}));
    EXPECT_EQ(answer["scope"], nlohmann::json::parse(R"({"dateFrom":"2026-10-01","dateTo":"2026-10-31"})"));
    EXPECT_EQ(answer["scanned"], 3);
    ASSERT_EQ(answer["hits"].size(), 1u);
    EXPECT_EQ(answer["hits"][0]["title"], "Pricing decision: Team tier");
}

TEST(AskCommand, SaysHonestlyWhenNothingMatches) {
    auto result = ask({"zeppelin airships in March", "--folder", examples});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.out,
              "No meeting in 2026-03-01 to 2026-03-31 mentions zeppelin, airship (0 meetings searched).\n");
}

TEST(AskCommand, OneWordNoMeetingHoldsDoesNotEmptyTheAnswer) {
    // "promise" occurs nowhere; Wenna and Northwind still find the meetings about them.
    auto result = ask({"what did Wenna promise Northwind?", "--folder", examples, "--limit", "1"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.out.rfind("Widened to 90 days \u2014 only 1 meeting in the last 30\n"
                               "Best matches in 2026-08-25 to 2026-11-22 (8 meetings searched):\n\n"
                               "1. Ana / Wenna 1:1 \u2014 2026-11-10\n",
                               0),
              0u)
        << result.out;
    EXPECT_NE(result.out.find("relevance 1.788, 2 of 3 keywords\n"), std::string::npos) << result.out;
}

TEST(AskCommand, AMissingFolderIsAnError) {
    auto result = ask({"pricing", "--folder", "/nonexistent/zelmor"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.err, "zelmor-kit ask: no transcripts folder at /nonexistent/zelmor\n");
    EXPECT_EQ(ask({"--folder", examples}).exitStatus, 1);
}

} // namespace
} // namespace zelmor::test
