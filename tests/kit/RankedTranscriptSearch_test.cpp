// Keyword search tests: query terms, the all-terms match and its score, snippet placement,
// excerpts counted in user-perceived characters, ranking, and the one-pass match held to the
// plain text-by-text definition.
#include "ZelmorMarkdownKit/search/RankedTranscriptSearch.h"

#include "ZelmorMarkdownKit/text/TextFolding.h"

#include <gtest/gtest.h>

#include <random>
#include <set>

namespace zelmor {
namespace {

namespace RTS = RankedTranscriptSearch;
using Strings = std::vector<std::string>;

TranscriptDocument document(std::vector<TranscriptDocument::Turn> turns, std::string title = "Weekly sync",
                            std::vector<std::string> participants = {"Ann", "Bo"}) {
    TranscriptDocument made;
    made.title = std::move(title);
    made.date = "2024-05-01";
    made.participants = std::move(participants);
    made.source = "Zelmor";
    made.turns = std::move(turns);
    return made;
}

TEST(RankedTranscriptSearchTermsTest, SplitsWordsAndQuotedPhrasesGluedOrUnclosed) {
    EXPECT_EQ(RTS::terms(std::nullopt), Strings{});
    const std::pair<const char*, Strings> cases[] = {
        {"", {}},
        {"   \t\n ", {}},
        {"budget \"Q3 plan\"", {"budget", "Q3 plan"}},
        {"\u201CQ3  Plan\u201D\u00A0Résumé \u201Eda ja\u201D", {"Q3  Plan", "Résumé", "da ja"}},
        {"\"\" a \"\"", {"a"}},
        {"foo\"bar baz\" qux", {"foobar baz", "qux"}},
        {"alpha \"open ended", {"alpha", "open ended"}},
        {"\"a b\"c d", {"a b", "c", "d"}},
    };
    for (const auto& [query, terms] : cases) EXPECT_EQ(RTS::terms(query), terms) << query;
}

TEST(RankedTranscriptSearchMatchTest, EveryTermMustBeSomewhere) {
    auto doc = document({{"Ann", "The budget looks fine."}, {"Bo", "Agreed on the Q3 plan today."}});
    EXPECT_FALSE(RTS::match(doc, {}).has_value());
    EXPECT_FALSE(RTS::match(doc, {"budget", "hiring"}).has_value());
    EXPECT_FALSE(RTS::match(doc, {"budget", "Q3 budget"}).has_value());
    auto both = RTS::match(doc, RTS::terms("budget \"q3 PLAN\""));
    ASSERT_TRUE(both.has_value());
    EXPECT_EQ(both->matchingTurns, 2);
    EXPECT_EQ(both->score, 2);
    EXPECT_EQ(both->snippets,
              (Strings{"**Ann:** The budget looks fine.", "**Bo:** Agreed on the Q3 plan today."}));
}

TEST(RankedTranscriptSearchMatchTest, SubstringsIgnoringCaseAndDiacritics) {
    auto doc = document({{"Ann", "Explanation of our PLANNING and the Résumé review."}});
    for (const char* term : {"plan", "resume", "RÉSUMÉ", "résume"}) {
        auto found = RTS::match(doc, {term});
        ASSERT_TRUE(found.has_value()) << term;
        EXPECT_EQ(found->matchingTurns, 1) << term;
    }
    EXPECT_TRUE(RTS::termMatches("resume", "Résumé review"));
    EXPECT_FALSE(RTS::termMatches("resumes", "Résumé review"));
}

TEST(RankedTranscriptSearchMatchTest, TitleAndParticipantHitsScoreWithoutSnippets) {
    auto doc = document({{"Ann", "Nothing relevant."}}, "Roadmap review", {"Dana Ruiz", "Eli"});
    EXPECT_EQ(RTS::match(doc, {"roadmap"}), (RTS::DocumentMatch{3, 0, {}}));
    EXPECT_EQ(RTS::match(doc, {"ruiz"}), (RTS::DocumentMatch{2, 0, {}}));
    EXPECT_EQ(RTS::match(doc, {"review", "roadmap", "dana", "eli", "relevant"}),
              (RTS::DocumentMatch{1 + 3 + 2, 1, {"**Ann:** Nothing relevant."}}));
    // Speaker labels are not searched.
    EXPECT_FALSE(RTS::match(document({{"Zed", "hello"}}, "t", {}), {"zed"}).has_value());
}

TEST(RankedTranscriptSearchMatchTest, DocumentTextsButNotMeetingNotesAreSearched) {
    auto doc = document({{"Ann", "Hi."}});
    doc.notes = "Bring the contract.";
    doc.summary = "Pricing was settled.";
    doc.actionItems = "- Dana sends the contract";
    doc.keyMoments = "Launch date moved.";
    doc.meetingNotes = "Secret harbour plans.";
    EXPECT_EQ(RTS::match(doc, {"harbour"}), std::nullopt);
    EXPECT_EQ(RTS::match(doc, {"launch", "pricing", "contract", "hi"}),
              (RTS::DocumentMatch{1, 1, {"**Ann:** Hi.", "Launch date moved.", "Pricing was settled."}}));
    EXPECT_EQ(RTS::match(doc, {"contract"}), (RTS::DocumentMatch{0, 0, {"Bring the contract."}}));
}

TEST(RankedTranscriptSearchMatchTest, SnippetsComeFromDistinctTurnsThenFields) {
    auto doc = document({{"Ann", "alpha beta gamma"},
                         {"Bo", "beta again"},
                         {"Ann", "gamma and alpha"},
                         {"Cy", "delta only here"},
                         {"Bo", "alpha alone"}});
    doc.summary = "beta delta in the summary";
    auto found = RTS::match(doc, {"alpha", "beta", "gamma", "delta"});
    ASSERT_TRUE(found.has_value());
    EXPECT_EQ(found->matchingTurns, 5);
    EXPECT_EQ(found->snippets,
              (Strings{"**Ann:** alpha beta gamma", "**Bo:** beta again", "**Ann:** gamma and alpha"}));

    auto oneTurn = document({{"Ann", "alpha beta gamma"}, {"Bo", "nothing"}});
    oneTurn.notes = "gamma noted";
    oneTurn.keyMoments = "beta moment";
    found = RTS::match(oneTurn, {"alpha", "beta", "gamma", "zeta"});
    EXPECT_FALSE(found.has_value());
    found = RTS::match(oneTurn, {"alpha", "beta", "gamma"});
    ASSERT_TRUE(found.has_value());
    EXPECT_EQ(found->matchingTurns, 1);
    EXPECT_EQ(found->snippets, (Strings{"**Ann:** alpha beta gamma", "beta moment", "gamma noted"}));
}

TEST(RankedTranscriptSearchMatchTest, ThreeTermsInEachOfThreeTurnsUseThreeTurnsAndAFourthAddsNone) {
    auto doc = document({{"A", "red green blue"},
                         {"B", "red green blue"},
                         {"C", "red green blue"},
                         {"D", "red green blue white"}});
    auto found = RTS::match(doc, {"red", "green", "blue", "white"});
    ASSERT_TRUE(found.has_value());
    EXPECT_EQ(found->snippets,
              (Strings{"**A:** red green blue", "**B:** red green blue", "**C:** red green blue"}));
    EXPECT_EQ(found->score, 4);
}

TEST(RankedTranscriptSearchExcerptTest, EllipsesOnlyOnCutEnds) {
    std::string longTurn(120, 'x');
    longTurn += " the budget ";
    longTurn += std::string(120, 'y');
    std::string snippet = RTS::excerpt(longTurn, TextRange{125, 131}, 90);
    EXPECT_EQ(snippet, "\u2026" + std::string(85, 'x') + " the budget " + std::string(89, 'y') + "\u2026");
    EXPECT_EQ(RTS::excerpt("  short budget line \n", TextRange{8, 14}, 90), "short budget line");
    EXPECT_EQ(RTS::excerpt(std::string(100, 'a') + " budget", TextRange{101, 107}, 90),
              "\u2026" + std::string(89, 'a') + " budget");
}

TEST(RankedTranscriptSearchExcerptTest, ContextCountsUserPerceivedCharacters) {
    const std::string thumb = "\U0001F44D\U0001F3FD"; // thumbs up with a skin tone: one character
    const std::string accented = "e\xCC\x81";         // e and a combining acute: one character
    std::string text = thumb + thumb + thumb + "ok" + accented + accented + accented;
    EXPECT_EQ(RTS::excerpt(text, TextRange{3 * thumb.size(), 3 * thumb.size() + 2}, 2),
              "\u2026" + thumb + thumb + "ok" + accented + accented + "\u2026");
    EXPECT_EQ(RTS::excerpt(text, "OK", 3), thumb + thumb + thumb + "ok" + accented + accented + accented);
}

TEST(RankedTranscriptSearchExcerptTest, AroundATermFallsBackToTheStart) {
    std::string text = std::string(50, 'a') + " Café talk " + std::string(50, 'b');
    EXPECT_EQ(RTS::excerpt(text, "CAFE", 5), "\u2026aaaa Café talk\u2026");
    EXPECT_EQ(RTS::excerpt(text, "missing", 5), "aaaaaaaaaa");
    EXPECT_EQ(RTS::excerpt("  lead", "missing", 5), "  lead");
}

TEST(RankedTranscriptSearchExcerptTest, MatchSnippetsKeepAccentsOfTheOriginal) {
    std::string prefix;
    for (int i = 0; i < 30; ++i) prefix += "ÉÉÉ ";
    auto doc = document({{"Zoë", prefix + "the Résumé review happens " + prefix}});
    auto found = RTS::match(doc, {"resume"});
    ASSERT_TRUE(found.has_value());
    auto groups = [](int n) {
        std::string made;
        for (int i = 0; i < n; ++i) made += "ÉÉÉ ";
        return made;
    };
    EXPECT_EQ(found->snippets, (Strings{"**Zoë:** \u2026É " + groups(21) + "the Résumé review happens " +
                                        groups(18) + "ÉÉ\u2026"}));
}

TEST(RankedTranscriptSearchRankTest, SortsByScoreKeepingInputOrderOnTies) {
    using Item = std::pair<std::string, TranscriptDocument>;
    std::vector<Item> items{
        {"one", document({{"A", "budget"}})},    {"two", document({{"A", "budget"}, {"B", "budget again"}})},
        {"three", document({{"A", "nothing"}})}, {"four", document({{"A", "budget"}})},
        {"five", document({}, "Budget review")},
    };
    auto hits = RTS::rank(items, "budget");
    Strings order;
    for (const auto& hit : hits) order.push_back(hit.id);
    EXPECT_EQ(order, (Strings{"five", "two", "one", "four"}));
    EXPECT_EQ(hits[0].match, (RTS::DocumentMatch{3, 0, {}}));
    EXPECT_TRUE(RTS::rank(items, "   ").empty());
    EXPECT_TRUE(RTS::rank(items, std::nullopt).empty());
}

// The plain definition, text by text, for holding the one-pass match to it.
std::optional<RTS::DocumentMatch> plainMatch(const TranscriptDocument& doc, const Strings& terms) {
    if (terms.empty()) return std::nullopt;
    Strings fields{doc.notes, doc.summary, doc.actionItems, doc.keyMoments};
    auto inTitle = [&](const std::string& term) { return RTS::termMatches(term, doc.title); };
    auto inParticipants = [&](const std::string& term) {
        return std::any_of(doc.participants.begin(), doc.participants.end(),
                           [&](const std::string& p) { return RTS::termMatches(term, p); });
    };
    for (const auto& term : terms) {
        bool found = inTitle(term) || inParticipants(term);
        for (const auto& turn : doc.turns) found = found || RTS::termMatches(term, turn.text);
        for (const auto& field : fields) found = found || RTS::termMatches(term, field);
        if (!found) return std::nullopt;
    }
    RTS::DocumentMatch result;
    for (const auto& turn : doc.turns) {
        result.matchingTurns += std::any_of(
            terms.begin(), terms.end(), [&](const std::string& t) { return RTS::termMatches(t, turn.text); });
    }
    result.score = result.matchingTurns + (std::any_of(terms.begin(), terms.end(), inTitle) ? 3 : 0) +
                   (std::any_of(terms.begin(), terms.end(), inParticipants) ? 2 : 0);
    std::set<size_t> used;
    Strings unplaced;
    for (const auto& term : terms) {
        if (result.snippets.size() >= 3) break;
        bool placed = false;
        for (size_t i = 0; i < doc.turns.size() && !placed; ++i) {
            if (used.contains(i) || !RTS::termMatches(term, doc.turns[i].text)) continue;
            used.insert(i);
            placed = true;
            result.snippets.push_back(
                "**" + doc.turns[i].speaker + ":** " +
                RTS::excerpt(doc.turns[i].text, *TextFolding::find(doc.turns[i].text, term), 90));
        }
        if (!placed) unplaced.push_back(term);
    }
    for (const auto& term : unplaced) {
        if (result.snippets.size() >= 3) break;
        for (const auto& field : fields) {
            if (!RTS::termMatches(term, field)) continue;
            result.snippets.push_back(RTS::excerpt(field, *TextFolding::find(field, term), 90));
            break;
        }
    }
    return result;
}

TEST(RankedTranscriptSearchMatchTest, OnePassMatchAndTheSnippetFreeMatchAgreeWithThePlainDefinition) {
    std::mt19937 random(11);
    const Strings vocabulary{"plan",   "Plan", "PLANNING", "résumé",     "resume", "Straße",  "strasse",
                             "budget", "ok",   "😀",        "e\xCC\x81",  "q3",     "Q3 plan", "ß",
                             "x",      "the",  "\n",       "alpha beta", "\n\n",   "a\n\nb"};
    auto text = [&](size_t words) {
        std::string made;
        for (size_t i = 0; i < words; ++i)
            made += vocabulary[random() % vocabulary.size()] + (random() % 3 ? " " : "");
        return made;
    };
    for (int round = 0; round < 300; ++round) {
        TranscriptDocument doc = document({}, text(2), {text(1), text(1)});
        for (size_t t = random() % 5; t > 0; --t)
            doc.turns.push_back({"S" + std::to_string(t), text(random() % 60)});
        doc.notes = text(random() % 4);
        doc.summary = text(random() % 4);
        doc.actionItems = text(random() % 4);
        doc.keyMoments = text(random() % 4);
        Strings terms;
        for (size_t k = 1 + random() % 4; k > 0; --k)
            terms.push_back(vocabulary[random() % vocabulary.size()]);
        auto expected = plainMatch(doc, terms);
        ASSERT_EQ(RTS::match(doc, terms), expected) << "round " << round;
        if (expected) expected->snippets.clear();
        auto needles = RTS::needles(terms);
        ASSERT_TRUE(needles.has_value()) << "round " << round;
        ASSERT_EQ(RTS::matchWithoutSnippets(doc, *needles), expected) << "round " << round;
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
        ASSERT_EQ(scorer.finish(doc), expected) << "round " << round;
    }
}

TEST(RankedTranscriptSearchMatchTest, ATermThatFoldsToNothingLeavesNoNeedlesSoNothingMatches) {
    EXPECT_FALSE(RTS::needles({"plan", "\xCC\x81"}).has_value()); // a lone combining mark
    EXPECT_EQ(RTS::needles({"Plan", "plan", "PL\u00c1N", "budget", "plan"})->size(), 2u)
        << "one per folded term";
    EXPECT_EQ(RTS::match(document({{"Ann", "plan \xCC\x81"}}), {"plan", "\xCC\x81"}), std::nullopt);
}

} // namespace
} // namespace zelmor
