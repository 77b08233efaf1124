// Search: the tokenizer's folding, stems, one-on-one shadow, keywords and phrases with its ASCII path
// held to ICU; keyword matches, excerpts and ranks, the one-pass match held to the plain definition;
// the keyword sieve's two loops held to each other.
#include "ZelmorMarkdownKit/search/KeywordSieve.h"
#include "ZelmorMarkdownKit/search/QueryTokenizer.h"
#include "ZelmorMarkdownKit/search/RankedTranscriptSearch.h"

#include "ZelmorMarkdownKit/text/TextFolding.h"

#include <gtest/gtest.h>

#include <random>

namespace zelmor {
namespace {

namespace QT = QueryTokenizer;
namespace RTS = RankedTranscriptSearch;
using Strings = std::vector<std::string>;
using Match = RTS::DocumentMatch;

Strings each(const std::vector<QT::Word>& words, std::string QT::Word::*member) {
    Strings out;
    for (const auto& word : words) out.push_back(word.*member);
    return out;
}

Strings covered(std::string_view text, const std::vector<QT::Word>& words) {
    Strings out;
    for (const auto& word : words) out.emplace_back(text.substr(word.range.start, word.range.length()));
    return out;
}

TEST(QueryTokenizer, NormalizeFoldsAndKeepsOnlyLettersAndNumbers) {
    const std::pair<const char*, const char*> cases[] = {{"Alex's", "alex"},        {"Alex\u2019s", "alex"},
                                                         {"ALEX'S", "alex"},        {"don't", "dont"},
                                                         {"東京", "東京"},          {"’s", ""},
                                                         {"Ünïcödé-2", "unicode2"}, {"José's", "jose"}};
    for (const auto& [word, normal] : cases) EXPECT_EQ(QT::normalize(word), normal) << word;
}

TEST(QueryTokenizer, StemGivesTheWorkedResultsUndoublingOnlyRepeatedConsonants) {
    const std::pair<const char*, const char*> stems[] = {
        {"sing", "sing"},     {"bodies", "body"},    {"planning", "plan"}, {"prioritized", "priority"},
        {"boxes", "box"},     {"buzzes", "buzz"},    {"status", "status"}, {"discussed", "discuss"},
        {"1o1s", "1o1"},      {"agreed", "agre"},    {"decided", "decid"}, {"analysis", "analysis"},
        {"axes", "axe"},      {"horses", "hors"},    {"meetings", "meet"}, {"stopped", "stop"},
        {"ties", "tie"},      {"wishes", "wish"},    {"gas", "gas"},       {"cafés", "café"},
        {"fizzing", "fizz"},  {"release", "releas"}, {"skies", "skie"},    {"calling", "call"},
        {"glasses", "glass"}, {"used", "used"},      {"größes", "größ"},   {"batches", "batch"}};
    for (const auto& [word, stemmed] : stems) EXPECT_EQ(QT::stem(word), stemmed) << word;
    // The stems above undouble "plann", "call", "discuss" and "fizz"; these are the other cases.
    const std::pair<const char*, const char*> undoubled[] = {
        {"agree", "agree"}, {"1011", "1011"}, {"ññ", "ñ"}, {"t", "t"}, {"", ""}};
    for (const auto& [word, single] : undoubled) EXPECT_EQ(QT::undouble(word), single) << word;
}

TEST(QueryTokenizer, ShadowRewritesOneOnOneSpellingsKeepingLengthAndWordsRangesMapBackThroughIt) {
    const std::pair<const char*, std::optional<std::string>> shadows[] = {
        {"our 1:1 and One-on-One, 1-1s", "our 1o1 and 1o1       , 1o1s"},
        {"one to ones", "1o1s       "},
        {"1 on 1", "1o1   "},
        {"é 1:1", "é 1o1"},
        {"someone on one", std::nullopt},
        {"phone 11:15", std::nullopt}};
    for (const auto& [text, shadow] : shadows) EXPECT_EQ(QT::oneOnOneShadow(text), shadow) << text;
    std::string text = "Planning the Q3 roadmap: Dana's 1:1 and one on one, a I 5 x";
    auto found = QT::words(text);
    EXPECT_EQ(each(found, &QT::Word::raw),
              (Strings{"planning", "the", "q3", "roadmap", "dana", "1o1", "and", "1o1"}));
    EXPECT_EQ(covered(text, found),
              (Strings{"Planning", "the", "Q3", "roadmap", "Dana's", "1:1", "and", "one on one"}));
    EXPECT_EQ(QT::words("1:1s"), (std::vector<QT::Word>{{"1o1s", "1o1", {0, 4}}}));
    // Ranges map back through the shadow in non-ASCII text too.
    text = "Café — our one-on-ones, Zoë";
    found = QT::words(text);
    EXPECT_EQ(each(found, &QT::Word::raw), (Strings{"cafe", "our", "1o1s", "zoe"}));
    EXPECT_EQ(covered(text, found), (Strings{"Café", "our", "one-on-ones", "Zoë"}));
    EXPECT_TRUE(QT::words("a I 5 — é ?!").empty());
}

TEST(QueryTokenizer, ASCIIFastPathSegmentsAsICUDoes) {
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
    auto stemsOf = [](std::string_view text) { return each(QT::words(text), &QT::Word::stem); };
    for (const char* sample :
         {"don't stop", "e.g. the U.S.", "3.14 and 1,000,000;2", "a:b 10:30", "snake_case __init__ _a",
          "x1.y2 1a'b 'quoted' end.", "a..b a''b 1,,2", "tab\tsep\r\nnew", "\"hi\" (there) [x]", "1:1s",
          "one-on-one's", "ONE TO ONE", "rock'n'roll 9'6", "a.b.c. 1.2.3", "re-org/plan#2 $5.00 50%",
          "ana@example.com Q1@ @1:1 1@,2",
          "Café — 2.1:1s, a'one on one, an_overlong_identifier_of_thirty_bytes"}) {
        EXPECT_EQ(QT::words(sample), QT::detail::wordsUsingICU(sample)) << sample;
        EXPECT_EQ(cachedStems(sample), stemsOf(sample)) << sample;
    }

    // Text outside ASCII is cut before its spaces and only the pieces outside ASCII go to ICU:
    // accents, marks that combine with a space or a dash, joiners, dashes, curly quotes, CJK and emoji.
    std::mt19937 random(7);
    const std::vector<std::string> alphabet = {
        "a", "Z", "k",  "0",    "9",  "_",      ".", "'",   ":",   ",", ";", "-",      "\"",
        " ", " ", "\t", "\n",   "\r", "/",      "1", "one", "ONE", "@", "é", "\u0301", "\u200d",
        "—", "’", "“",  "日本", "👍",  "\u00a0", "ﬁ", "–",   "…",   "”", "—"};
    for (int round = 0; round < 4000; ++round) {
        std::string sample;
        for (size_t i = 0, length = random() % 16; i < length; ++i)
            sample += alphabet[random() % (round % 2 ? alphabet.size() : 23)];
        ASSERT_EQ(QT::words(sample), QT::detail::wordsUsingICU(sample)) << "\"" << sample << "\"";
        ASSERT_EQ(cachedStems(sample), stemsOf(sample)) << "\"" << sample << "\"";
    }
}

TEST(QueryTokenizer, KeywordsAreContentStemsInFirstSeenOrderAndPhrasesAreCountedAndFound) {
    // Stop, time and number words are no keywords; one quoted word is no phrase, so it is one too.
    for (const char* none : {"what did we do last week", "the three of us, a couple of days ago", "\"next\""})
        EXPECT_TRUE(QT::keywords(none).empty()) << none;
    EXPECT_EQ(QT::keywords("our 1:1 notes"), (Strings{"1o1", "note"}));
    // Quoted phrases keep all their stems.
    EXPECT_EQ(QT::keywords("\"next steps\""), (Strings{"next step"}));
    EXPECT_EQ(QT::keywords("budget \u201Cthe Q3 plans\u201D budget"), (Strings{"budget", "the q3 plan"}));
    // Pieces of one character never become words, so this term is the single word "plan".
    EXPECT_EQ(QT::keywords("\"plan-b\""), (Strings{"plan"}));
    // Phrases are counted with overlaps, and found by their stems.
    EXPECT_EQ(QT::count({"a", "a"}, {"a", "a", "a"}) + QT::count({}, {"a"}) +
                  QT::count({"a", "b", "c"}, {"a", "b"}),
              2u);
    EXPECT_EQ(QT::count({"next", "step"}, QT::tokens("Next steps: next step, then next steps.")), 3u);

    std::string text = "We planned it. The launch plans changed; launch planning starts.";
    auto range = QT::firstRange({"launch", "plan"}, text);
    ASSERT_TRUE(range.has_value());
    EXPECT_EQ(text.substr(range->start, range->length()), "launch plans");
    for (Strings missing : {Strings{"launch", "date"}, Strings{}})
        EXPECT_EQ(QT::firstRange(missing, text), std::nullopt);
    EXPECT_EQ(QT::firstRange({"we", "plann", "it", "the"}, "We planned"), std::nullopt);
}

TranscriptDocument document(std::vector<TranscriptDocument::Turn> turns, std::string title = "Weekly sync",
                            Strings participants = {"Ann", "Bo"}) {
    return TranscriptDocument(std::move(title), "2024-05-01", std::move(participants), 0, "Zelmor", "",
                              std::move(turns));
}

TEST(RankedTranscriptSearch, TermsAreWordsAndQuotedPhrasesGluedOrUnclosed) {
    EXPECT_EQ(RTS::terms(std::nullopt), Strings{});
    const std::pair<const char*, Strings> cases[] = {
        {"   \t\n ", {}},
        {"budget \"Q3 plan\"", {"budget", "Q3 plan"}},
        {"\u201CQ3  Plan\u201D\u00A0Résumé \u201Eda ja\u201D", {"Q3  Plan", "Résumé", "da ja"}},
        {"\"\" a \"\"", {"a"}},
        {"foo\"bar baz\" qux", {"foobar baz", "qux"}},
        {"alpha \"open ended", {"alpha", "open ended"}}};
    for (const auto& [query, terms] : cases) EXPECT_EQ(RTS::terms(query), terms) << query;
}

// The rest of matching is held to the plain definition below, which never sets meeting notes.
TEST(RankedTranscriptSearch, NoTermsOrATermThatFoldsToNothingMatchNothingNorDoSpeakersOrMeetingNotes) {
    EXPECT_FALSE(RTS::match(document({{"Ann", "The budget looks fine."}}), {}));
    EXPECT_FALSE(RTS::match(document({{"Zed", "hello"}}, "t", {}), {"zed"}));
    auto doc = document({{"Ann", "Hi."}});
    doc.meetingNotes = "Secret harbour plans.";
    EXPECT_EQ(RTS::match(doc, {"harbour"}), std::nullopt);
    // A term that folds to nothing leaves no needles, so nothing matches; needles are one per folded term.
    EXPECT_FALSE(RTS::needles({"plan", "\xCC\x81"}).has_value()); // a lone combining mark
    EXPECT_EQ(RTS::needles({"Plan", "plan", "PL\u00c1N", "budget", "plan"})->size(), 2u);
    EXPECT_EQ(RTS::match(document({{"Ann", "plan \xCC\x81"}}), {"plan", "\xCC\x81"}), std::nullopt);
}

TEST(RankedTranscriptSearch, ExcerptsCountUserPerceivedCharactersWithEllipsesOnCutEnds) {
    std::string longTurn = std::string(120, 'x') + " the budget " + std::string(120, 'y');
    const std::string cut =
        "\u2026" + std::string(85, 'x') + " the budget " + std::string(89, 'y') + "\u2026";
    EXPECT_EQ(RTS::excerpt(longTurn, TextRange{125, 131}, 90), cut);
    EXPECT_EQ(RTS::match(document({{"Ann", longTurn}}), {"BUDGET"})->snippets, Strings{"**Ann:** " + cut});
    EXPECT_EQ(RTS::excerpt("  short budget line \n", TextRange{8, 14}, 90), "short budget line");

    const std::string thumb = "\U0001F44D\U0001F3FD"; // thumbs up with a skin tone: one character
    const std::string accented = "e\xCC\x81";         // e and a combining acute: one character
    std::string text = thumb + thumb + thumb + "ok" + accented + accented + accented;
    EXPECT_EQ(RTS::excerpt(text, TextRange{3 * thumb.size(), 3 * thumb.size() + 2}, 2),
              "\u2026" + thumb + thumb + "ok" + accented + accented + "\u2026");
    EXPECT_EQ(RTS::excerpt(text, "OK", 3), text);

    // Around a term, or the start when the term is missing.
    text = std::string(50, 'a') + " Café talk " + std::string(50, 'b');
    EXPECT_EQ(RTS::excerpt(text, "CAFE", 5), "\u2026aaaa Café talk\u2026");
    EXPECT_EQ(RTS::excerpt(text, "missing", 5), "aaaaaaaaaa");
    EXPECT_EQ(RTS::excerpt("  lead", "missing", 5), "  lead");
}

TEST(RankedTranscriptSearch, RankSortsByScoreKeepingInputOrderOnTies) {
    std::vector<std::pair<std::string, TranscriptDocument>> items{
        {"one", document({{"A", "budget"}})},
        {"two", document({{"A", "budget"}, {"B", "budget again"}})},
        {"three", document({{"A", "nothing"}})},
        {"four", document({{"A", "budget"}})},
        {"five", document({}, "Budget review")}};
    auto hits = RTS::rank(items, "budget");
    Strings order;
    for (const auto& hit : hits) order.push_back(hit.id);
    EXPECT_EQ(order, (Strings{"five", "two", "one", "four"}));
    EXPECT_EQ(hits[0].match, (Match{3, 0, {}}));
}

bool anyIn(const Strings& texts, const Strings& terms) {
    for (const auto& text : texts)
        for (const auto& term : terms)
            if (RTS::termMatches(term, text)) return true;
    return false;
}

// The plain definition, text by text, for holding the one-pass match to it.
std::optional<Match> plainMatch(const TranscriptDocument& doc, const Strings& terms) {
    Strings turns, fields{doc.notes, doc.summary, doc.actionItems, doc.keyMoments}, unplaced;
    for (const auto& turn : doc.turns) turns.push_back(turn.text);
    for (const auto& term : terms)
        if (!anyIn(turns, {term}) && !anyIn(fields, {term}) && !anyIn(doc.participants, {term}) &&
            !anyIn({doc.title}, {term}))
            return std::nullopt;
    Match result;
    for (const auto& turn : turns) result.matchingTurns += anyIn({turn}, terms);
    result.score =
        result.matchingTurns + (anyIn({doc.title}, terms) ? 3 : 0) + (anyIn(doc.participants, terms) ? 2 : 0);
    auto snippet = [](const std::string& text, const std::string& term) {
        return RTS::excerpt(text, *TextFolding::find(text, term), 90);
    };
    std::vector<bool> used(turns.size());
    for (const auto& term : terms) {
        size_t i = 0;
        while (i < turns.size() && (used[i] || !RTS::termMatches(term, turns[i]))) ++i;
        if (i == turns.size()) {
            unplaced.push_back(term);
        } else if (result.snippets.size() < 3) {
            used[i] = true;
            result.snippets.push_back("**" + doc.turns[i].speaker + ":** " + snippet(turns[i], term));
        }
    }
    for (const auto& term : unplaced) {
        auto field = std::find_if(fields.begin(), fields.end(), [&](auto& f) { return anyIn({f}, {term}); });
        if (result.snippets.size() < 3 && field != fields.end())
            result.snippets.push_back(snippet(*field, term));
    }
    return result;
}

TEST(RankedTranscriptSearch, OnePassMatchAndTheSnippetFreeMatchAgreeWithThePlainDefinition) {
    std::mt19937 random(11);
    const Strings vocabulary{"plan",   "Plan", "PLANNING", "résumé",     "resume", "Straße",  "strasse",
                             "budget", "ok",   "😀",        "e\xCC\x81",  "q3",     "Q3 plan", "ß",
                             "x",      "the",  "\n",       "alpha beta", "\n\n",   "a\n\nb"};
    auto word = [&] { return vocabulary[random() % vocabulary.size()]; };
    auto text = [&](size_t words) {
        std::string made;
        for (size_t i = 0; i < words; ++i) made += word() + (random() % 3 ? " " : "");
        return made;
    };
    for (int round = 0; round < 300; ++round) {
        SCOPED_TRACE(round);
        TranscriptDocument doc = document({}, text(2), {text(1), text(1)});
        for (size_t t = random() % 5; t > 0; --t)
            doc.turns.push_back({"S" + std::to_string(t), text(random() % 60)});
        for (auto* field : {&doc.notes, &doc.summary, &doc.actionItems, &doc.keyMoments})
            *field = text(random() % 4);
        Strings terms;
        for (size_t k = 1 + random() % 4; k > 0; --k) terms.push_back(word());
        auto expected = plainMatch(doc, terms);
        ASSERT_EQ(RTS::match(doc, terms), expected);
        if (expected) expected->snippets.clear();
        auto needles = RTS::needles(terms);
        ASSERT_TRUE(needles.has_value());
        ASSERT_EQ(RTS::matchWithoutSnippets(doc, *needles), expected);
        // Turns handed over as the paragraphs that "\n\n" joins.
        RTS::TurnScorer scorer(*needles);
        for (const auto& turn : doc.turns) {
            std::vector<std::string_view> paragraphs;
            std::string_view rest = turn.text;
            for (size_t cut; (cut = rest.find("\n\n")) != std::string_view::npos; rest.remove_prefix(cut + 2))
                paragraphs.push_back(rest.substr(0, cut));
            paragraphs.push_back(rest);
            scorer.addTurn(paragraphs);
        }
        ASSERT_EQ(scorer.finish(doc), expected);
    }
}

TEST(KeywordSieve, TheShuffledBlocksFindThePlacesThePortableOnesFind) {
    // Words with and near the prefixes, joining marks, capitals, digits and bytes outside ASCII,
    // for one stem, a few, and more than the eight buckets (which then share).
    const std::vector<std::string> pieces = {"budget", "BUDGE", "b_udget",  "bu.dget", "xbudget", "_plan",
                                             "Plan's", "pla",   "launch",   "lau",     "1s",      "q3",
                                             "Q3x",    "zé",    "zeppelin", "ana",     "Bo",      "—",
                                             "\xff",   " ",     ". ",       ",",       "@",       "\n\n"};
    const std::vector<std::vector<std::string>> stemSets = {
        {"zeppelin"},
        {"budget", "launch", "plan"},
        {"budget", "launch", "plan", "polici", "zeppelin", "decid", "q3", "1s", "ana", "bo", "lau", "zz"}};
    std::mt19937 random(5);
    for (int round = 0; round < 200; ++round) {
        std::string text;
        for (size_t i = 0, length = random() % 60; i < length; ++i) text += pieces[random() % pieces.size()];
        for (const auto& stems : stemSets) {
            auto places = [&](KeywordSieve::Blocks blocks) {
                std::vector<size_t> found;
                KeywordSieve(stems, blocks).forEachPlace(text, [&](size_t at) {
                    found.push_back(at);
                    return true;
                });
                return found;
            };
            ASSERT_EQ(places(KeywordSieve::Blocks::fastest), places(KeywordSieve::Blocks::portable)) << text;
        }
    }
}

} // namespace
} // namespace zelmor
