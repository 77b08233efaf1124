// Per-day counts of the agent's tool calls, kept in "agent-activity.json" in the app's support
// folder for the desktop app to read. Every record is a read-modify-write of the whole file.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <string_view>

#include <unicode/calendar.h>

namespace zelmor::AgentActivityLog {

using Instant = std::chrono::system_clock::time_point;

inline constexpr std::string_view fileName = "agent-activity.json";
/// Days older than this many calendar days before today are dropped at each write.
inline constexpr int keepDays = 60;

/// Day key ("2025-03-14") -> tool name -> number of calls.
using CountTable = std::map<std::string, std::map<std::string, long long>>;

/// The support folder + "agent-activity.json".
std::string fileURL(const std::string& supportDirectory);

/// "%04d-%02d-%02d" of the calendar's year, month and day at the instant, in its time zone,
/// so days turn at local midnight. Empty when the calendar cannot compute it.
std::string dayKey(Instant instant, const icu::Calendar& calendar);

/// A copy with one more call of the tool on that day.
CountTable bumped(CountTable table, const std::string& tool, const std::string& dayKey);

/// A copy without the days before now minus `keepDays` calendar days; that cutoff day itself
/// stays. Unchanged when the calendar cannot compute the cutoff.
CountTable pruned(const CountTable& table, Instant now, const icu::Calendar& calendar);

/// The table in a text of exactly the file's shape (object of objects of integers); empty otherwise.
CountTable decoded(std::string_view text);

/// The file's table; empty when it is missing, unreadable or not of the file's shape.
CountTable load(const std::string& path);

/// Counts one call of the tool on today's key in the file at `path`, dropping days past
/// `keepDays`. The support folder is never created and no failure reaches the caller.
void recordCall(const std::string& tool, const std::string& path, Instant now, const icu::Calendar& calendar);

/// The same with the user's current calendar and time zone.
void recordCall(const std::string& tool, const std::string& path, Instant now);

/// Calls over the last `lastDays` days including today (1 is today only); 0 when `lastDays` < 1.
long long totalCalls(const CountTable& table, int lastDays, Instant now, const icu::Calendar& calendar);

/// The same, counting only the tools whose name satisfies `includes`.
long long totalCalls(const CountTable& table, int lastDays, Instant now, const icu::Calendar& calendar,
                     const std::function<bool(const std::string&)>& includes);

} // namespace zelmor::AgentActivityLog
