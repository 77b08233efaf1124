// Structured exports: day normalising, JSON dialects and nesting, lifelogs, CSV tokenizing.
#include "ZelmorMarkdownKit/import/TranscriptImportCSV.h"
#include "ZelmorMarkdownKit/import/TranscriptImportJSON.h"
#include "tests/kit/ImportTestSupport.h"

#include <gtest/gtest.h>

namespace zelmor {
namespace {

using namespace TranscriptImport;
using nlohmann::json;
using test::importFixture;
using test::Turns;
using Meetings = std::vector<ParsedMeeting>;

TEST(ImportDays, SeparatorsNormalisedOutOfRangeRefusedAndEpochSecondsOrMillisecondsReadInUTC) {
    const std::pair<const char*, std::optional<std::string>> days[] = {
        {"2025_03_14", "2025-03-14"}, {"2025-03-14T09:30:00Z", "2025-03-14"},
        {"2025-3-7", "2025-03-07"},   {"2024-02-31", "2024-02-31"},
        {"1900-01-01", "1900-01-01"}, {"2200-12-31", "2200-12-31"},
        {"2025-13-01", std::nullopt}, {"2025-01-00", std::nullopt},
        {"1899-12-31", std::nullopt}, {"2201-01-01", std::nullopt},
        {"2025-03", std::nullopt},    {"2025-0a-01", std::nullopt},
        {"March 3rd", std::nullopt},  {"", std::nullopt},
    };
    for (const auto& [text, day] : days) EXPECT_EQ(isoDay(text), day) << text;
    // 1741044600 is 2025-03-03T23:30:00Z, as seconds and as milliseconds.
    const std::pair<const char*, std::optional<std::string>> dates[] = {
        {R"({"date":"2025-01-21T23:59:00-08:00"})", "2025-01-21"},
        {R"({"date":1741044600})", "2025-03-03"},
        {R"({"date":1741044600000})", "2025-03-03"},
        {R"({"created_at":"1741044600000"})", "2025-03-03"},
        {R"({"date":"soon","startTime":"2024-06-01T00:00:00Z"})", "2024-06-01"},
        {R"({"date":1e300})", std::nullopt},
        {R"({"when":"2024-06-01"})", std::nullopt}};
    for (const auto& [text, day] : dates) EXPECT_EQ(dateOf(json::parse(text)), day) << text;
}

TEST(SpeakerOf, KeysRevealTheDialectAndOnlyGranolasAudioSourcesNameTheSpeaker) {
    const std::pair<const char*, SegmentSpeaker> cases[] = {
        {R"({"source":"Microphone","text":"x"})", {"Me", Format::granolaJSON}},
        {R"({"source":"system","text":"x"})", {"Them", Format::granolaJSON}},
        {R"({"source":"","speaker":"Kai","timestamp":1})",
         {std::nullopt, Format::granolaJSON}},                      // source rule first
        {R"({"source":7,"speaker":"Kai"})", {"Kai", std::nullopt}}, // only a text source counts
        // Generic keys give a name but no dialect.
        {R"({"speaker":"THEM","text":"x"})", {"Them", std::nullopt}},
        {R"({"speaker":{"name":"Ana"}})", {"Ana", std::nullopt}},
        {R"({"attribution":"me"})", {"Me", std::nullopt}},
        {R"({"text":"x"})", {}}};
    for (const auto& [text, speaker] : cases) EXPECT_EQ(speakerOf(json::parse(text)), speaker) << text;
}

TEST(JSONExport, ALifelogWalksNestedContentsAndSkipsHeadings) {
    EXPECT_EQ(parseJSONExport(importFixture("lifelog.json")),
              (Meetings{{{{"Sam Reyes", "Are we still on for the fourteenth?"},
                          {"Me", "Yes, marketing is ready. Press embargo lifts at nine."},
                          {"Sam Reyes", "Nine Pacific?"}},
                         "Coffee with Sam about the launch",
                         "2025-02-11",
                         Format::limitlessLifelog}}));
}

TEST(JSONExport, SegmentListsFoundByKeyWithTheirFallbacks) {
    const std::pair<const char*, Meetings> cases[] = {
        // A lifelog without contents reads its markdown.
        {R"({"lifelogs":[{"markdown":"# Walk\n- Ana (9:00 AM): Nice day."}]})",
         {{{{"Ana", "Nice day."}}, "Walk", std::nullopt, Format::limitlessLifelog}}},
        {R"({"startTime":"2025-05-05T10:00:00Z","contents":[{"type":"paragraph","content":"Hmm."}]})",
         {{{{"Speaker 1", "Hmm."}}, std::nullopt, "2025-05-05", Format::limitlessLifelog}}},
        // A later key wins when an earlier one is not a list of objects.
        {R"({"transcript":"plain text","utterances":[{"speaker":"Ana","text":"Hi"}]})",
         {{{{"Ana", "Hi"}}, std::nullopt, std::nullopt, std::nullopt}}},
        {R"({"transcript":[{"speaker":"Bo"},2],"utterances":[{"speaker":"Ana","text":"Hi"}]})",
         {{{{"Ana", "Hi"}}, std::nullopt, std::nullopt, std::nullopt}}},
        // An empty list is a meeting without turns.
        {R"({"title":"Quiet","transcript":[],"segments":[{"speaker":"Ana","text":"Hi"}]})",
         {{{}, "Quiet", std::nullopt, std::nullopt}}},
        // Titles and days come from enclosing objects.
        {R"({"meeting_title":"Outer","date":"2025-03-14","call":{"segments":[{"content":"Hi"},{"raw_text":"again"}]}})",
         {{{{"Speaker 1", "Hi again"}}, "Outer", "2025-03-14", std::nullopt}}},
        {R"([{"id":1},{"id":2}])", {}},
        {"{not json", {}}};
    for (const auto& [text, meetings] : cases) EXPECT_EQ(parseJSONExport(text), meetings) << text;
}

TEST(JSONExport, NestingDeeperThanTheBoundIsNotSearched) {
    auto nested = [](int depth) {
        std::string text = R"({"segments":[{"speaker":"A","text":"deep"}]})";
        for (int i = 0; i < depth; ++i) text = R"({"level":)" + text + "}";
        return text;
    };
    EXPECT_EQ(parseJSONExport(nested(maxSegmentDepth)).size(), 1u);
    EXPECT_TRUE(parseJSONExport(nested(maxSegmentDepth + 1)).empty());
}

TEST(CSV, QuotedFieldsDoubledQuotesLineBreaksEmptyFieldsAndNamedColumnsGivingTheMeeting) {
    using Rows = std::vector<std::vector<std::string>>;
    EXPECT_EQ(parseCSV("a,\"b, c\",\"say \"\"hi\"\"\"\r\n\"multi\nline\",,end\n\nlast"),
              (Rows{{"a", "b, c", "say \"hi\""}, {"multi\nline", "", "end"}, {"last"}}));
    EXPECT_EQ(parseCSV("\"\"\n"), (Rows{{""}}));
    EXPECT_EQ(parseCSV("x,\n"), (Rows{{"x", ""}}));
    EXPECT_TRUE(parseCSV("").empty());
    // Unlabelled lines are Speaker 1.
    EXPECT_EQ(
        parseCSVExport("Meeting Name,Start,Transcript\nCall,2024-07-01 10:00,\"hello there\nAna: hi\"\n"),
        (Meetings{
            {{{"Speaker 1", "hello there"}, {"Ana", "hi"}}, "Call", "2024-07-01", Format::granolaCSV}}));
}

} // namespace
} // namespace zelmor
