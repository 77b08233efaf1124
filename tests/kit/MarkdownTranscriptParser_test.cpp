// Reading transcript files: delimiters, frontmatter keys and lists, sections, comments, turns.
#include "ZelmorMarkdownKit/format/MarkdownTranscriptParser.h"

#include <gtest/gtest.h>

namespace zelmor {
namespace {

using Turn = TranscriptDocument::Turn;
using Strings = std::vector<std::string>;

TranscriptDocument parsed(const std::string& text) {
    auto doc = MarkdownTranscriptParser::parse(text);
    EXPECT_TRUE(doc.has_value()) << text;
    return doc.value_or(TranscriptDocument{});
}

/// A file whose frontmatter is the given lines and whose body follows the closing delimiter.
TranscriptDocument withFrontmatter(const std::string& lines, const std::string& body = "") {
    return parsed("---\n" + lines + "\n---\n" + body);
}

const std::string appFile = "---\n"
                            "title: Weekly sync\n"
                            "date: 2025-03-14\n"
                            "started_at: 2025-03-14T09:30:00Z\n"
                            "duration_min: 42\n"
                            "participants:\n"
                            "  - Ana\n"
                            "  - Speaker 2\n"
                            "source: Zelmor\n"
                            "---\n"
                            "\n"
                            "## Notes\n"
                            "\n"
                            "Bring the Q3 numbers.\n"
                            "\n"
                            "## Transcript\n"
                            "\n"
                            "**Ana:** Good morning.\n"
                            "\n"
                            "**Speaker 2:** Morning.\n"
                            "Second line of the same paragraph.\n"
                            "\n"
                            "And a second paragraph.\n";

TEST(MarkdownTranscriptParser, ReadsTheFileTheAppWrites) {
    TranscriptDocument doc = parsed(appFile);
    EXPECT_EQ(doc.title, "Weekly sync");
    EXPECT_EQ(doc.date, "2025-03-14");
    EXPECT_EQ(doc.startedAt, "2025-03-14T09:30:00Z");
    EXPECT_EQ(doc.durationMin, 42);
    EXPECT_EQ(doc.participants, (Strings{"Ana", "Speaker 2"}));
    EXPECT_EQ(doc.source, "Zelmor");
    EXPECT_EQ(doc.notes, "Bring the Q3 numbers.");
    EXPECT_EQ(doc.turns,
              (std::vector<Turn>{
                  {"Ana", "Good morning."},
                  {"Speaker 2", "Morning.\nSecond line of the same paragraph.\n\nAnd a second paragraph."},
              }));
}

TEST(MarkdownTranscriptParser, Delimiters) {
    // The opening line break is not part of a closing delimiter.
    EXPECT_FALSE(MarkdownTranscriptParser::parse("---\n---"));

    // Fallback: "\n---" at the very end.
    TranscriptDocument fallback = parsed("---\ntitle: Only a title\n---");
    EXPECT_EQ(fallback.title, "Only a title");
    EXPECT_EQ(fallback.notes, "");
    EXPECT_TRUE(fallback.turns.empty());

    // The first "\n---\n" wins over an earlier "\n----".
    TranscriptDocument first = parsed("---\ntitle: A\n----\ndate: 2025-01-02\n---\n## Notes\nN\n");
    EXPECT_EQ(first.title, "A");
    EXPECT_EQ(first.date, "2025-01-02");
    EXPECT_EQ(first.notes, "N");

    // An empty frontmatter still makes a document, with the source defaulted.
    TranscriptDocument empty = parsed("---\n\n---\n");
    EXPECT_EQ(empty.source, "Zelmor");
    EXPECT_EQ(empty.title, "");
}

TEST(MarkdownTranscriptParser, KeyPrefixesAreLiteral) {
    TranscriptDocument doc = withFrontmatter("source_app: \"Meet\"\n"
                                             "asr_summary: \"ok\"\n"
                                             "asr: pending");
    EXPECT_EQ(doc.sourceApp, "Meet");
    EXPECT_EQ(doc.source, "Zelmor") << "source_app: is not source:";
    EXPECT_EQ(doc.asrSummary, "ok");
    EXPECT_EQ(doc.asr, "pending") << "asr_summary: is not asr:";

    TranscriptDocument other = withFrontmatter("source: Otter\n"
                                               "asr: done\n"
                                               "Title: ignored\n"
                                               " title: indented\n"
                                               "title:  Kept  \n"
                                               "title: Last wins");
    EXPECT_EQ(other.source, "Otter");
    EXPECT_EQ(other.asr, "done");
    EXPECT_EQ(other.asrSummary, "");
    EXPECT_EQ(other.title, "Last wins");

    EXPECT_EQ(withFrontmatter("source:").source, "") << "an empty source line is still a source";
    EXPECT_EQ(withFrontmatter("titles: x").title, "");
}

TEST(MarkdownTranscriptParser, EveryKeyReachesItsField) {
    TranscriptDocument doc = withFrontmatter("status: incomplete\n"
                                             "calendar_event_id: \"evt-1\"\n"
                                             "spend_id: \"sp-9\"\n"
                                             "pending_reason: \"no network\"\n"
                                             "topic_hint: \"pricing\"\n"
                                             "pending_offset: 12.5\n"
                                             "pending_audio:\n"
                                             "  - \"/tmp/a.m4a\"\n"
                                             "  - \n"
                                             "  - b.m4a");
    EXPECT_EQ(doc.status, "incomplete");
    EXPECT_EQ(doc.calendarEventID, "evt-1");
    EXPECT_EQ(doc.spendID, "sp-9");
    EXPECT_EQ(doc.pendingReason, "no network");
    EXPECT_EQ(doc.topicHint, "pricing");
    EXPECT_EQ(doc.pendingOffsetSeconds, 12.5);
    EXPECT_TRUE(doc.hasPendingOffset);
    EXPECT_EQ(doc.pendingAudioPaths, (Strings{"/tmp/a.m4a", "", "b.m4a"}));
}

TEST(MarkdownTranscriptParser, UnquotingOnlyWhereTheValueIsQuotedAtBothEnds) {
    EXPECT_EQ(withFrontmatter(R"(title: "Say \"hi\" now")").title, R"(Say "hi" now)");
    EXPECT_EQ(withFrontmatter(R"(title: "half)").title, R"("half)");
    EXPECT_EQ(withFrontmatter(R"(title: half")").title, R"(half")");
    EXPECT_EQ(withFrontmatter(R"(title: ")").title, R"(")");
    EXPECT_EQ(withFrontmatter(R"(title: "")").title, "");
    EXPECT_EQ(withFrontmatter(R"(title: "a\\"b")").title, R"(a\"b)");
    // Dates, start times, status and source are kept as written.
    TranscriptDocument kept =
        withFrontmatter("date: \"2025-01-01\"\nstarted_at: \"x\"\nstatus: \"s\"\nsource: \"Zelmor\"");
    EXPECT_EQ(kept.date, "\"2025-01-01\"");
    EXPECT_EQ(kept.startedAt, "\"x\"");
    EXPECT_EQ(kept.status, "\"s\"");
    EXPECT_EQ(kept.source, "\"Zelmor\"");
}

TEST(MarkdownTranscriptParser, DurationIsAWholeSignedInteger) {
    EXPECT_EQ(withFrontmatter("duration_min: 42.5").durationMin, 0);
    EXPECT_EQ(withFrontmatter("duration_min: +7").durationMin, 7);
    EXPECT_EQ(withFrontmatter("duration_min: -3").durationMin, -3);
    EXPECT_EQ(withFrontmatter("duration_min:\t 15 \t").durationMin, 15);
    EXPECT_EQ(withFrontmatter("duration_min:").durationMin, 0);
    EXPECT_EQ(withFrontmatter("duration_min: 1 5").durationMin, 0);
    EXPECT_EQ(withFrontmatter("duration_min: 0x10").durationMin, 0);
    EXPECT_EQ(withFrontmatter("duration_min: ٤٢").durationMin, 0) << "ASCII digits only";
    EXPECT_EQ(withFrontmatter("duration_min: 99999999999999999999").durationMin, 0);
    EXPECT_EQ(withFrontmatter("duration_min: -9223372036854775808").durationMin, INT64_MIN);
}

TEST(MarkdownTranscriptParser, PendingOffsetReadsOnlyDecimalNotation) {
    TranscriptDocument zero = withFrontmatter("pending_offset: 0");
    EXPECT_EQ(zero.pendingOffsetSeconds, 0);
    EXPECT_TRUE(zero.hasPendingOffset) << "a real zero is told from an absent offset";

    const std::pair<const char*, double> readable[] = {
        {"-1.5e2", -150}, {"1e3", 1000}, {"1E+2", 100}, {".5", 0.5}, {"5.", 5}, {"+2", 2}, {"2.5e-1", 0.25}};
    for (const auto& [value, seconds] : readable) {
        TranscriptDocument doc = withFrontmatter(std::string("pending_offset: ") + value);
        EXPECT_EQ(doc.pendingOffsetSeconds, seconds) << value;
        EXPECT_TRUE(doc.hasPendingOffset) << value;
    }
    for (const char* bad : {"soon", "12.5s", "", "\r4", "0x10", "0x1p3", "inf", "-inf", "infinity", "nan",
                            "NAN", ".", "-", "e5", "1e", "1e+", "1.2.3", "1 000", "\u0664\u0662"}) {
        TranscriptDocument doc = withFrontmatter(std::string("pending_offset: ") + bad);
        EXPECT_EQ(doc.pendingOffsetSeconds, 0) << bad;
        EXPECT_FALSE(doc.hasPendingOffset) << bad;
    }
}

TEST(MarkdownTranscriptParser, PrivateFlag) {
    for (const char* yes : {"true", "YES", "\"1\"", "True", "\"yes\""})
        EXPECT_TRUE(withFrontmatter(std::string("private: ") + yes).isPrivate) << yes;
    for (const char* no : {"on", "false", "", "2", "yes please"})
        EXPECT_FALSE(withFrontmatter(std::string("private: ") + no).isPrivate) << no;
}

TEST(MarkdownTranscriptParser, ListsEndOnAnyOtherLine) {
    TranscriptDocument doc = withFrontmatter("participants:\n"
                                             "  - Ana\n"
                                             " - One leading space\n"
                                             "  - After the stray line\n"
                                             "participants:\n"
                                             "  - \"Quoted\"\n"
                                             "  - \n"
                                             "\n"
                                             "  - After a blank line\n"
                                             "participants:\n"
                                             "  - Bo\n"
                                             "title: T\n"
                                             "  - After a title");
    EXPECT_EQ(doc.participants, (Strings{"Ana", "\"Quoted\"", "", "Bo"}));
    EXPECT_EQ(doc.title, "T");
    EXPECT_TRUE(withFrontmatter("  - Nobody\ntitle: x").participants.empty());
}

TEST(MarkdownTranscriptParser, TagsAsListOrInline) {
    EXPECT_EQ(withFrontmatter("tags:\n  - \"alpha\"\n  - \n  - beta").tags, (Strings{"alpha", "beta"}));
    EXPECT_EQ(withFrontmatter(R"(tags: [alpha, "beta gamma"])").tags, (Strings{"alpha", "beta gamma"}));
    EXPECT_EQ(withFrontmatter("tags: [ a ,, \"\" , b ]").tags, (Strings{"a", "b"}));
    EXPECT_EQ(withFrontmatter("tags: []").tags, Strings{});
    EXPECT_EQ(withFrontmatter("tags: alpha").tags, Strings{"alpha"});
    EXPECT_EQ(withFrontmatter("tags: \"one, two\"").tags, Strings{"one, two"});
    EXPECT_EQ(withFrontmatter("tags: [open").tags, Strings{"[open"});
    // Inline tags open no list; a second tags key adds to the same list.
    EXPECT_EQ(withFrontmatter("tags: x\n  - ignored\ntags:\n  - y").tags, (Strings{"x", "y"}));
}

TEST(MarkdownTranscriptParser, SectionsEndAtTheNextKnownHeaderOrTheBlockMarker) {
    std::string body = "## Notes\n"
                       "\n"
                       "My note\n"
                       "## Notes are here\n"
                       "\n"
                       "## Transcript\n"
                       "\n"
                       "**Ana:** Hi.\n"
                       "\n"
                       "## Unknown\n"
                       "\n"
                       "still Ana\n"
                       "<!-- zelmor:written-by agent -->\n"
                       "## Summary\n"
                       "<!-- zelmor:written-by agent -->\n"
                       "  Short summary.\n"
                       "   <!-- inline note -->  \n"
                       "Kept <!-- not a whole line --> text\n"
                       "\n"
                       "## Action Items\n"
                       "- [ ] Send deck\n"
                       "<!-- /zelmor:ai -->\n"
                       "Written by the user after the block.\n"
                       "## Key Moments\n"
                       "- 00:01 start\n";
    TranscriptDocument doc = withFrontmatter("title: x", body);
    EXPECT_EQ(doc.notes, "My note\n## Notes are here");
    EXPECT_EQ(doc.turns, (std::vector<Turn>{
                             {"Ana", "Hi.\n\n## Unknown\n\nstill Ana\n<!-- zelmor:written-by agent -->"}}));
    EXPECT_EQ(doc.summary, "Short summary.\nKept <!-- not a whole line --> text");
    EXPECT_EQ(doc.actionItems, "- [ ] Send deck");
    EXPECT_EQ(doc.keyMoments, "- 00:01 start");
    EXPECT_EQ(doc.meetingNotes, "");
}

TEST(MarkdownTranscriptParser, SectionHeadingMatchesAnywhereButNeedsALineBreak) {
    // "## Notes" followed by a blank line then "## Transcript": empty notes, not the transcript.
    EXPECT_EQ(withFrontmatter("title: x", "## Notes\n\n## Transcript\n\n**A:** b\n").notes, "");
    EXPECT_EQ(withFrontmatter("title: x", "## Notes").notes, "") << "no line break after the heading";
    EXPECT_EQ(withFrontmatter("title: x", "## Notes \nx\n## Notes\ny").notes, "y");
    EXPECT_EQ(withFrontmatter("title: x", "### Notes\nz").notes, "z");
    EXPECT_EQ(withFrontmatter("title: x", "## Meeting Notes\nmn\n## Notes\nn\n").meetingNotes, "mn");
    EXPECT_EQ(withFrontmatter("title: x", "## Meeting Notes\nmn\n## Notes\nn\n").notes, "n");
}

TEST(MarkdownTranscriptParser, EndingsCountOnlyFromTheSectionStartOn) {
    // A heading before the section, or the heading line's own line break, ends nothing.
    TranscriptDocument before =
        withFrontmatter("title: x", "## Summary\nsum\n## Notes\nnotes <!-- /zelmor:ai -->");
    EXPECT_EQ(before.notes, "notes <!-- /zelmor:ai -->") << "the marker needs a line break before it";
    EXPECT_EQ(before.summary, "sum");
    EXPECT_EQ(withFrontmatter("title: x", "## Notes\n## Transcript\n**A:** b\n").notes,
              "## Transcript\n**A:** b");
    // Mid-line, a heading starts its own section but ends no other.
    TranscriptDocument midLine =
        withFrontmatter("title: x", "## Notes\na ## Transcript\n**Ana:** hi\n## Key Moments\nk");
    EXPECT_EQ(midLine.notes, "a ## Transcript\n**Ana:** hi");
    EXPECT_EQ(midLine.turns, (std::vector<Turn>{{"Ana", "hi"}}));
    EXPECT_EQ(midLine.keyMoments, "k");
}

TEST(MarkdownTranscriptParser, TurnsAndContinuations) {
    TranscriptDocument doc = withFrontmatter("title: x", "## Transcript\n"
                                                         "\n"
                                                         "Before any turn.\n"
                                                         "\n"
                                                         "**:** empty label\n"
                                                         "\n"
                                                         "**Ana:**No space\n"
                                                         "\n"
                                                         "**Bo:**  Two spaces\n"
                                                         "\n"
                                                         "**Cy :** spaced label\n"
                                                         "\n"
                                                         "**Dee: ** not a turn\n"
                                                         "\n\n\n"
                                                         "   **Eve:** indented, then: **bold:** inside   \n"
                                                         "\n"
                                                         "**Fay:**\n");
    EXPECT_EQ(doc.turns, (std::vector<Turn>{
                             {"Ana", "No space"},
                             {"Bo", " Two spaces"},
                             {"Cy ", "spaced label\n\n**Dee: ** not a turn"},
                             {"Eve", "indented, then: **bold:** inside"},
                             {"Fay", ""},
                         }));
}

TEST(MarkdownTranscriptParser, FrontmatterThenBodyIsTheWholeParse) {
    std::string crlf;
    for (char c : appFile) crlf += c == '\n' ? std::string("\r\n") : std::string(1, c);
    const std::string texts[] = {
        appFile,
        crlf,
        "---\ntitle: Only a title\n---",
        "---\ntitle: x\n---\n## Summary\n<!-- zelmor:ai -->\nSaid.\n<!-- /zelmor:ai -->\n## Notes\nn\n",
        "---\nparticipants:\n  - Ana\n---\n## Transcript\n**Ana:** hi\n---\nsource: Zelmor\n",
    };
    for (const auto& text : texts) {
        auto header = MarkdownTranscriptParser::parseFrontmatter(text);
        ASSERT_TRUE(header.has_value()) << text;
        TranscriptDocument bodyless = parsed(text);
        bodyless.notes = bodyless.summary = bodyless.meetingNotes = bodyless.actionItems =
            bodyless.keyMoments = "";
        bodyless.turns.clear();
        EXPECT_EQ(*header, bodyless) << "the frontmatter alone leaves every section empty: " << text;
        MarkdownTranscriptParser::parseBody(text, *header);
        EXPECT_EQ(*header, parsed(text)) << text;
    }
}

TEST(MarkdownTranscriptParser, VisitedTurnsJoinToTheParsedTurns) {
    const std::string texts[] = {
        appFile,
        "---\ntitle: x\n---\n## Transcript\n\ncontinues nothing\n\n**Ana:** one\r\n\r\n  two  \r\n\r\n"
        "**:** no label\n\nthree\n\n**Bo:**\n\n**Cy:**   four\nsame paragraph\n\n\n\nfive\n## Summary\nS\n",
        "---\ntitle: x\n---\n## Transcript\n**Ana:** last\n<!-- /zelmor:ai -->\n\n**Bot:** after\n",
    };
    EXPECT_EQ(parsed(texts[1]).turns,
              (std::vector<Turn>{
                  {"Ana", "one\n\ntwo\n\nthree"}, {"Bo", ""}, {"Cy", "  four\nsame paragraph\n\nfive"}}));
    for (const auto& text : texts) {
        TranscriptDocument whole = parsed(text);
        ASSERT_FALSE(whole.turns.empty()) << text;
        auto visited = MarkdownTranscriptParser::parseFrontmatter(text);
        ASSERT_TRUE(visited.has_value());
        std::vector<Turn> turns;
        MarkdownTranscriptParser::parseBody(
            text, *visited, [&](const MarkdownTranscriptParser::TurnText& turn) {
                std::string joined;
                for (size_t k = 0; k < turn.paragraphs.size(); ++k)
                    joined += (k ? "\n\n" : "") + std::string(turn.paragraphs[k]);
                turns.push_back({std::string(turn.speaker), joined});
            });
        EXPECT_EQ(turns, whole.turns) << text;
        EXPECT_TRUE(visited->turns.empty());
        whole.turns.clear();
        EXPECT_EQ(*visited, whole) << "the sections are read as ever: " << text;
    }
}

TEST(MarkdownTranscriptParser, LineBreaksWithReturnsReadAsPlainOnesWhereverTheyStand) {
    auto plain = [](std::string text) {
        for (size_t at = 0; (at = text.find("\r\n", at)) != std::string::npos;) text.erase(at, 1);
        return text;
    };
    const std::string texts[] = {
        "---\ntitle: Body only\n---\n## Transcript\r\n\r\n**Ana:** one\r\n\r\n**Bo:** two\r\n",
        "---\r\ntitle: Header only\r\n---\r\n## Transcript\n\n**Ana:** one\n",
        "---\ntitle: Closed by a return\n---\r\n## Notes\nn\n",
        "---\ntitle: a\r\n---\r\n## Notes\nfirst\n---\n## Summary\nlater close\n",
        "---\ntitle: b\n---\n\r\n## Notes\r\nlone \r return\n",
        "---\ntitle: c\n---\r\n",
        "---\r\n\r\n---\r\n",
    };
    for (const auto& text : texts) {
        auto expected = MarkdownTranscriptParser::parse(plain(text));
        ASSERT_TRUE(expected.has_value()) << text;
        EXPECT_EQ(MarkdownTranscriptParser::parse(text), expected) << text;
        auto header = MarkdownTranscriptParser::parseFrontmatter(text);
        ASSERT_TRUE(header.has_value()) << text;
        EXPECT_EQ(header->title, expected->title) << text;
        MarkdownTranscriptParser::parseBody(text, *header);
        EXPECT_EQ(*header, *expected) << text;
    }
}

TEST(MarkdownTranscriptParser, BadDelimitersRefuseTheParseAndTheFrontmatterAlone) {
    for (std::string text : {"", "--- \ntitle: x\n---\n", "\n---\ntitle: x\n---\n", "---\ntitle: x\n"}) {
        EXPECT_FALSE(MarkdownTranscriptParser::parse(text)) << text;
        EXPECT_FALSE(MarkdownTranscriptParser::parseFrontmatter(text)) << text;
        TranscriptDocument untouched;
        untouched.title = "kept";
        TranscriptDocument expected = untouched;
        MarkdownTranscriptParser::parseBody(text + "## Notes\nx\n", untouched);
        EXPECT_EQ(untouched, expected) << text;
    }
}

} // namespace
} // namespace zelmor
