// Turn identifiers and the word normalisation under their fingerprints: what keeps an identifier
// valid, and how a turn is found again after inserts, edits, moves and duplicates.
#include "ZelmorMarkdownKit/edit/TranscriptTurnID.h"
#include "ZelmorMarkdownKit/text/TextNormalize.h"

#include <gtest/gtest.h>

namespace zelmor::TranscriptTurnID {

namespace {

using Turn = TranscriptDocument::Turn;

std::vector<Turn> turnsSaying(std::vector<std::string> texts) {
    std::vector<Turn> turns;
    for (auto& text : texts) turns.push_back({"Ana", std::move(text)});
    return turns;
}

TEST(TextNormalize, LowerCasesAndKeepsOnlyLettersMarksAndDigitsAsWords) {
    EXPECT_EQ(TextNormalize::words("  Hello,\tWORLD!\n\nIt's 9:30 "), "hello world it s 9 30");
    EXPECT_EQ(TextNormalize::words("snake_case—and…more"), "snake case and more");
    EXPECT_EQ(TextNormalize::words("Ça VA? Cafe\u0301"), "ça va cafe\u0301");
    EXPECT_EQ(TextNormalize::words("日本語、テスト。"), "日本語 テスト");
    EXPECT_EQ(TextNormalize::words("ΣΟΦΙΑ Ⅻ ٣"), "σοφια ⅻ ٣");
    EXPECT_EQ(TextNormalize::words(" ?! \n"), "");
    EXPECT_EQ(TextNormalize::words("bad\xff"
                                   "byte"),
              "bad byte");
}

TEST(TranscriptTurnID, IdentifierIsPaddedPositionAndSHA256PrefixOfTheWords) {
    // SHA-256 of "hello world" begins b94d27.
    EXPECT_EQ(make(0, "Hello, world!"), "t001-b94d27");
    EXPECT_EQ(make(41, "hello   WORLD"), "t042-b94d27");
    EXPECT_EQ(make(999, "hello world"), "t1000-b94d27");
    EXPECT_EQ(make(12344, "hello world"), "t12345-b94d27");
}

TEST(TranscriptTurnID, MalformedIdentifiersAreMissing) {
    auto turns = turnsSaying({"hello world"});
    for (const char* id :
         {"t01-b94d27", "t000-b94d27", "x001-b94d27", "t001-b94d", "t001-b94d277", "t001b94d27", "", "t",
          "t-b94d27", "tabc-b94d27", "t+01-b94d27", "t99999999999999999999999-b94d27"}) {
        EXPECT_EQ(locate(id, turns), Match(Missing{})) << id;
    }
}

TEST(TranscriptTurnID, UnchangedTurnIsExactEvenAfterPunctuationAndCaseEdits) {
    auto turns = turnsSaying({"first", "We should ship on Friday.", "last"});
    std::string id = make(1, turns[1].text);
    EXPECT_EQ(locate(id, turns), Match(Exact{1}));
    turns[1].text = "we should SHIP, on friday!";
    EXPECT_EQ(locate(id, turns), Match(Exact{1}));
    EXPECT_EQ(locate("t0002" + id.substr(4), turns), Match(Exact{1}));
}

TEST(TranscriptTurnID, ChangedWordMakesTheTurnStale) {
    auto turns = turnsSaying({"first", "We should ship on Friday.", "last"});
    std::string id = make(1, turns[1].text);
    turns[1].text = "We should ship on Monday.";
    EXPECT_EQ(locate(id, turns), Match(Stale{1}));
    EXPECT_EQ(locate("t002-ABCDEF", turns), Match(Stale{1}));
}

TEST(TranscriptTurnID, InsertedTurnMovesTheLaterOnes) {
    auto turns = turnsSaying({"one", "two", "three", "four", "five", "six", "seven"});
    std::vector<std::string> before = ids(turns);
    turns.insert(turns.begin() + 5, Turn{"Bo", "an interruption"});
    EXPECT_EQ(locate(before[5], turns), Match(Moved{6}));
    EXPECT_EQ(locate(before[6], turns), Match(Moved{7}));
    EXPECT_EQ(locate(before[4], turns), Match(Exact{4}));
}

TEST(TranscriptTurnID, MovedTurnIsFoundAtItsNearestCopyWithTiesGoingEarlier) {
    auto turns = turnsSaying({"a", "b", "same words", "c", "different", "d", "Same words!", "e"});
    std::string id = make(4, "same words");
    EXPECT_EQ(locate(id, turns), Match(Moved{2}));
    turns.insert(turns.begin(), Turn{"Bo", "pushes everything down"});
    EXPECT_EQ(locate(id, turns), Match(Moved{3}));
    EXPECT_EQ(locate(make(6, "same words"), turns), Match(Moved{7}));
}

TEST(TranscriptTurnID, PositionPastTheEndIsMovedWhenTheWordsRemainElseMissing) {
    auto turns = turnsSaying({"a", "b", "c"});
    EXPECT_EQ(locate(make(9, "nothing like it"), turns), Match(Missing{}));
    EXPECT_EQ(locate(make(9, "B"), turns), Match(Moved{1}));
    EXPECT_EQ(locate(make(0, "a"), {}), Match(Missing{}));
}

TEST(TranscriptTurnID, PositionsPastNineHundredNinetyNineRoundTrip) {
    std::vector<std::string> texts;
    for (int i = 0; i < 1002; ++i) texts.push_back("turn number " + std::to_string(i));
    auto turns = turnsSaying(texts);
    auto identifiers = ids(turns);
    EXPECT_EQ(identifiers[998].substr(0, 5), "t999-");
    EXPECT_EQ(identifiers[1000].substr(0, 6), "t1001-");
    EXPECT_EQ(locate(identifiers[1000], turns), Match(Exact{1000}));
    turns.erase(turns.begin());
    EXPECT_EQ(locate(identifiers[1000], turns), Match(Moved{999}));
}

} // namespace
} // namespace zelmor::TranscriptTurnID
