// The user's aliases, label matching, and which of the user's turns count as taking part.
#include "ZelmorMarkdownKit/answer/AnswerScope.h"
#include "ZelmorMarkdownKit/answer/Participation.h"
#include "ZelmorMarkdownKit/answer/SpeakerIdentity.h"

#include <gtest/gtest.h>

namespace zelmor {
namespace {

using Strings = std::vector<std::string>;

TranscriptDocument meeting(std::vector<TranscriptDocument::Turn> turns) {
    TranscriptDocument document;
    document.title = "Sync";
    document.date = "2024-05-01";
    document.turns = std::move(turns);
    return document;
}

TEST(SpeakerIdentityTest, AliasesFromTheUserName) {
    EXPECT_EQ(SpeakerIdentity::fromUserName("  Dana Ruiz \n").aliases,
              (Strings{"Me", "You", "Dana Ruiz", "Dana"}));
    EXPECT_EQ(SpeakerIdentity::fromUserName("Dana").aliases, (Strings{"Me", "You", "Dana"}));
    EXPECT_EQ(SpeakerIdentity::fromUserName(" \t ").aliases, (Strings{"Me", "You"}));
    EXPECT_EQ(SpeakerIdentity::fromAliases({"Host"}).aliases, (Strings{"Host"}));
}

TEST(SpeakerIdentityTest, LabelsMatchTrimmedAndFolded) {
    SpeakerIdentity dana = SpeakerIdentity::fromUserName("Dána Ruiz");
    EXPECT_TRUE(dana.matches("  me "));
    EXPECT_TRUE(dana.matches("YOU"));
    EXPECT_TRUE(dana.matches("dana"));
    EXPECT_TRUE(dana.matches("DANA RUIZ"));
    EXPECT_FALSE(dana.matches("Mel"));
    EXPECT_FALSE(dana.matches("Dana R"));
    EXPECT_FALSE(dana.matches("   "));
    EXPECT_FALSE(SpeakerIdentity::fromAliases({""}).matches(""));
    EXPECT_FALSE(SpeakerIdentity::fromAliases({"Host"}).matches("Me"));
}

TEST(ParticipationTest, SubstantiveMeansFourWords) {
    EXPECT_TRUE(Participation::isSubstantive("yes I agree with that"));
    EXPECT_TRUE(Participation::isSubstantive(" a\tb\nc  d "));
    EXPECT_FALSE(Participation::isSubstantive("yes I agree"));
    EXPECT_FALSE(Participation::isSubstantive(""));
}

TEST(ParticipationTest, EchoesRepeatTheEarlierText) {
    EXPECT_FALSE(Participation::isEcho("we ship on friday", std::nullopt));
    EXPECT_TRUE(Participation::isEcho("We ship on Friday.", "we ship on friday"));
    EXPECT_FALSE(Participation::isEcho("a b c", "we ship"));
    EXPECT_FALSE(Participation::isEcho("we ship", "!?"));
    // Ten distinct tokens, nine shared: exactly at the threshold.
    EXPECT_TRUE(Participation::isEcho("alpha bravo charlie delta echo foxtrot golf hotel india juliet",
                                      "alpha bravo charlie delta echo foxtrot golf hotel india"));
    EXPECT_FALSE(Participation::isEcho("alpha bravo charlie delta echo foxtrot golf hotel india",
                                       "alpha bravo charlie delta echo foxtrot golf hotel kilo"));
    EXPECT_TRUE(Participation::isEcho("meetings planned", "planning meeting"));
}

TEST(ParticipationTest, CountsTheUsersNonEchoTurnsAgainstTheLastOtherSpeaker) {
    SpeakerIdentity dana = SpeakerIdentity::fromUserName("Dana");
    auto doc = meeting({
        {"Me", "I opened the meeting today"}, // first turn: nothing to echo
        {"Bo", "we ship the beta on friday"},
        {"Dana", "we ship the beta on friday"},    // echo of Bo
        {"Dana", "and the docs follow next week"}, // compared with Bo, not with Dana
        {"Me", "yes I agree"},                     // too short
        {" me ", "we ship the beta on friday"},    // still compared with Bo
        {"", "an unlabelled turn becomes the reference"},
        {"You", "an unlabelled turn becomes the reference"},
    });
    EXPECT_EQ(Participation::substantiveTurnCount(doc, dana), 2u);
    EXPECT_TRUE(Participation::spoke(doc, dana, 2));
    EXPECT_FALSE(Participation::spoke(doc, dana, 3));
    EXPECT_EQ(Participation::substantiveTurnCount(doc, SpeakerIdentity::fromAliases({"Bo"})), 1u);
}

TEST(ParticipationTest, MinimumTurnsBelowOneStillNeedsOne) {
    SpeakerIdentity me = SpeakerIdentity::fromUserName("");
    EXPECT_FALSE(Participation::spoke(meeting({}), me, 0));
    EXPECT_FALSE(Participation::spoke(meeting({{"Me", "ok"}}), me, -1));
    EXPECT_TRUE(Participation::spoke(meeting({{"Me", "this one really counts"}}), me, 0));
}

TEST(ParticipationTest, SpeakerScopeAdmitsMeetingsWhereTheUserTookPart) {
    auto doc = meeting({{"Ann", "and the budget?"}, {"Dana", "the budget is fine for now"}});
    EXPECT_TRUE((AnswerScope{.speaker = SpeakerFilter{"Dana", 0}}).admits("a", doc));
    // The first word of the name is an alias too.
    EXPECT_TRUE((AnswerScope{.speaker = SpeakerFilter{"Dana Ruiz", 1}}).admits("a", doc));
    EXPECT_FALSE((AnswerScope{.speaker = SpeakerFilter{"Dana", 2}}).admits("a", doc));
    EXPECT_FALSE((AnswerScope{.speaker = SpeakerFilter{"Ann", 1}}).admits("a", doc));
}

} // namespace
} // namespace zelmor
