// Tokenizer tests: folding, stemming results, the one-on-one shadow, word ranges,
// keywords, phrase counting, and the ASCII fast path held to ICU's segmentation.
#include "ZelmorMarkdownKit/search/QueryTokenizer.h"

#include <gtest/gtest.h>

#include <random>

namespace zelmor {
namespace {

namespace QT = QueryTokenizer;
using Strings = std::vector<std::string>;

Strings raws(const std::vector<QT::Word>& words) {
    Strings out;
    for (const auto& word : words) out.push_back(word.raw);
    return out;
}

Strings covered(std::string_view text, const std::vector<QT::Word>& words) {
    Strings out;
    for (const auto& word : words) out.emplace_back(text.substr(word.range.start, word.range.length()));
    return out;
}

TEST(QueryTokenizerNormalizeTest, FoldsAndKeepsOnlyLettersAndNumbers) {
    EXPECT_EQ(QT::normalize("Résumé"), "resume");
    EXPECT_EQ(QT::normalize("RESUME"), "resume");
    EXPECT_EQ(QT::normalize("Alex's"), "alex");
    EXPECT_EQ(QT::normalize("Alex\u2019s"), "alex");
    EXPECT_EQ(QT::normalize("ALEX'S"), "alex");
    EXPECT_EQ(QT::normalize("don't"), "dont");
    EXPECT_EQ(QT::normalize("e.g."), "eg");
    EXPECT_EQ(QT::normalize("co-op"), "coop");
    EXPECT_EQ(QT::normalize("Ünïcödé-2"), "unicode2");
    EXPECT_EQ(QT::normalize("東京"), "東京");
    EXPECT_EQ(QT::normalize("’s"), "");
}

TEST(QueryTokenizerStemTest, GivesTheWorkedResults) {
    const std::pair<const char*, const char*> cases[] = {
        {"meetings", "meet"}, {"meeting", "meet"},  {"decided", "decid"},     {"committed", "commit"},
        {"ties", "tie"},      {"status", "status"}, {"analysis", "analysis"}, {"release", "releas"},
        {"planning", "plan"}, {"calling", "call"},  {"discussed", "discuss"}, {"companies", "company"},
        {"boxes", "box"},     {"batches", "batch"}, {"wishes", "wish"},       {"horses", "hors"},
        {"agreed", "agre"},   {"blocked", "block"}, {"decisions", "decid"},   {"prioritized", "priority"},
        {"sing", "sing"},     {"bring", "bring"},   {"used", "used"},         {"skies", "skie"},
        {"buzzes", "buzz"},   {"glasses", "glass"}, {"bus", "bus"},           {"gas", "gas"},
        {"axes", "axe"},      {"running", "run"},   {"fizzing", "fizz"},      {"stopped", "stop"},
        {"1o1s", "1o1"},      {"cafés", "café"},    {"bodies", "body"},       {"größes", "größ"},
    };
    for (const auto& [word, stemmed] : cases) EXPECT_EQ(QT::stem(word), stemmed) << word;
}

TEST(QueryTokenizerStemTest, UndoublesOnlyRepeatedConsonants) {
    EXPECT_EQ(QT::undouble("plann"), "plan");
    EXPECT_EQ(QT::undouble("call"), "call");
    EXPECT_EQ(QT::undouble("discuss"), "discuss");
    EXPECT_EQ(QT::undouble("fizz"), "fizz");
    EXPECT_EQ(QT::undouble("agree"), "agree");
    EXPECT_EQ(QT::undouble("1011"), "1011");
    EXPECT_EQ(QT::undouble("ññ"), "ñ");
    EXPECT_EQ(QT::undouble("t"), "t");
    EXPECT_EQ(QT::undouble(""), "");
}

TEST(QueryTokenizerShadowTest, RewritesOneOnOneSpellingsKeepingLength) {
    EXPECT_EQ(QT::oneOnOneShadow("our 1:1 and One-on-One, 1-1s"), "our 1o1 and 1o1       , 1o1s");
    EXPECT_EQ(QT::oneOnOneShadow("one to ones"), "1o1s       ");
    EXPECT_EQ(QT::oneOnOneShadow("1 on 1"), "1o1   ");
    EXPECT_EQ(QT::oneOnOneShadow("someone on one"), std::nullopt);
    EXPECT_EQ(QT::oneOnOneShadow("phone 11:15"), std::nullopt);
    EXPECT_EQ(QT::oneOnOneShadow("no digits here"), std::nullopt);
    EXPECT_EQ(QT::oneOnOneShadow("é 1:1"), "é 1o1");
}

TEST(QueryTokenizerWordsTest, ReportRawStemAndRangeInTheCallersText) {
    std::string text = "Planning the Q3 roadmap: Dana's 1:1 and one on one, a I 5 x";
    auto found = QT::words(text);
    EXPECT_EQ(raws(found), (Strings{"planning", "the", "q3", "roadmap", "dana", "1o1", "and", "1o1"}));
    EXPECT_EQ(covered(text, found),
              (Strings{"Planning", "the", "Q3", "roadmap", "Dana's", "1:1", "and", "one on one"}));
    EXPECT_EQ(found[0], (QT::Word{"planning", "plan", {0, 8}}));
    EXPECT_EQ(QT::words("1:1s"), (std::vector<QT::Word>{{"1o1s", "1o1", {0, 4}}}));
}

TEST(QueryTokenizerWordsTest, RangesMapBackThroughTheShadowInNonASCIIText) {
    std::string text = "Café — our one-on-ones, Zoë";
    auto found = QT::words(text);
    EXPECT_EQ(raws(found), (Strings{"cafe", "our", "1o1s", "zoe"}));
    EXPECT_EQ(covered(text, found), (Strings{"Café", "our", "one-on-ones", "Zoë"}));
    EXPECT_EQ(found[2].stem, "1o1");
}

TEST(QueryTokenizerWordsTest, EmptyAndTinyTextsYieldNothing) {
    EXPECT_TRUE(QT::words("").empty());
    EXPECT_TRUE(QT::tokens("").empty());
    EXPECT_TRUE(QT::keywords("").empty());
    EXPECT_TRUE(QT::words("a I 5 — é ?!").empty());
}

TEST(QueryTokenizerWordsTest, ASCIIFastPathSegmentsAsICUDoes) {
    const std::vector<std::string> samples = {
        "don't stop",
        "e.g. the U.S.",
        "3.14 and 1,000,000;2",
        "a:b 10:30",
        "snake_case __init__ _a",
        "x1.y2 1a'b 'quoted' end.",
        "a..b a''b 1,,2",
        "tab\tsep\r\nnew",
        "\"hi\" (there) [x]",
        "1:1s",
        "one-on-one's",
        "ONE TO ONE",
        "rock'n'roll 9'6",
        "a.b.c. 1.2.3",
        "re-org/plan#2 $5.00 50%",
        "ana@example.com Q1@ @1:1 1@,2",
    };
    // The word cache, kept across samples as a ranking keeps it across meetings, must tag the
    // same words in the same order.
    std::vector<std::string> stems;
    QT::WordCache cache([&](const QT::Word& word) {
        stems.push_back(word.stem);
        return static_cast<int>(stems.size() - 1);
    });
    auto cachedStems = [&](std::string_view text) {
        Strings out;
        for (int tag : cache.tags(text)) out.push_back(stems.at(static_cast<size_t>(tag)));
        return out;
    };
    auto stemsOf = [](const std::vector<QT::Word>& words) {
        Strings out;
        for (const auto& word : words) out.push_back(word.stem);
        return out;
    };
    for (const auto& sample : samples) {
        EXPECT_EQ(QT::words(sample), QT::detail::wordsUsingICU(sample)) << sample;
        EXPECT_EQ(cachedStems(sample), stemsOf(QT::words(sample))) << sample;
    }
    EXPECT_EQ(cachedStems("Café — 2.1:1s, a'one on one, an_overlong_identifier_of_thirty_bytes"),
              stemsOf(QT::words("Café — 2.1:1s, a'one on one, an_overlong_identifier_of_thirty_bytes")));

    std::mt19937 random(7);
    const std::string alphabet = "aZk09_.':,;-\" \t\n\r/1oneONE@";
    for (int round = 0; round < 2000; ++round) {
        std::string sample;
        size_t length = random() % 14;
        for (size_t i = 0; i < length; ++i) sample += alphabet[random() % alphabet.size()];
        ASSERT_EQ(QT::words(sample), QT::detail::wordsUsingICU(sample)) << "\"" << sample << "\"";
        ASSERT_EQ(cachedStems(sample), stemsOf(QT::words(sample))) << "\"" << sample << "\"";
    }
}

TEST(QueryTokenizerKeywordsTest, KeepContentStemsInFirstSeenOrder) {
    EXPECT_EQ(QT::keywords("What decisions did we make about the budget meetings and decided budgets?"),
              (Strings{"decid", "budget", "meet"}));
    EXPECT_TRUE(QT::keywords("what did we do last week").empty());
    EXPECT_TRUE(QT::keywords("the three of us, a couple of days ago").empty());
    EXPECT_EQ(QT::keywords("our 1:1 notes"), (Strings{"1o1", "note"}));
}

TEST(QueryTokenizerKeywordsTest, QuotedPhrasesKeepAllTheirStems) {
    EXPECT_EQ(QT::keywords("\"next steps\""), (Strings{"next step"}));
    EXPECT_EQ(QT::keywords("budget \u201Cthe Q3 plans\u201D budget"), (Strings{"budget", "the q3 plan"}));
    // One quoted word is no phrase: it must be content to count.
    EXPECT_TRUE(QT::keywords("\"next\"").empty());
    // Pieces of one character never become words, so this term is the single word "plan".
    EXPECT_EQ(QT::keywords("\"plan-b\""), (Strings{"plan"}));
}

TEST(QueryTokenizerPhraseTest, CountsOverlapsAndFindsFirstRange) {
    EXPECT_EQ(QT::count({"a", "a"}, {"a", "a", "a"}), 2u);
    EXPECT_EQ(QT::count({}, {"a"}), 0u);
    EXPECT_EQ(QT::count({"a", "b", "c"}, {"a", "b"}), 0u);
    EXPECT_EQ(QT::count({"next", "step"}, QT::tokens("Next steps: next step, then next steps.")), 3u);

    std::string text = "We planned it. The launch plans changed; launch planning starts.";
    auto range = QT::firstRange({"launch", "plan"}, text);
    ASSERT_TRUE(range.has_value());
    EXPECT_EQ(text.substr(range->start, range->length()), "launch plans");
    EXPECT_EQ(QT::firstRange({"launch", "date"}, text), std::nullopt);
    EXPECT_EQ(QT::firstRange({}, text), std::nullopt);
    EXPECT_EQ(QT::firstRange({"we", "plann", "it", "the"}, "We planned"), std::nullopt);
}

} // namespace
} // namespace zelmor
