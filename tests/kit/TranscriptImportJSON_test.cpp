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

TEST(IsoDay, NormalisesSeparatorsAndRefusesOutOfRangeDays) {
    const std::pair<const char*, std::optional<std::string>> cases[] = {
        {"2025_03_14", "2025-03-14"},  {"2025-03-14T09:30:00Z", "2025-03-14"},
        {"2025-3-7", "2025-03-07"},    {"2024-02-31", "2024-02-31"},
        {"1900-01-01", "1900-01-01"},  {"2200-12-31", "2200-12-31"},
        {"2025-13-01", std::nullopt},  {"2025-01-00", std::nullopt},
        {"1899-12-31", std::nullopt},  {"2201-01-01", std::nullopt},
        {"2025-03", std::nullopt},     {"2025-0a-01", std::nullopt},
        {"March 3rd", std::nullopt},   {"", std::nullopt},
        {"20250328123", std::nullopt}, // one piece too large for an int
    };
    for (const auto& [text, day] : cases) EXPECT_EQ(isoDay(text), day) << text;
}

TEST(SpeakerOf, KeysRevealTheDialectAndOnlyGranolasAudioSourcesNameTheSpeaker) {
    const std::pair<const char*, SegmentSpeaker> cases[] = {
        {R"({"speaker_name":" Rosa ","text":"x"})", {"Rosa", Format::firefliesJSON}},
        {R"({"speaker":{"display_name":"Lee"},"text":"x","timestamp":"00:01"})", {"Lee", Format::fathomJSON}},
        {R"({"source":"Microphone","text":"x"})", {"Me", Format::granolaJSON}},
        {R"({"source":"system","text":"x"})", {"Them", Format::granolaJSON}},
        {R"({"speaker":"Kai","text":"x","timestamp":3.5})", {"Kai", Format::circlebackJSON}},
        {R"({"source":"zoom","text":"x"})", {std::nullopt, Format::granolaJSON}},
        {R"({"source":" microphone","text":"x"})",
         {std::nullopt, Format::granolaJSON}}, // lower-cased, not trimmed
        {R"({"source":"","speaker":"Kai","timestamp":1})",
         {std::nullopt, Format::granolaJSON}},                      // source rule first
        {R"({"source":7,"speaker":"Kai"})", {"Kai", std::nullopt}}, // only a text source counts
        // Generic keys give a name but no dialect.
        {R"({"speaker":"THEM","text":"x"})", {"Them", std::nullopt}},
        {R"({"speaker":{"name":"Ana"}})", {"Ana", std::nullopt}},
        {R"({"attribution":"me"})", {"Me", std::nullopt}},
        {R"({"diarization_label":"spk_0"})", {"spk_0", std::nullopt}},
        {R"({"name":"Bo"})", {"Bo", std::nullopt}},
        {R"({"text":"x"})", {}},
    };
    for (const auto& [text, speaker] : cases) EXPECT_EQ(speakerOf(json::parse(text)), speaker) << text;
}

TEST(DateOf, ReadsTextsAndEpochSecondsOrMillisecondsInUTC) {
    EXPECT_EQ(dateOf(json::parse(R"({"date":"2025-01-21T23:59:00-08:00"})")), "2025-01-21");
    // 2025-03-03T23:30:00Z, as seconds and as milliseconds.
    EXPECT_EQ(dateOf(json::parse(R"({"date":1741044600})")), "2025-03-03");
    EXPECT_EQ(dateOf(json::parse(R"({"date":1741044600000})")), "2025-03-03");
    EXPECT_EQ(dateOf(json::parse(R"({"created_at":"1741044600000"})")), "2025-03-03");
    EXPECT_EQ(dateOf(json::parse(R"({"date":"soon","startTime":"2024-06-01T00:00:00Z"})")), "2024-06-01");
    EXPECT_EQ(dateOf(json::parse(R"({"date":1e300})")), std::nullopt);
    EXPECT_EQ(dateOf(json::parse(R"({"when":"2024-06-01"})")), std::nullopt);
}

TEST(JSONExport, FixturesComeOutAsTheirToolsWithTitlesAndDays) {
    struct Expected {
        const char* name;
        Format format;
        const char* title;
        const char* date;
        Turns turns;
    };
    const Expected cases[] = {
        {"fathom.json",
         Format::fathomJSON,
         "Acme renewal call",
         "2025-03-03",
         {{"Jordan Blake", "Thanks for making time. I wanted to talk about seats."},
          {"Lee Chen", "We need about forty more."}}},
        {"fireflies.json",
         Format::firefliesJSON,
         "Vendor security review",
         "2025-03-03",
         {{"Rosa Diaz", "Let's start with the questionnaire."},
          {"Tom Hale", "We answered all sixty items. Two need a follow-up."}}},
        {"circleback.json",
         Format::circlebackJSON,
         "Hiring sync",
         "2025-01-21",
         {{"Kai Moreno", "We have three finalists."}, {"Ana Lopez", "Let's schedule the panels this week."}}},
        {"granola.json",
         Format::granolaJSON,
         "Pricing page feedback",
         "2025-04-09",
         {{"Me", "What did you think of the new tiers?"},
          {"Them", "The middle tier is confusing. It reads like the enterprise plan."}}},
    };
    for (const Expected& expected : cases) {
        auto meetings = parseJSONExport(importFixture(expected.name));
        ASSERT_EQ(meetings.size(), 1u) << expected.name;
        EXPECT_EQ(meetings[0],
                  (ParsedMeeting{expected.turns, expected.title, expected.date, expected.format}))
            << expected.name;
    }
}

TEST(JSONExport, LifelogWalksNestedContentsAndSkipsHeadings) {
    auto meetings = parseJSONExport(importFixture("lifelog.json"));
    ASSERT_EQ(meetings.size(), 1u);
    EXPECT_EQ(meetings[0], (ParsedMeeting{{{"Sam Reyes", "Are we still on for the fourteenth?"},
                                           {"Me", "Yes, marketing is ready. Press embargo lifts at nine."},
                                           {"Sam Reyes", "Nine Pacific?"}},
                                          "Coffee with Sam about the launch",
                                          "2025-02-11",
                                          Format::limitlessLifelog}));
}

TEST(JSONExport, SegmentListsFoundByKeyWithTheirFallbacks) {
    const std::pair<const char*, ParsedMeeting> cases[] = {
        // A lifelog without contents reads its markdown.
        {R"({"lifelogs":[{"markdown":"# Walk\n- Ana (9:00 AM): Nice day."}]})",
         {{{"Ana", "Nice day."}}, "Walk", std::nullopt, Format::limitlessLifelog}},
        {R"({"startTime":"2025-05-05T10:00:00Z","contents":[{"type":"paragraph","content":"Hmm."}]})",
         {{{"Speaker 1", "Hmm."}}, std::nullopt, "2025-05-05", Format::limitlessLifelog}},
        // A later key wins when an earlier one is not a list of objects.
        {R"({"transcript":"plain text","utterances":[{"speaker":"Ana","text":"Hi"}]})",
         {{{"Ana", "Hi"}}, std::nullopt, std::nullopt, std::nullopt}},
        // An empty list is a meeting without turns.
        {R"({"title":"Quiet","transcript":[],"segments":[{"speaker":"Ana","text":"Hi"}]})",
         {{}, "Quiet", std::nullopt, std::nullopt}},
        // Titles come from enclosing objects.
        {R"({"meeting_title":"Outer","data":{"call":{"segments":[{"content":"Hello"},{"raw_text":"again"}]}}})",
         {{{"Speaker 1", "Hello again"}}, "Outer", std::nullopt, std::nullopt}},
    };
    for (const auto& [text, meeting] : cases)
        EXPECT_EQ(parseJSONExport(text), std::vector<ParsedMeeting>{meeting}) << text;
}

TEST(JSONExport, TopLevelListIsEitherMeetingsOrOneMeetingsSegments) {
    auto meetings = parseJSONExport(importFixture("segments.json"));
    ASSERT_EQ(meetings.size(), 1u);
    EXPECT_EQ(meetings[0].turns,
              (Turns{{"A", "Is the demo environment up?"}, {"B", "It is, I reset it this morning."}}));
    auto many = parseJSONExport(
        R"([{"title":"One","turns":[{"speaker":"A","text":"x"}]},{"title":"Two","turns":[{"speaker":"B","text":"y"}]}])");
    ASSERT_EQ(many.size(), 2u);
    EXPECT_EQ(many[1].title, "Two");
    EXPECT_TRUE(parseJSONExport(R"(["just", "strings"])").empty());
    EXPECT_TRUE(parseJSONExport(R"([{"id":1},{"id":2}])").empty());
    EXPECT_TRUE(parseJSONExport("{not json").empty());
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

TEST(CSV, QuotedFieldsDoubledQuotesLineBreaksAndEmptyFields) {
    using Rows = std::vector<std::vector<std::string>>;
    EXPECT_EQ(parseCSV("a,\"b, c\",\"say \"\"hi\"\"\"\r\n\"multi\nline\",,end\n\nlast"),
              (Rows{{"a", "b, c", "say \"hi\""}, {"multi\nline", "", "end"}, {"last"}}));
    EXPECT_EQ(parseCSV("\"\"\n"), (Rows{{""}}));
    EXPECT_EQ(parseCSV("x,\n"), (Rows{{"x", ""}}));
    EXPECT_TRUE(parseCSV("").empty());
}

TEST(CSVExport, FixtureRowsWithTurnsBecomeMeetings) {
    auto meetings = parseCSVExport(importFixture("granola-export.csv"));
    ASSERT_EQ(meetings.size(), 2u);
    EXPECT_EQ(meetings[0],
              (ParsedMeeting{{{"Me", "Did the new checklist help?"},
                              {"Them", "Yes, \"day one\" was much calmer. We still need laptops earlier."}},
                             "Onboarding review",
                             "2025-02-17",
                             Format::granolaCSV}));
    EXPECT_EQ(meetings[1],
              (ParsedMeeting{{{"Me", "Who owns the escalation?"}, {"Dana Kim", "I do, until Friday."}},
                             "Support escalation",
                             "2025-02-19",
                             Format::granolaCSV}));
}

TEST(CSVExport, UnlabelledTranscriptLinesAreSpeakerOne) {
    auto meetings =
        parseCSVExport("Meeting Name,Start,Transcript\nCall,2024-07-01 10:00,\"hello there\nAna: hi\"\n");
    ASSERT_EQ(meetings.size(), 1u);
    EXPECT_EQ(meetings[0],
              (ParsedMeeting{
                  {{"Speaker 1", "hello there"}, {"Ana", "hi"}}, "Call", "2024-07-01", Format::granolaCSV}));
}

} // namespace
} // namespace zelmor
