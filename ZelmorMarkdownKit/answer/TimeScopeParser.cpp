// Matching runs on the UTF-16 form of the question because ranges, overlaps and removals are
// counted in UTF-16 units; every date is worked out with a copy of the caller's ICU calendar.
#include "ZelmorMarkdownKit/answer/TimeScopeParser.h"

#include <unicode/locid.h>
#include <unicode/regex.h>
#include <unicode/smpdtfmt.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>

namespace zelmor::TimeScopeParser {

namespace {

constexpr const char* monthAlt =
    "january|february|march|april|may|june|july|august|september|october|november|december";
constexpr const char* months[] = {"january", "february", "march",     "april",   "may",      "june",
                                  "july",    "august",   "september", "october", "november", "december"};
constexpr std::pair<const char*, int> spelled[] = {{"two", 2},   {"three", 3}, {"four", 4},
                                                   {"five", 5},  {"six", 6},   {"seven", 7},
                                                   {"eight", 8}, {"nine", 9},  {"ten", 10}};
constexpr std::pair<const char*, int> horizonSpelled[] = {
    {"one", 1},   {"two", 2},   {"three", 3}, {"four", 4}, {"five", 5},    {"six", 6},
    {"seven", 7}, {"eight", 8}, {"nine", 9},  {"ten", 10}, {"eleven", 11}, {"twelve", 12}};

using UDateOpt = std::optional<UDate>;

// ---- calendar arithmetic -------------------------------------------------------------------

std::unique_ptr<icu::Calendar> calendarAt(const icu::Calendar& calendar, UDate instant) {
    std::unique_ptr<icu::Calendar> copy(calendar.clone());
    UErrorCode status = U_ZERO_ERROR;
    copy->setTime(instant, status);
    return copy;
}

UDateOpt timeOf(icu::Calendar& calendar) {
    UErrorCode status = U_ZERO_ERROR;
    UDate result = calendar.getTime(status);
    if (U_FAILURE(status)) return std::nullopt;
    return result;
}

UDateOpt startOfDay(const icu::Calendar& calendar, UDate instant) {
    auto day = calendarAt(calendar, instant);
    for (auto field : {UCAL_HOUR_OF_DAY, UCAL_MINUTE, UCAL_SECOND, UCAL_MILLISECOND}) day->set(field, 0);
    return timeOf(*day);
}

UDateOpt adding(const icu::Calendar& calendar, UDateOpt instant, UCalendarDateFields field, int amount) {
    if (!instant) return std::nullopt;
    auto day = calendarAt(calendar, *instant);
    UErrorCode status = U_ZERO_ERROR;
    day->add(field, amount, status);
    if (U_FAILURE(status)) return std::nullopt;
    return timeOf(*day);
}

enum class Period { week, month, year };

/// The first day of the week, month or year that holds the day.
UDateOpt periodStart(const icu::Calendar& calendar, UDate day, Period period) {
    auto start = calendarAt(calendar, day);
    UErrorCode status = U_ZERO_ERROR;
    switch (period) {
    case Period::week: {
        int back = (start->get(UCAL_DAY_OF_WEEK, status) - start->getFirstDayOfWeek() + 7) % 7;
        start->add(UCAL_DATE, -back, status);
        break;
    }
    case Period::month:
        start->set(UCAL_DATE, 1);
        break;
    case Period::year:
        start->set(UCAL_DAY_OF_YEAR, 1);
        break;
    }
    if (U_FAILURE(status)) return std::nullopt;
    return timeOf(*start);
}

UCalendarDateFields fieldOf(Period period) {
    switch (period) {
    case Period::week:
        return UCAL_WEEK_OF_YEAR;
    case Period::month:
        return UCAL_MONTH;
    case Period::year:
        return UCAL_YEAR;
    }
    return UCAL_MONTH;
}

/// The last day of the period that starts on `start`.
UDateOpt periodLastDay(const icu::Calendar& calendar, UDate start, Period period) {
    return adding(calendar, adding(calendar, start, fieldOf(period), 1), UCAL_DATE, -1);
}

/// Whole calendar days from the start of today to the start of the day.
std::optional<int> daysAhead(const icu::Calendar& calendar, UDate today, UDateOpt day) {
    if (!day) return std::nullopt;
    UDateOpt target = startOfDay(calendar, *day);
    if (!target) return std::nullopt;
    auto from = calendarAt(calendar, today);
    UErrorCode status = U_ZERO_ERROR;
    int days = from->fieldDifference(*target, UCAL_DATE, status);
    if (U_FAILURE(status)) return std::nullopt;
    return days;
}

std::string formatDay(UDate day, const icu::Calendar& calendar) {
    UErrorCode status = U_ZERO_ERROR;
    icu::SimpleDateFormat formatter(icu::UnicodeString(u"yyyy-MM-dd"), icu::Locale("en_US_POSIX"), status);
    if (U_FAILURE(status)) return {};
    formatter.setCalendar(calendar);
    icu::UnicodeString text;
    formatter.format(day, text);
    std::string result;
    return text.toUTF8String(result);
}

// ---- patterns ------------------------------------------------------------------------------

/// What a matched phrase means; it yields nothing when its date cannot be formed.
using ScopeRule =
    std::function<std::optional<AnswerScope>(const icu::RegexMatcher&, UDate today, const icu::Calendar&)>;
using HorizonRule =
    std::function<std::optional<int>(const icu::RegexMatcher&, UDate today, const icu::Calendar&)>;

std::unique_ptr<icu::RegexPattern> compiled(const std::string& pattern) {
    UErrorCode status = U_ZERO_ERROR;
    UParseError where;
    std::unique_ptr<icu::RegexPattern> result(icu::RegexPattern::compile(
        icu::UnicodeString::fromUTF8(pattern), UREGEX_CASE_INSENSITIVE, where, status));
    if (U_FAILURE(status)) {
        std::fprintf(stderr, "zelmor: time phrase pattern does not compile: %s\n", pattern.c_str());
        std::abort();
    }
    return result;
}

std::string group(const icu::RegexMatcher& matcher, int number) {
    UErrorCode status = U_ZERO_ERROR;
    if (matcher.start(number, status) < 0 || U_FAILURE(status)) return {};
    icu::UnicodeString text = matcher.group(number, status);
    text.foldCase();
    std::string result;
    return text.toUTF8String(result);
}

template <size_t N>
std::optional<int> number(const std::string& text, const std::pair<const char*, int> (&words)[N]) {
    if (!text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; }))
        return std::stoi(text);
    for (const auto& [word, value] : words)
        if (text == word) return value;
    return std::nullopt;
}

AnswerScope dates(std::optional<std::string> from, std::optional<std::string> to) {
    AnswerScope scope;
    scope.dateFrom = std::move(from);
    scope.dateTo = std::move(to);
    return scope;
}

/// Day 1 of the named month: the year written after it, or the latest such month up to now.
UDateOpt monthStart(const icu::RegexMatcher& matcher, UDate today, const icu::Calendar& calendar) {
    std::string name = group(matcher, 1);
    auto found = std::find(std::begin(months), std::end(months), name);
    if (found == std::end(months)) return std::nullopt;
    int month = static_cast<int>(found - std::begin(months));
    auto day = calendarAt(calendar, today);
    UErrorCode status = U_ZERO_ERROR;
    int year = day->get(UCAL_EXTENDED_YEAR, status);
    std::string written = group(matcher, 2);
    if (!written.empty())
        year = std::stoi(written);
    else if (month > day->get(UCAL_MONTH, status))
        year -= 1;
    if (U_FAILURE(status)) return std::nullopt;
    day->clear();
    day->set(UCAL_EXTENDED_YEAR, year);
    day->set(UCAL_MONTH, month);
    day->set(UCAL_DATE, 1);
    return timeOf(*day);
}

Period periodNamed(const std::string& unit) {
    if (unit.rfind("week", 0) == 0) return Period::week;
    if (unit.rfind("month", 0) == 0) return Period::month;
    return Period::year;
}

struct Patterns {
    std::vector<std::pair<std::unique_ptr<icu::RegexPattern>, HorizonRule>> horizon;
    std::vector<std::pair<std::unique_ptr<icu::RegexPattern>, ScopeRule>> scope;
};

const Patterns& patterns() {
    static const Patterns built = [] {
        Patterns p;
        auto day = [](const icu::Calendar& calendar, UDateOpt instant) -> std::optional<std::string> {
            if (!instant) return std::nullopt;
            return formatDay(*instant, calendar);
        };
        auto addHorizon = [&](const std::string& pattern, HorizonRule rule) {
            p.horizon.emplace_back(compiled(pattern), std::move(rule));
        };
        auto addScope = [&](const std::string& pattern, ScopeRule rule) {
            p.scope.emplace_back(compiled(pattern), std::move(rule));
        };

        addHorizon(
            R"re(\b(?:(?:over|in|for|during|within)\s+)?(?:the\s+)?next\s+(\d{1,3}|one|two|three|four|five|six|seven|eight|nine|ten|eleven|twelve)\s+(days?|weeks?|months?)(?:['’]s)?\b)re",
            [](const icu::RegexMatcher& m, UDate today, const icu::Calendar& calendar) -> std::optional<int> {
                auto n = number(group(m, 1), horizonSpelled);
                if (!n) return std::nullopt;
                std::string unit = group(m, 2);
                if (unit.rfind("day", 0) == 0) return *n;
                if (unit.rfind("week", 0) == 0) return 7 * *n;
                return daysAhead(calendar, today, adding(calendar, today, UCAL_MONTH, *n));
            });
        addHorizon(
            R"re(\b(?:(?:over|in|for|during|within)\s+)?(?:the\s+)?(?:next|coming|upcoming|this\s+coming)\s+(week|month)(?:['’]s)?\b)re",
            [](const icu::RegexMatcher& m, UDate today, const icu::Calendar& calendar) -> std::optional<int> {
                if (group(m, 1) == "week") return 7;
                return daysAhead(calendar, today, adding(calendar, today, UCAL_MONTH, 1));
            });
        addHorizon(
            R"re(\b(?:by|before|until|till)\s+(?:the\s+)?end\s+of\s+(?:the\s+|this\s+)?(week|month)(?:['’]s)?\b)re",
            [](const icu::RegexMatcher& m, UDate today, const icu::Calendar& calendar) -> std::optional<int> {
                Period period = periodNamed(group(m, 1));
                UDateOpt start = periodStart(calendar, today, period);
                if (!start) return std::nullopt;
                return daysAhead(calendar, today, periodLastDay(calendar, *start, period));
            });
        addHorizon(
            R"re(\b(?:by\s+)?tomorrow(?:['’]s)?\b)re",
            [](const icu::RegexMatcher&, UDate, const icu::Calendar&) -> std::optional<int> { return 1; });

        addScope(
            R"re(\b(?:the\s+)?(?:last|past)\s+(\d{1,3}|two|three|four|five|six|seven|eight|nine|ten)\s+meetings?(?:['’]s)?\b)re",
            [](const icu::RegexMatcher& m, UDate, const icu::Calendar&) -> std::optional<AnswerScope> {
                auto n = number(group(m, 1), spelled);
                if (!n) return std::nullopt;
                AnswerScope scope;
                scope.lastN = *n;
                return scope;
            });
        addScope(R"re(\b(?:the\s+)?last\s+meeting(?:['’]s)?\b)re",
                 [](const icu::RegexMatcher&, UDate, const icu::Calendar&) -> std::optional<AnswerScope> {
                     AnswerScope scope;
                     scope.lastN = 1;
                     return scope;
                 });
        addScope(
            R"re(\b(?:last|past)\s+(\d{1,3}|two|three|four|five|six|seven|eight|nine|ten)\s+(days?|weeks?|months?)(?:['’]s)?\b)re",
            [day](const icu::RegexMatcher& m, UDate today,
                  const icu::Calendar& calendar) -> std::optional<AnswerScope> {
                auto n = number(group(m, 1), spelled);
                if (!n) return std::nullopt;
                std::string unit = group(m, 2);
                UDateOpt from;
                if (unit.rfind("day", 0) == 0)
                    from = adding(calendar, today, UCAL_DATE, -(*n - 1));
                else if (unit.rfind("week", 0) == 0)
                    from = adding(calendar, today, UCAL_DATE, -(7 * *n - 1));
                else
                    from = adding(calendar, adding(calendar, today, UCAL_MONTH, -*n), UCAL_DATE, 1);
                if (!from) return std::nullopt;
                return dates(day(calendar, from), day(calendar, today));
            });
        addScope(R"re(\b(this|last|past)\s+(week|month|year)(?:['’]s)?\b)re",
                 [day](const icu::RegexMatcher& m, UDate today,
                       const icu::Calendar& calendar) -> std::optional<AnswerScope> {
                     Period period = periodNamed(group(m, 2));
                     UDateOpt start = periodStart(calendar, today, period);
                     if (start && group(m, 1) != "this") {
                         UDateOpt dayBefore = adding(calendar, start, UCAL_DATE, -1);
                         start = dayBefore ? periodStart(calendar, *dayBefore, period) : std::nullopt;
                     }
                     if (!start) return std::nullopt;
                     UDateOpt last = periodLastDay(calendar, *start, period);
                     if (!last) return std::nullopt;
                     return dates(day(calendar, start), day(calendar, last));
                 });
        addScope(R"re(\byesterday(?:['’]s)?\b)re",
                 [day](const icu::RegexMatcher&, UDate today,
                       const icu::Calendar& calendar) -> std::optional<AnswerScope> {
                     UDateOpt yesterday = adding(calendar, today, UCAL_DATE, -1);
                     if (!yesterday) return std::nullopt;
                     return dates(day(calendar, yesterday), day(calendar, yesterday));
                 });
        addScope(R"re(\btoday(?:['’]s)?\b)re",
                 [day](const icu::RegexMatcher&, UDate today,
                       const icu::Calendar& calendar) -> std::optional<AnswerScope> {
                     return dates(day(calendar, today), day(calendar, today));
                 });
        addScope(R"re(\bsince\s+(\d{4}-\d{2}-\d{2})\b)re",
                 [](const icu::RegexMatcher& m, UDate, const icu::Calendar&) -> std::optional<AnswerScope> {
                     UErrorCode status = U_ZERO_ERROR;
                     std::string written;
                     m.group(1, status).toUTF8String(written);
                     return dates(written, std::nullopt);
                 });
        addScope(std::string(R"re(\bsince\s+()re") + monthAlt + R"re()(?:\s+(\d{4}))?\b)re",
                 [day](const icu::RegexMatcher& m, UDate today,
                       const icu::Calendar& calendar) -> std::optional<AnswerScope> {
                     UDateOpt start = monthStart(m, today, calendar);
                     if (!start) return std::nullopt;
                     return dates(day(calendar, start), std::nullopt);
                 });
        addScope(std::string(R"re(\bin\s+()re") + monthAlt + R"re()(?:\s+(\d{4}))?\b)re",
                 [day](const icu::RegexMatcher& m, UDate today,
                       const icu::Calendar& calendar) -> std::optional<AnswerScope> {
                     UDateOpt start = monthStart(m, today, calendar);
                     if (!start) return std::nullopt;
                     UDateOpt last = periodLastDay(calendar, *start, Period::month);
                     if (!last) return std::nullopt;
                     return dates(day(calendar, start), day(calendar, last));
                 });
        return p;
    }();
    return built;
}

// ---- the question ----------------------------------------------------------------------------

struct Range {
    int32_t start;
    int32_t end;
    bool overlaps(const Range& other) const { return start < other.end && other.start < end; }
};

/// Quotations, from an opening double quote to its closing one inclusive; typographic quotes
/// count as plain ones (each is one UTF-16 unit, so positions do not move).
std::vector<Range> quotedRanges(const icu::UnicodeString& question) {
    std::vector<Range> ranges;
    int32_t open = -1; // where the quotation being read began
    for (int32_t at = 0; at < question.length(); ++at) {
        char16_t unit = question.charAt(at);
        if (unit != u'"' && unit != u'\u201C' && unit != u'\u201D' && unit != u'\u201E') continue;
        if (open >= 0) {
            ranges.push_back({open, at + 1});
            open = -1;
        } else {
            open = at;
        }
    }
    return ranges;
}

/// Runs one pattern over the whole question, calling `record` for each match that overlaps
/// nothing taken so far (quotations and the phrases of earlier patterns and matches).
void eachFreeMatch(const icu::RegexPattern& pattern, const icu::UnicodeString& question,
                   const std::vector<Range>& taken,
                   const std::function<void(const icu::RegexMatcher&, Range)>& record) {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::RegexMatcher> matcher(pattern.matcher(question, status));
    if (U_FAILURE(status)) return;
    while (matcher->find(status) && U_SUCCESS(status)) {
        Range range{matcher->start(status), matcher->end(status)};
        bool free = std::none_of(taken.begin(), taken.end(),
                                 [&](const Range& other) { return range.overlaps(other); });
        if (free) record(*matcher, range);
    }
}

/// The words on single spaces, trimmed, with no space left before punctuation.
std::string tidied(const icu::UnicodeString& text) {
    icu::UnicodeString joined;
    bool pendingSpace = false;
    for (int32_t at = 0; at < text.length();) {
        UChar32 c = text.char32At(at);
        at += U16_LENGTH(c);
        if (u_isUWhiteSpace(c)) {
            pendingSpace = !joined.isEmpty();
            continue;
        }
        if (pendingSpace) joined.append(u' ');
        pendingSpace = false;
        joined.append(c);
    }
    static const std::unique_ptr<icu::RegexPattern> spaceBeforePunctuation = compiled(R"re(\s+([?!.,;:]))re");
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::RegexMatcher> matcher(spaceBeforePunctuation->matcher(joined, status));
    icu::UnicodeString result = U_SUCCESS(status) ? matcher->replaceAll(u"$1", status) : joined;
    std::string out;
    return result.toUTF8String(out);
}

} // namespace

std::string dateString(std::chrono::system_clock::time_point date, const icu::Calendar& calendar) {
    auto millis = std::chrono::duration_cast<std::chrono::milliseconds>(date.time_since_epoch()).count();
    return formatDay(static_cast<UDate>(millis), calendar);
}

Parse parse(std::string_view question, std::chrono::system_clock::time_point now,
            const icu::Calendar& calendar) {
    icu::UnicodeString text = icu::UnicodeString::fromUTF8(
        icu::StringPiece(question.data(), static_cast<int32_t>(question.size())));
    auto millis = std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count();
    UDate today = startOfDay(calendar, static_cast<UDate>(millis)).value_or(static_cast<UDate>(millis));

    std::vector<Range> taken = quotedRanges(text);
    const size_t quoted = taken.size();
    Parse result;
    result.scope = AnswerScope::all();
    auto phrase = [&](Range range) {
        std::string written;
        text.tempSubStringBetween(range.start, range.end).toUTF8String(written);
        result.matchedPhrases.push_back(std::move(written));
        taken.push_back(range);
    };
    // Lambdas take the rule by an init-capture: clang before 16 cannot capture a structured binding.
    for (const auto& [pattern, horizonRule] : patterns().horizon) {
        eachFreeMatch(*pattern, text, taken,
                      [&, &rule = horizonRule](const icu::RegexMatcher& m, Range range) {
                          std::optional<int> days = rule(m, today, calendar);
                          if (!days) return;
                          if (!result.horizonDays) result.horizonDays = days;
                          phrase(range);
                      });
    }
    for (const auto& [pattern, scopeRule] : patterns().scope) {
        eachFreeMatch(*pattern, text, taken, [&, &rule = scopeRule](const icu::RegexMatcher& m, Range range) {
            std::optional<AnswerScope> scope = rule(m, today, calendar);
            if (!scope) return;
            result.scope = result.scope.merging(*scope);
            phrase(range);
        });
    }

    std::vector<Range> removed(taken.begin() + static_cast<std::ptrdiff_t>(quoted), taken.end());
    std::sort(removed.begin(), removed.end(),
              [](const Range& a, const Range& b) { return a.start > b.start; });
    for (const Range& range : removed) text.remove(range.start, range.end - range.start);
    result.strippedQuestion = tidied(text);
    return result;
}

} // namespace zelmor::TimeScopeParser
