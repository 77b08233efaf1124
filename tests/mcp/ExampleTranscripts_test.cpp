// The example folder shipped with the sources scans to exactly its eight meetings.
#include "ZelmorMCP/MeetingStore.h"

#include <gtest/gtest.h>

namespace zelmor {
namespace {

const std::string folder = std::string(ZELMOR_SOURCE_DIR) + "/examples/transcripts";

TEST(ExampleTranscripts, ScanListsEveryMeetingNewestFirstAndNothingElse) {
    auto meetings = MeetingStore{folder}.scan();
    std::vector<std::string> rows;
    for (const auto& meeting : meetings)
        rows.push_back(meeting.path.substr(folder.size() + 1) + " | " + meeting.doc.title);
    EXPECT_EQ(
        rows,
        (std::vector<std::string>{
            "2026-11-10-ana-wenna-1-1.md | Ana / Wenna 1:1",
            "2026/11/2026-11-03-hiring-loop-backend-engineer-sync.md | Hiring loop sync: backend engineer",
            "2026-10-20-q1-planning.md | Q1 planning",
            "2026-10-13-pricing-decision-team-tier.md | Pricing decision: Team tier",
            "2026-10-06-customer-call-northwind-logistics.md | Customer call: Northwind Logistics",
            "2026-09-22-ana-wenna-1-1.md | Ana / Wenna 1:1",
            "2026-09-15-hiring-loop-debrief-senior-designer.md | Hiring loop debrief: senior product "
            "designer",
            "2026-09-08-pricing-review-kickoff.md | Pricing review kickoff",
        }));
}

TEST(ExampleTranscripts, MachineSectionsAndNotesReadBack) {
    auto meetings = MeetingStore{folder}.scan();
    ASSERT_EQ(meetings.size(), 8u);
    const TranscriptDocument& call = meetings[4].doc;
    EXPECT_FALSE(call.hasUserNotes());
    EXPECT_EQ(call.turns.size(), 15u);
    EXPECT_EQ(call.turns.back().text,
              "Great. We'll come back to you with a pricing answer before the end of October.");
    EXPECT_EQ(call.summary.substr(0, 10), "Northwind ") << "the provenance comment is stripped";
    EXPECT_EQ(call.keyMoments, "- Seat objection: forty dispatchers, twelve readers\n"
                               "- Risk: drop to twelve seats at the November budget round");
    EXPECT_TRUE(meetings[7].doc.hasUserNotes());
    EXPECT_EQ(meetings[2].doc.startedAt, "");
    EXPECT_TRUE(meetings[0].doc.summary.empty());
}

TEST(ExampleTranscripts, ParticipantsRecurAcrossMeetings) {
    using Row = MeetingStore::ParticipantSummary;
    EXPECT_EQ(MeetingStore{folder}.participants(),
              (std::vector<Row>{
                  {"Ana Ruiz", 8, "2026-11-10", "Ana / Wenna 1:1", false},
                  {"Priya", 5, "2026-11-03", "Hiring loop sync: backend engineer", false},
                  {"Tomás Halden", 5, "2026-11-03", "Hiring loop sync: backend engineer", false},
                  {"Wenna Okafor", 5, "2026-11-10", "Ana / Wenna 1:1", false},
                  {"Speaker 2", 3, "2026-10-20", "Q1 planning", true},
              }));
}

} // namespace
} // namespace zelmor
