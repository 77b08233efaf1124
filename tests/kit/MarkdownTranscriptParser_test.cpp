// Reading transcript files: delimiters, frontmatter keys and lists, sections, comments, turns,
// and the frontmatter-only, body-only and turn-visiting reads held to the whole parse.
#include "ZelmorMarkdownKit/format/MarkdownTranscriptParser.h"

#include <gtest/gtest.h>

namespace zelmor {
namespace {

namespace MTP = MarkdownTranscriptParser;
using D = TranscriptDocument;
using Turn = D::Turn;
using Strings = std::vector<std::string>;

D parsed(const std::string& text) {
    auto doc = MTP::parse(text);
    EXPECT_TRUE(doc.has_value()) << text;
    return doc.value_or(D{});
}

/// A file whose frontmatter is the given lines and whose body follows the closing delimiter.
D withFrontmatter(const std::string& lines, const std::string& body = "") {
    return parsed("---\n" + lines + "\n---\n" + body);
}

// Turns whose paragraphs break with returns, around labels that start nothing.
const std::string continued = "---\ntitle: x\n---\n## Transcript\n\ncontinues nothing\n\n**Ana:** one\r\n\r\n"
                              "  two  \r\n\r\n**:** no label\n\nthree\n\n**Bo:**\n\n**Cy:**   four\n"
                              "same paragraph\n\n\n\nfive\n## Summary\nS\n";

TEST(MarkdownTranscriptParser, Delimiters) {
    // The opening line break is not part of a closing delimiter.
    for (std::string text :
         {"---\n---", "", "--- \ntitle: x\n---\n", "\n---\ntitle: x\n---\n", "---\ntitle: x\n"})
        EXPECT_FALSE(MTP::parse(text)) << text;
    // "\n---" at the very end closes too, but the first "\n---\n" wins over an earlier "\n----".
    EXPECT_EQ(parsed("---\ntitle: Only a title\n---"), D("Only a title", "", {}, 0, "Zelmor", "", {}));
    EXPECT_EQ(parsed("---\ntitle: A\n----\ndate: 2025-01-02\n---\n## Notes\nN\n"),
              D("A", "2025-01-02", {}, 0, "Zelmor", "N", {}));
}

TEST(MarkdownTranscriptParser, EveryKeyReachesItsFieldAndListsEndOnAnyOtherLine) {
    // Quoted values are unquoted except dates, start times, status and source; the list items
    // after a stray line, a blank line or another key are dropped, and tags add up across keys.
    EXPECT_EQ(
        withFrontmatter(
            "status: \"incomplete\"\ncalendar_event_id: \"evt-1\"\nspend_id: \"sp-9\"\n"
            "pending_reason: \"no network\"\ntopic_hint: \"pricing\"\npending_offset: 12.5\n"
            "pending_audio:\n  - \"/tmp/a.m4a\"\n  - \n  - b.m4a\nsource_app: \"Meet\"\n"
            "asr_summary: \"ok\"\nasr: \"pending\"\nprivate: yes\ndate: \"2025-01-01\"\n"
            "started_at: \"x\"\nparticipants:\n  - Ana\n - One leading space\n  - After the stray line\n"
            "participants:\n  - \"Quoted\"\n  - \n\n  - After a blank line\nparticipants:\n  - Bo\n"
            "tags: [alpha, \"beta gamma\"]\ntags: [ a ,, \"\" , b ]\ntags: []\ntags: alpha\n"
            "tags: \"one, two\"\ntags: [open\ntags: x\n  - ignored\ntags:\n  - \"y\"\n  - \n  - z\n"
            "title: T\n  - After a title"),
        D("T", "\"2025-01-01\"", {"Ana", "\"Quoted\"", "", "Bo"}, 0, "Zelmor", "", {}, "\"x\"", "\"pending\"",
          "\"incomplete\"", "evt-1", {"/tmp/a.m4a", "", "b.m4a"}, 12.5, true, "no network", "sp-9", "pricing",
          "ok", "Meet", {"alpha", "beta gamma", "a", "b", "alpha", "one, two", "[open", "x", "y", "z"}, "",
          "", "", "", true));
    EXPECT_EQ(withFrontmatter("source: \"Zelmor\"\nasr: done").source, "\"Zelmor\"");
    EXPECT_EQ(withFrontmatter("source:").source, "") << "an empty source line is still a source";
    // Keys are whole, case-sensitive and unindented; the last one wins.
    const std::pair<const char*, const char*> titles[] = {{"Title: a\n title: b\ntitles: c", ""},
                                                          {"title: A\ntitle:  Last  ", "Last"},
                                                          {R"(title: "Say \"hi\" now")", R"(Say "hi" now)"},
                                                          {R"(title: "half)", R"("half)"},
                                                          {R"(title: half")", R"(half")"},
                                                          {R"(title: ")", R"(")"},
                                                          {R"(title: "")", ""},
                                                          {R"(title: "a\\"b")", R"(a\"b)"}};
    for (const auto& [lines, title] : titles) EXPECT_EQ(withFrontmatter(lines).title, title) << lines;
}

TEST(MarkdownTranscriptParser, DurationIsASignedIntegerPendingOffsetDecimalAndPrivateTrueYesOrOne) {
    auto minutes = [](const std::string& value) {
        return withFrontmatter("duration_min:" + value).durationMin;
    };
    for (const char* zero : {"42.5", "", "1 5", "0x10", "٤٢", "99999999999999999999"})
        EXPECT_EQ(minutes(zero), 0) << zero;
    for (auto [value, read] :
         {std::pair<const char*, int64_t>{"+7", 7}, {"\t -3 \t", -3}, {"-9223372036854775808", INT64_MIN}})
        EXPECT_EQ(minutes(value), read) << value;
    // A real zero is told from an absent offset.
    const std::pair<const char*, double> readable[] = {{"0", 0},      {"-1.5e2", -150}, {"1e3", 1000},
                                                       {"1E+2", 100}, {".5", 0.5},      {"5.", 5},
                                                       {"+2", 2},     {"2.5e-1", 0.25}};
    auto offset = [](const std::string& value) {
        D doc = withFrontmatter("pending_offset: " + value);
        return std::pair(doc.pendingOffsetSeconds, doc.hasPendingOffset);
    };
    for (const auto& [value, seconds] : readable) EXPECT_EQ(offset(value), std::pair(seconds, true)) << value;
    for (const char* bad : {"soon", "12.5s", "", "\r4", "0x10", "0x1p3", "inf", "-inf", "infinity", "nan",
                            "NAN", ".", "-", "e5", "1e", "1e+", "1.2.3", "1 000", "\u0664\u0662"})
        EXPECT_EQ(offset(bad), std::pair(0.0, false)) << bad;
    for (const char* yes : {"true", "YES", "\"1\"", "True", "\"yes\""})
        EXPECT_TRUE(withFrontmatter(std::string("private: ") + yes).isPrivate) << yes;
    for (const char* no : {"on", "false", "", "2", "yes please"})
        EXPECT_FALSE(withFrontmatter(std::string("private: ") + no).isPrivate) << no;
}

/// The notes, summary, meeting notes, action items and key moments, split by "|".
std::string sections(const std::string& body) {
    D doc = withFrontmatter("title: x", body);
    return doc.notes + "|" + doc.summary + "|" + doc.meetingNotes + "|" + doc.actionItems + "|" +
           doc.keyMoments;
}

TEST(MarkdownTranscriptParser, SectionsEndAtTheNextKnownHeaderOrTheBlockMarker) {
    std::string body =
        "## Notes\n\nMy note\n## Notes are here\n\n## Transcript\n\n**Ana:** Hi.\n\n## Unknown\n\n"
        "still Ana\n<!-- zelmor:written-by agent -->\n## Summary\n<!-- zelmor:written-by agent -->\n"
        "  Short summary.\n   <!-- inline note -->  \nKept <!-- not a whole line --> text\n\n"
        "## Action Items\n- [ ] Send deck\n<!-- /zelmor:ai -->\nWritten by the user after the block.\n"
        "## Key Moments\n- 00:01 start\n";
    EXPECT_EQ(sections(body), "My note\n## Notes are here|Short summary.\nKept <!-- not a whole line --> "
                              "text||- [ ] Send deck|- 00:01 start");
    EXPECT_EQ(
        withFrontmatter("title: x", body).turns,
        (std::vector<Turn>{{"Ana", "Hi.\n\n## Unknown\n\nstill Ana\n<!-- zelmor:written-by agent -->"}}));
    // A heading needs a line break after it. One before the section, or the heading line's own
    // line break, ends nothing; the block marker needs a line break before it; mid-line, a
    // heading starts its own section but ends no other.
    const std::pair<const char*, const char*> cases[] = {
        {"## Notes\n\n## Transcript\n\n**A:** b\n", "||||"},
        {"## Notes", "||||"},
        {"## Notes \nx\n## Notes\ny", "y||||"},
        {"### Notes\nz", "z||||"},
        {"## Meeting Notes\nmn\n## Notes\nn\n", "n||mn||"},
        {"## Summary\nsum\n## Notes\nnotes <!-- /zelmor:ai -->", "notes <!-- /zelmor:ai -->|sum|||"},
        {"## Notes\n## Transcript\n**A:** b\n", "## Transcript\n**A:** b||||"},
        {"## Notes\na ## Transcript\n**Ana:** hi\n## Key Moments\nk", "a ## Transcript\n**Ana:** hi||||k"}};
    for (const auto& [text, expected] : cases) EXPECT_EQ(sections(text), expected) << text;
    EXPECT_EQ(withFrontmatter("title: x", "## Notes\na ## Transcript\n**Ana:** hi\n").turns,
              (std::vector<Turn>{{"Ana", "hi"}}));
}

TEST(MarkdownTranscriptParser, TurnsAndContinuations) {
    D doc = withFrontmatter("title: x",
                            "## Transcript\n\nBefore any turn.\n\n**:** empty label\n\n**Ana:**No space\n\n"
                            "**Bo:**  Two spaces\n\n**Cy :** spaced label\n\n**Dee: ** not a turn\n\n\n\n"
                            "   **Eve:** indented, then: **bold:** inside   \n\n**Fay:**\n");
    EXPECT_EQ(doc.turns, (std::vector<Turn>{{"Ana", "No space"},
                                            {"Bo", " Two spaces"},
                                            {"Cy ", "spaced label\n\n**Dee: ** not a turn"},
                                            {"Eve", "indented, then: **bold:** inside"},
                                            {"Fay", ""}}));
    EXPECT_EQ(parsed(continued).turns,
              (std::vector<Turn>{
                  {"Ana", "one\n\ntwo\n\nthree"}, {"Bo", ""}, {"Cy", "  four\nsame paragraph\n\nfive"}}));
}

TEST(MarkdownTranscriptParser, PartialReadsAddUpToTheWholeParseAndReturnsReadAsPlainBreaks) {
    const std::string texts[] = {
        "---\ntitle: x\n---\n## Summary\n<!-- zelmor:ai -->\nSaid.\n<!-- /zelmor:ai -->\n## Notes\nn\n",
        "---\nparticipants:\n  - Ana\n---\n## Transcript\n**Ana:** hi\n---\nsource: Zelmor\n",
        continued,
        "---\ntitle: x\n---\n## Transcript\n**Ana:** last\n<!-- /zelmor:ai -->\n\n**Bot:** after\n",
        "---\ntitle: Body only\n---\n## Transcript\r\n\r\n**Ana:** one\r\n\r\n**Bo:** two\r\n",
        "---\r\ntitle: Header only\r\n---\r\n## Transcript\n\n**Ana:** one\n",
        "---\ntitle: Closed by a return\n---\r\n## Notes\nn\n",
        "---\ntitle: a\r\n---\r\n## Notes\nfirst\n---\n## Summary\nlater close\n",
        "---\ntitle: b\n---\n\r\n## Notes\r\nlone \r return\n",
        "---\ntitle: c\n---\r\n",
        "---\r\n\r\n---\r\n",
    };
    for (const auto& text : texts) {
        SCOPED_TRACE(text);
        std::string plain = text;
        for (size_t at = 0; (at = plain.find("\r\n", at)) != std::string::npos;) plain.erase(at, 1);
        D whole = parsed(plain);
        EXPECT_EQ(MTP::parse(text), whole);
        auto header = MTP::parseFrontmatter(text);
        ASSERT_TRUE(header.has_value());
        D noTurns = whole;
        noTurns.turns.clear();
        D visited = *header;
        std::vector<Turn> turns;
        MTP::parseBody(text, visited, [&](const MTP::TurnText& turn) {
            std::string joined;
            for (size_t k = 0; k < turn.paragraphs.size(); ++k)
                joined += (k ? "\n\n" : "") + std::string(turn.paragraphs[k]);
            turns.push_back({std::string(turn.speaker), joined});
            return true;
        });
        EXPECT_EQ(turns, whole.turns);
        EXPECT_EQ(visited, noTurns) << "the sections are read as ever, the turns only visited";
        // A visitor that answers false is not called again, nor are later sections read.
        for (size_t stopAt = 1; stopAt <= turns.size(); ++stopAt) {
            size_t calls = 0;
            D stopped = *header;
            MTP::parseBody(text, stopped, [&](const MTP::TurnText&) { return ++calls < stopAt; });
            EXPECT_EQ(calls, stopAt);
            EXPECT_EQ(stopped.summary + stopped.meetingNotes + stopped.actionItems + stopped.keyMoments, "");
        }
        MTP::parseBody(text, *header);
        EXPECT_EQ(*header, whole);
    }
}

} // namespace
} // namespace zelmor
