// Scope tests: each restriction, the order-preserving cut, merging, the folder test, JSON; and the
// user's aliases and which of the user's turns count as taking part.
#include "ZelmorMarkdownKit/answer/AnswerScope.h"
#include "ZelmorMarkdownKit/answer/Participation.h"
#include "ZelmorMarkdownKit/answer/SpeakerIdentity.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace zelmor {
namespace {

using Strings = std::vector<std::string>;
using Item = std::pair<std::string, TranscriptDocument>;
using IDs = std::set<std::string>;
using nlohmann::json;

TranscriptDocument meeting(std::string date, Strings participants = {},
                           std::vector<TranscriptDocument::Turn> turns = {}) {
    TranscriptDocument document;
    document.date = std::move(date);
    document.participants = std::move(participants);
    document.turns = std::move(turns);
    return document;
}

TEST(AnswerScopeTest, EachRestrictionAdmitsOnlyItsMeetingsAndAFolderRunMayStandAnywhere) {
    AnswerScope march{.dateFrom = "2024-03-01", .dateTo = "2024-03-31"};
    const std::tuple<AnswerScope, const char*, TranscriptDocument, bool> cases[] = {
        // Dates compare as inclusive strings.
        {march, "a", meeting("2024-03-01"), true},
        {march, "a", meeting("2024-03-31"), true},
        {march, "a", meeting("2024-02-29"), false},
        {march, "a", meeting("2024-04-01"), false},
        {AnswerScope{.dateTo = "2024-03-31"}, "a", meeting(""), true},
        // A participant is contained, ignoring case and diacritics.
        {AnswerScope{.participant = "ann"}, "a", meeting("", {"Bo", "Joanna"}), true},
        {AnswerScope{.participant = "ann"}, "a", meeting("", {"Bo", "An Li"}), false},
        {AnswerScope{.participant = "JOSE"}, "a", meeting("", {"José Núñez"}), true},
        // Meeting identifiers are exact members.
        {AnswerScope{.meetingIDs = IDs{"/m/a.md", "/m/b.md"}}, "/m/b.md", meeting(""), true},
        {AnswerScope{.meetingIDs = IDs{"/m/a.md", "/m/b.md"}}, "/m/B.md", meeting(""), false},
        {AnswerScope{.folder = "acme"}, "/beta/a.md", meeting(""), false}};
    for (const auto& [scope, id, document, admitted] : cases)
        EXPECT_EQ(scope.admits(id, document), admitted) << json(scope).dump() << " " << id;
    // The folder's run of names may stand anywhere among the path's folders.
    EXPECT_TRUE(AnswerScope::pathIsInFolder("/Users/me/Work/clients/acme/2024/a.md", "Clients/Acme"));
    EXPECT_TRUE(AnswerScope::pathIsInFolder("clients/acme/a.md", "/clients/acme/"));
    EXPECT_FALSE(AnswerScope::pathIsInFolder("/clients/acme.md", "acme.md"));
    EXPECT_FALSE(AnswerScope::pathIsInFolder("/clients/acme/a.md", "/"));
    EXPECT_FALSE(AnswerScope::pathIsInFolder("acme", "acme"));
}

TEST(AnswerScopeTest, OnlyTheEmptyScopeIsAllAndApplyKeepsCallerOrderCuttingLastNAfterFiltering) {
    EXPECT_TRUE(AnswerScope{}.isAll());
    std::vector<Item> items{{"c", meeting("2024-03-03")},
                            {"x", meeting("2023-01-01")},
                            {"b", meeting("2024-03-02")},
                            {"a", meeting("2024-03-01")}};
    auto ids = [&](const AnswerScope& scope) {
        Strings out;
        for (const auto& item : scope.apply(items)) out.push_back(item.first);
        return out;
    };
    EXPECT_EQ(ids(AnswerScope::all()), (Strings{"c", "x", "b", "a"}));
    EXPECT_EQ(ids(AnswerScope{.dateFrom = "2024-01-01", .lastN = 2}), (Strings{"c", "b"}));
    for (int none : {0, -3}) EXPECT_TRUE(ids(AnswerScope{.lastN = none}).empty()) << none;
    // Empty strings still admit everything.
    AnswerScope blanks{.dateFrom = "", .dateTo = "", .participant = "", .folder = ""};
    items = {{"/x/a.md", meeting("2024-01-01")}, {"/y/b.md", meeting("")}};
    EXPECT_EQ(blanks.apply(items), items);
}

TEST(AnswerScopeTest, MergingTakesTheNarrowerOfEachRestrictionAndDropsEmptyStrings) {
    AnswerScope mine{"2024-01-01", "2024-06-30", 5, "Ann", IDs{"a", "b", "c"}, SpeakerFilter{"Dana", 3},
                     "work"};
    AnswerScope theirs{"2024-02-01",       "2024-12-31",         10,       "",
                       IDs{"b", "c", "d"}, SpeakerFilter{"", 1}, "clients"};
    EXPECT_EQ(mine.merging(theirs), (AnswerScope{"2024-02-01", "2024-06-30", 5, "Ann", IDs{"b", "c"},
                                                 SpeakerFilter{"Dana", 3}, "clients"}));
    EXPECT_EQ(mine.merging({.participant = "Bo", .speaker = SpeakerFilter{"Eve", 1}}),
              (AnswerScope{"2024-01-01", "2024-06-30", 5, "Bo", IDs{"a", "b", "c"}, SpeakerFilter{"Eve", 3},
                           "work"}));
    AnswerScope given{"", "2024-05-01", {}, "", {}, SpeakerFilter{"Me", 0}, "f"};
    AnswerScope expected{{}, "2024-05-01", {}, {}, {}, SpeakerFilter{"Me", 0}, "f"};
    EXPECT_EQ(AnswerScope::all().merging(given), expected);
    EXPECT_EQ(given.merging(AnswerScope::all()), expected);
}

TEST(AnswerScopeJSONTest, WritesOnlyPresentFieldsAndReadsThemBackWithDefaults) {
    EXPECT_EQ(json(AnswerScope::all()).dump(), "{}");
    AnswerScope scope{"2024-01-01", {}, 3, {}, IDs{"b", "a"}, SpeakerFilter{"Dana", 2}, {}};
    EXPECT_EQ(
        json(scope).dump(),
        R"({"dateFrom":"2024-01-01","lastN":3,"meetingIDs":["a","b"],"speaker":{"minTurns":2,"userName":"Dana"}})");
    AnswerScope full{"a", "b", 1, "p", IDs{}, SpeakerFilter{"u", 4}, "f"};
    EXPECT_EQ(json(full).get<AnswerScope>(), full);
    EXPECT_EQ(json::parse("{}").get<SpeakerFilter>(), (SpeakerFilter{"", 2}));
    EXPECT_EQ(json::parse(R"({"minTurns":0})").get<SpeakerFilter>(), (SpeakerFilter{"", 0}));
    EXPECT_EQ(json::parse(R"({"dateTo":null})").get<AnswerScope>(), AnswerScope::all());
}

TEST(SpeakerIdentityTest, AliasesFromTheUserNameMatchTrimmedAndFolded) {
    EXPECT_EQ(SpeakerIdentity::fromUserName("  Dana Ruiz \n").aliases,
              (Strings{"Me", "You", "Dana Ruiz", "Dana"}));
    EXPECT_EQ(SpeakerIdentity::fromUserName("Dana").aliases, (Strings{"Me", "You", "Dana"}));
    EXPECT_EQ(SpeakerIdentity::fromUserName(" \t ").aliases, (Strings{"Me", "You"}));
    SpeakerIdentity dana = SpeakerIdentity::fromUserName("Dána Ruiz");
    for (const char* label : {"  me ", "YOU", "dana", "DANA RUIZ"}) EXPECT_TRUE(dana.matches(label)) << label;
    for (const char* label : {"Mel", "Dana R", "   "}) EXPECT_FALSE(dana.matches(label)) << label;
    EXPECT_FALSE(SpeakerIdentity::fromAliases({"Host"}).matches("Me"));
}

TEST(ParticipationTest, TheUsersTurnsOfFourWordsThatEchoNoOtherSpeakerCountAndAdmitASpeakerScope) {
    EXPECT_TRUE(Participation::isSubstantive(" a\tb\nc  d "));
    EXPECT_FALSE(Participation::isEcho("a b c", "!?")) << "no words on either side, so nothing is echoed";
    // Ten distinct tokens, nine shared: exactly at the threshold.
    EXPECT_TRUE(Participation::isEcho("w1 w2 w3 w4 w5 w6 w7 w8 w9 w10", "w1 w2 w3 w4 w5 w6 w7 w8 w9"));
    EXPECT_FALSE(Participation::isEcho("w1 w2 w3 w4 w5 w6 w7 w8 w9", "w1 w2 w3 w4 w5 w6 w7 w8 w10"));
    // Echoes are judged against the last other speaker.
    SpeakerIdentity dana = SpeakerIdentity::fromUserName("Dana");
    auto doc = meeting("2024-05-01", {},
                       {
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
    // Minimum turns below one still need one.
    SpeakerIdentity me = SpeakerIdentity::fromUserName("");
    EXPECT_FALSE(Participation::spoke(meeting(""), me, 0));
    EXPECT_TRUE(Participation::spoke(meeting("", {}, {{"Me", "this one really counts"}}), me, 0));
    // A speaker scope admits the meetings where the user took part.
    auto budget =
        meeting("2024-05-01", {}, {{"Ann", "and the budget?"}, {"Dana", "the budget is fine for now"}});
    EXPECT_TRUE((AnswerScope{.speaker = SpeakerFilter{"Dana", 0}}).admits("a", budget));
    EXPECT_FALSE((AnswerScope{.speaker = SpeakerFilter{"Dana", 2}}).admits("a", budget));
}

} // namespace
} // namespace zelmor
