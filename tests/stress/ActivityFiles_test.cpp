// The activity files when two server processes write them at once, and when the support folder
// may not be written at all: the files stay whole, bounded and free of leftovers.
#include "ZelmorMarkdownKit/activity/AgentActivityFeed.h"
#include "ZelmorMarkdownKit/activity/AgentActivityLog.h"
#include "tests/kit/ActivityTestSupport.h"
#include "tests/support/Subprocess.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zelmor {
namespace {

using AgentActivityFeed::Entry;
using test::utc;

const auto now = utc(2025, 3, 14, 11, 5, 9);

/// What one server process does per tool call: count it, then add it to the feed.
void recordCalls(const std::string& support, const std::string& tool, int calls) {
    auto calendar = test::gregorianIn("Europe/Berlin");
    for (int i = 0; i < calls; ++i) {
        AgentActivityLog::recordCall(tool, AgentActivityLog::fileURL(support), now, *calendar);
        AgentActivityFeed::append(Entry{now, tool, "call " + std::to_string(i), {}, false, {}}, support, now,
                                  *calendar);
    }
}

TEST(ActivityFilesStress, TwoProcessesRecordingAThousandCallsEachLeaveWholeFiles) {
    test::TempFolder support;
    pid_t writers[2];
    const char* tools[2] = {"search_meetings", "read_meeting"};
    for (int k = 0; k < 2; ++k) {
        writers[k] = ::fork();
        ASSERT_GE(writers[k], 0);
        if (writers[k] == 0) {
            recordCalls(support.path(), tools[k], 1000);
            ::_exit(0);
        }
    }
    for (pid_t writer : writers) {
        int status = 0;
        ASSERT_EQ(::waitpid(writer, &status, 0), writer);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }

    EXPECT_EQ(test::fileNames(support.path()),
              (std::vector<std::string>{"agent-activity-log.jsonl", "agent-activity.json"}));
    // Every line of the feed decodes, and the feed is full but no fuller.
    std::string feed = test::readFile(AgentActivityFeed::fileURL(support.path()));
    auto entries = AgentActivityFeed::entries(feed);
    EXPECT_EQ(entries.size(), size_t(std::count(feed.begin(), feed.end(), '\n')));
    EXPECT_EQ(entries.size(), 300u);
    // Updates may be lost between the processes, never the table's shape.
    auto table = AgentActivityLog::load(AgentActivityLog::fileURL(support.path()));
    ASSERT_EQ(table.size(), 1u);
    long long total = 0;
    for (const auto& [tool, count] : table.begin()->second) {
        EXPECT_TRUE(tool == tools[0] || tool == tools[1]) << tool;
        total += count;
    }
    EXPECT_GE(total, 1000);
    EXPECT_LE(total, 2000);
}

} // namespace
} // namespace zelmor
