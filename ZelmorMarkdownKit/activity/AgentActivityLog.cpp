// The count table on disk is one compact JSON object; a file of any other shape is replaced.
#include "ZelmorMarkdownKit/activity/AgentActivityLog.h"

#include "ZelmorMarkdownKit/text/CalendarDays.h"
#include "ZelmorMarkdownKit/text/FileLimits.h"
#include "ZelmorMarkdownKit/text/JSONWriter.h"
#include "platform/FileSystem.h"

#include <limits>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

namespace zelmor::AgentActivityLog {

namespace {

constexpr long long maxCount = std::numeric_limits<long long>::max();

/// Counts come from a file anyone can edit; saturate rather than overflow.
long long saturatingAdd(long long a, long long b) {
    if (b > 0 && a > maxCount - b) return maxCount;
    if (b < 0 && a < std::numeric_limits<long long>::min() - b) return std::numeric_limits<long long>::min();
    return a + b;
}

std::optional<long long> integerValue(const nlohmann::json& value) {
    if (value.is_number_unsigned()) {
        auto number = value.get<std::uint64_t>();
        if (number > static_cast<std::uint64_t>(maxCount)) return std::nullopt;
        return static_cast<long long>(number);
    }
    if (value.is_number_integer()) return value.get<std::int64_t>();
    return std::nullopt;
}

} // namespace

std::string fileURL(const std::string& supportDirectory) {
    if (!supportDirectory.empty() && supportDirectory.back() == '/')
        return supportDirectory + std::string(fileName);
    return supportDirectory + "/" + std::string(fileName);
}

std::string dayKey(Instant instant, const icu::Calendar& calendar) {
    return CalendarDays::dayKey(instant, calendar).value_or("");
}

CountTable bumped(CountTable table, const std::string& tool, const std::string& dayKey) {
    long long& count = table[dayKey][tool];
    count = saturatingAdd(count, 1);
    return table;
}

CountTable pruned(const CountTable& table, Instant now, const icu::Calendar& calendar) {
    std::optional<Instant> cutoff = CalendarDays::adding(-keepDays, now, calendar);
    if (!cutoff) return table;
    std::optional<std::string> cutoffKey = CalendarDays::dayKey(*cutoff, calendar);
    if (!cutoffKey) return table;
    // Keys are fixed-width dates, so string order is date order.
    return CountTable(table.lower_bound(*cutoffKey), table.end());
}

CountTable decoded(std::string_view text) {
    nlohmann::json root = nlohmann::json::parse(text.begin(), text.end(), nullptr, false);
    if (root.is_discarded() || !root.is_object()) return {};
    CountTable table;
    for (const auto& [day, tools] : root.items()) {
        if (!tools.is_object()) return {};
        std::map<std::string, long long>& counts = table[day];
        for (const auto& [tool, count] : tools.items()) {
            std::optional<long long> number = integerValue(count);
            if (!number) return {};
            counts[tool] = *number;
        }
    }
    return table;
}

CountTable load(const std::string& path) {
    std::optional<std::string> text = platform::readFile(path, FileLimits::activityBytes);
    return text ? decoded(*text) : CountTable{};
}

void recordCall(const std::string& tool, const std::string& path, Instant now,
                const icu::Calendar& calendar) {
    std::string key = dayKey(now, calendar);
    if (key.empty()) return;
    CountTable table = pruned(bumped(load(path), tool, key), now, calendar);
    nlohmann::json encoded = nlohmann::json::object();
    for (const auto& [day, counts] : table) encoded[day] = counts;
    if (std::optional<std::string> text = JSONWriter::compact(encoded))
        platform::writeFileAtomically(path, *text);
}

void recordCall(const std::string& tool, const std::string& path, Instant now) {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Calendar> calendar(icu::Calendar::createInstance(status));
    if (U_FAILURE(status) || !calendar) return;
    recordCall(tool, path, now, *calendar);
}

long long totalCalls(const CountTable& table, int lastDays, Instant now, const icu::Calendar& calendar) {
    return totalCalls(table, lastDays, now, calendar, [](const std::string&) { return true; });
}

long long totalCalls(const CountTable& table, int lastDays, Instant now, const icu::Calendar& calendar,
                     const std::function<bool(const std::string&)>& includes) {
    if (lastDays < 1) return 0;
    std::optional<Instant> start = CalendarDays::adding(1 - lastDays, now, calendar);
    if (!start) return 0;
    std::optional<std::string> low = CalendarDays::dayKey(*start, calendar);
    std::optional<std::string> high = CalendarDays::dayKey(now, calendar);
    if (!low || !high) return 0;
    long long total = 0;
    for (auto day = table.lower_bound(*low); day != table.end() && day->first <= *high; ++day) {
        for (const auto& [tool, count] : day->second) {
            if (includes(tool)) total = saturatingAdd(total, count);
        }
    }
    return total;
}

} // namespace zelmor::AgentActivityLog
