// Scope tests: each restriction, the order-preserving cut, merging, the folder test, JSON.
#include "ZelmorMarkdownKit/answer/AnswerScope.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace zelmor {
namespace {

TranscriptDocument meeting(std::string date, std::vector<std::string> participants = {}) {
    TranscriptDocument document;
    document.title = "Sync";
    document.date = std::move(date);
    document.participants = std::move(participants);
    return document;
}

using Item = std::pair<std::string, TranscriptDocument>;

TEST(AnswerScopeTest, OnlyTheEmptyScopeIsAllButEmptyStringsStillAdmitEverything) {
    EXPECT_TRUE(AnswerScope::all().isAll());
    EXPECT_TRUE(AnswerScope{}.isAll());
    AnswerScope blanks{.dateFrom = "", .dateTo = "", .participant = "", .folder = ""};
    EXPECT_FALSE(blanks.isAll()) << "an empty date is still a member that \"all\" does not have";
    for (AnswerScope one : {AnswerScope{.dateFrom = ""}, AnswerScope{.dateTo = ""},
                            AnswerScope{.participant = ""}, AnswerScope{.folder = ""}})
        EXPECT_FALSE(one.isAll());
    EXPECT_TRUE(blanks.admits("/x/a.md", meeting("")));
    std::vector<Item> items{{"/x/a.md", meeting("2024-01-01")}, {"/y/b.md", meeting("")}};
    EXPECT_EQ(blanks.apply(items), items);
    EXPECT_FALSE(AnswerScope{.meetingIDs = std::set<std::string>{}}.isAll());
    EXPECT_FALSE(AnswerScope{.lastN = 0}.isAll());
}

TEST(AnswerScopeTest, DatesCompareAsInclusiveStrings) {
    AnswerScope march{.dateFrom = "2024-03-01", .dateTo = "2024-03-31"};
    EXPECT_TRUE(march.admits("a", meeting("2024-03-01")));
    EXPECT_TRUE(march.admits("a", meeting("2024-03-31")));
    EXPECT_FALSE(march.admits("a", meeting("2024-02-29")));
    EXPECT_FALSE(march.admits("a", meeting("2024-04-01")));
    EXPECT_FALSE(march.admits("a", meeting("")));
    // Plain string order: a day with a time after it sorts after the bare last day.
    EXPECT_FALSE(march.admits("a", meeting("2024-03-31T10:00")));
    EXPECT_TRUE(AnswerScope{.dateTo = "2024-03-31"}.admits("a", meeting("")));
}

TEST(AnswerScopeTest, ParticipantIsContainedIgnoringCaseAndDiacritics) {
    AnswerScope ann{.participant = "ann"};
    EXPECT_TRUE(ann.admits("a", meeting("2024-01-01", {"Bo", "Joanna"})));
    EXPECT_FALSE(ann.admits("a", meeting("2024-01-01", {"Bo", "An Li"})));
    EXPECT_FALSE(ann.admits("a", meeting("2024-01-01")));
    EXPECT_TRUE(AnswerScope{.participant = "JOSE"}.admits("a", meeting("2024-01-01", {"José Núñez"})));
    EXPECT_TRUE(AnswerScope{.participant = "Núñez"}.admits("a", meeting("2024-01-01", {"jose nunez"})));
}

TEST(AnswerScopeTest, MeetingIDsAreExactMembers) {
    AnswerScope two{.meetingIDs = std::set<std::string>{"/m/a.md", "/m/b.md"}};
    EXPECT_TRUE(two.admits("/m/b.md", meeting("2024-01-01")));
    EXPECT_FALSE(two.admits("/m/B.md", meeting("2024-01-01")));
    EXPECT_FALSE(AnswerScope{.meetingIDs = std::set<std::string>{}}.admits("/m/a.md", meeting("2024-01-01")));
}

TEST(AnswerScopeTest, FolderRunMayStandAnywhereAmongTheFolders) {
    EXPECT_TRUE(AnswerScope::pathIsInFolder("/Users/me/Work/clients/acme/2024/a.md", "Clients/Acme"));
    EXPECT_TRUE(AnswerScope::pathIsInFolder("clients/acme/a.md", "/clients/acme/"));
    EXPECT_FALSE(AnswerScope::pathIsInFolder("/clients/x/acme/a.md", "clients/acme"));
    EXPECT_FALSE(AnswerScope::pathIsInFolder("/clients/acme.md", "acme.md"));
    EXPECT_FALSE(AnswerScope::pathIsInFolder("/clients/acme/a.md", "/"));
    EXPECT_FALSE(AnswerScope::pathIsInFolder("acme", "acme"));
    EXPECT_TRUE(AnswerScope::pathIsInFolder("/Ärzte/a.md", "ärzte"));
    EXPECT_FALSE(AnswerScope{.folder = "acme"}.admits("/beta/a.md", meeting("2024-01-01")));
    EXPECT_TRUE(AnswerScope{.folder = "acme"}.admits("/Acme/a.md", meeting("2024-01-01")));
}

TEST(AnswerScopeTest, ApplyKeepsCallerOrderAndCutsLastNAfterFiltering) {
    std::vector<Item> items{{"c", meeting("2024-03-03")},
                            {"x", meeting("2023-01-01")},
                            {"b", meeting("2024-03-02")},
                            {"a", meeting("2024-03-01")}};
    auto ids = [](const std::vector<Item>& kept) {
        std::vector<std::string> out;
        for (const auto& item : kept) out.push_back(item.first);
        return out;
    };
    EXPECT_EQ(ids(AnswerScope::all().apply(items)), (std::vector<std::string>{"c", "x", "b", "a"}));
    AnswerScope lastTwo{.dateFrom = "2024-01-01", .lastN = 2};
    EXPECT_EQ(ids(lastTwo.apply(items)), (std::vector<std::string>{"c", "b"}));
    EXPECT_TRUE(AnswerScope{.lastN = 0}.apply(items).empty());
    EXPECT_TRUE(AnswerScope{.lastN = -3}.apply(items).empty());
}

TEST(AnswerScopeTest, MergingTakesTheNarrowerOfEachRestriction) {
    AnswerScope mine{.dateFrom = "2024-01-01",
                     .dateTo = "2024-06-30",
                     .lastN = 5,
                     .participant = "Ann",
                     .meetingIDs = std::set<std::string>{"a", "b", "c"},
                     .speaker = SpeakerFilter{"Dana", 3},
                     .folder = "work"};
    AnswerScope theirs{.dateFrom = "2024-02-01",
                       .dateTo = "2024-12-31",
                       .lastN = 10,
                       .participant = "",
                       .meetingIDs = std::set<std::string>{"b", "c", "d"},
                       .speaker = SpeakerFilter{"", 1},
                       .folder = "clients"};
    AnswerScope merged = mine.merging(theirs);
    EXPECT_EQ(merged.dateFrom, "2024-02-01");
    EXPECT_EQ(merged.dateTo, "2024-06-30");
    EXPECT_EQ(merged.lastN, 5);
    EXPECT_EQ(merged.participant, "Ann");
    EXPECT_EQ(merged.meetingIDs, (std::set<std::string>{"b", "c"}));
    EXPECT_EQ(merged.speaker, (SpeakerFilter{"Dana", 3}));
    EXPECT_EQ(merged.folder, "clients");

    AnswerScope named{.participant = "Bo", .speaker = SpeakerFilter{"Eve", 1}};
    EXPECT_EQ(mine.merging(named).participant, "Bo");
    EXPECT_EQ(mine.merging(named).speaker, (SpeakerFilter{"Eve", 3}));
}

TEST(AnswerScopeTest, MergingWithAllDropsEmptyStringsOnly) {
    AnswerScope given{.dateFrom = "",
                      .dateTo = "2024-05-01",
                      .participant = "",
                      .speaker = SpeakerFilter{"Me", 0},
                      .folder = "f"};
    AnswerScope expected{.dateTo = "2024-05-01", .speaker = SpeakerFilter{"Me", 0}, .folder = "f"};
    EXPECT_EQ(AnswerScope::all().merging(given), expected);
    EXPECT_EQ(given.merging(AnswerScope::all()), expected);
}

TEST(AnswerScopeTest, DisjointMergesAdmitNothing) {
    AnswerScope january{.dateFrom = "2024-01-01", .dateTo = "2024-01-31"};
    AnswerScope march{.dateFrom = "2024-03-01", .dateTo = "2024-03-31"};
    AnswerScope neither = january.merging(march);
    EXPECT_EQ(neither.dateFrom, "2024-03-01");
    EXPECT_EQ(neither.dateTo, "2024-01-31");
    EXPECT_FALSE(neither.admits("a", meeting("2024-01-15")));
    EXPECT_FALSE(neither.admits("a", meeting("2024-03-15")));

    AnswerScope ids = AnswerScope{.meetingIDs = std::set<std::string>{"a"}}.merging(
        AnswerScope{.meetingIDs = std::set<std::string>{"b"}});
    ASSERT_TRUE(ids.meetingIDs.has_value());
    EXPECT_TRUE(ids.meetingIDs->empty());
    EXPECT_FALSE(ids.admits("a", meeting("2024-01-01")));
}

TEST(AnswerScopeJSONTest, WritesOnlyPresentFieldsAndReadsThemBack) {
    EXPECT_EQ(nlohmann::json(AnswerScope::all()).dump(), "{}");
    AnswerScope scope{.dateFrom = "2024-01-01",
                      .lastN = 3,
                      .meetingIDs = std::set<std::string>{"b", "a"},
                      .speaker = SpeakerFilter{"Dana", 2}};
    EXPECT_EQ(
        nlohmann::json(scope).dump(),
        R"({"dateFrom":"2024-01-01","lastN":3,"meetingIDs":["a","b"],"speaker":{"minTurns":2,"userName":"Dana"}})");
    EXPECT_EQ(nlohmann::json(scope).get<AnswerScope>(), scope);
    AnswerScope full{"a", "b", 1, "p", std::set<std::string>{}, SpeakerFilter{"u", 4}, "f"};
    EXPECT_EQ(nlohmann::json(full).get<AnswerScope>(), full);
}

TEST(AnswerScopeJSONTest, SpeakerFilterDefaultsMissingKeys) {
    EXPECT_EQ(nlohmann::json::parse("{}").get<SpeakerFilter>(), (SpeakerFilter{"", 2}));
    EXPECT_EQ(nlohmann::json::parse(R"({"minTurns":0})").get<SpeakerFilter>(), (SpeakerFilter{"", 0}));
    EXPECT_EQ(nlohmann::json::parse(R"({"speaker":{"userName":"Bo"}})").get<AnswerScope>().speaker,
              (SpeakerFilter{"Bo", 2}));
    EXPECT_EQ(nlohmann::json::parse(R"({"dateTo":null})").get<AnswerScope>(), AnswerScope::all());
}

} // namespace
} // namespace zelmor
