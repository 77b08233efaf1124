// The generator draws from its own 64-bit generator (not <random>'s distributions, whose
// results differ between standard libraries) so that the corpus is identical everywhere.
#include "bench/corpus/CorpusGenerator.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <vector>

namespace zelmor::bench {

namespace {

class Random {
public:
    explicit Random(std::uint64_t seed) : state_(seed * 0x9E3779B97F4A7C15ULL + 1) {}
    std::uint64_t next() { // splitmix64
        std::uint64_t z = (state_ += 0x9E3779B97F4A7C15ULL);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
        return z ^ (z >> 31);
    }
    size_t below(size_t n) { return static_cast<size_t>(next() % n); }
    double unit() { return static_cast<double>(next() >> 11) / 9007199254740992.0; }
    template <typename T, size_t N> const T& pick(const std::array<T, N>& items) { return items[below(N)]; }

private:
    std::uint64_t state_;
};

constexpr std::array<std::string_view, 24> people = {
    "Ana Ruiz",     "Wenna Okafor", "Priya Natarajan", "Marcus Lee", "Jonas Berg",
    "Lena Fischer", "David Chen",   "Sara Haddad",     "Owen Price", "Mei Tanaka",
    "Carlos Vega",  "Ruth Adler",   "Tomás Halden",    "Zoë Martin", "José Alvarez",
    "Renée Dubois", "Søren Holm",   "Björn Sjöberg",   "Speaker 2",  "Speaker 3",
    "Me",           "Ifeoma Nwosu", "Hannah Weiss",    "Yusuf Demir"};
constexpr size_t firstAccented = 12, firstGeneric = 18;

constexpr std::array<std::string_view, 12> topics = {"Weekly sync",     "Pricing review",   "Hiring loop",
                                                     "Customer call",   "Roadmap planning", "1:1",
                                                     "Design critique", "Incident review",  "Sales pipeline",
                                                     "Onboarding",      "Budget check-in",  "Launch prep"};

constexpr std::array<std::string_view, 120> vocabulary = {
    "we",        "should",        "the",         "team",       "think",    "about",      "release",
    "next",      "week",          "plan",        "numbers",    "looks",    "good",       "but",
    "need",      "more",          "data",        "from",       "support",  "tickets",    "and",
    "churn",     "dashboard",     "shipping",    "feature",    "flag",     "rollout",    "to",
    "ten",       "percent",       "first",       "then",       "everyone", "else",       "budget",
    "approved",  "for",           "quarter",     "hire",       "two",      "engineers",  "backend",
    "frontend",  "design",        "review",      "tomorrow",   "morning",  "can",        "you",
    "send",      "notes",         "after",       "call",       "yes",      "agreed",     "decision",
    "is",        "move",          "forward",     "with",       "annual",   "plan",       "discount",
    "trial",     "conversion",    "onboarding",  "emails",     "metrics",  "improved",   "since",
    "launch",    "blocker",       "legal",       "contract",   "signed",   "last",       "friday",
    "pipeline",  "deals",         "closing",     "this",       "month",    "enterprise", "tier",
    "security",  "questionnaire", "integration", "partner",    "api",      "latency",    "dropped",
    "migration", "database",      "schedule",    "follow",     "up",       "action",     "item",
    "owner",     "deadline",      "risk",        "scope",      "estimate", "sprint",     "retro",
    "feedback",  "survey",        "interview",   "candidate",  "offer",    "salary",     "benefits",
    "office",    "remote",        "travel",      "conference", "talk",     "slides",     "demo",
    "prototype"};

std::string twoDigits(int n) {
    char buffer[8];
    std::snprintf(buffer, sizeof buffer, "%02d", n);
    return buffer;
}

std::string sentence(Random& random, double nonASCIIShare, int& wordsLeft) {
    size_t length = 6 + random.below(14);
    std::string text;
    bool fancy = random.unit() < nonASCIIShare;
    for (size_t i = 0; i < length && wordsLeft > 0; ++i, --wordsLeft) {
        if (!text.empty()) text += ' ';
        double roll = random.unit();
        if (roll < 0.012)
            text += "customer";
        else if (roll < 0.014)
            text += "pricing page";
        else
            text += random.pick(vocabulary);
    }
    if (fancy) {
        std::string_view name = people[firstAccented + random.below(firstGeneric - firstAccented)];
        text = "“" + text + "” — as " + std::string(name.substr(0, name.find(' '))) + "’s note says";
    }
    if (!text.empty()) text[0] = static_cast<char>(text[0] >= 'a' && text[0] <= 'z' ? text[0] - 32 : text[0]);
    return text + (random.below(5) == 0 ? "?" : ".");
}

std::string meeting(Random& random, const CorpusOptions& options, int index, int year, int month, int day,
                    std::string& title) {
    title = std::string(random.pick(topics));
    size_t count = 2 + random.below(4);
    std::vector<std::string_view> who;
    who.push_back("Me");
    while (who.size() < count) {
        std::string_view person = people[random.below(people.size())];
        if (std::find(who.begin(), who.end(), person) == who.end()) who.push_back(person);
    }
    int words = options.minWords +
                static_cast<int>(random.below(static_cast<size_t>(options.maxWords - options.minWords + 1)));
    bool rare = random.below(100) == 0;

    std::string date = std::to_string(year) + "-" + twoDigits(month) + "-" + twoDigits(day);
    std::string text = "---\ntitle: " + title + "\ndate: " + date + "\n";
    if (random.below(10) != 0)
        text += "started_at: " + date + "T" + twoDigits(8 + static_cast<int>(random.below(10))) + ":" +
                twoDigits(static_cast<int>(random.below(60))) + ":00Z\n";
    text += "duration_min: " + std::to_string(words / 150) + "\nparticipants:\n";
    for (auto person : who) text += "  - " + std::string(person) + "\n";
    text += "source: Zelmor\n---\n\n## Notes\n\n";
    text += random.below(3) == 0
                ? "Follow up on meeting " + std::to_string(index) + ".\n\n"
                : "_(User-added context. Empty until the user types here in the Library window.)_\n\n";
    text += "## Transcript\n\n";
    int plantAt = rare ? static_cast<int>(random.below(static_cast<size_t>(words))) : -1;
    while (words > 0) {
        std::string_view speaker = who[random.below(who.size())];
        std::string turn;
        size_t sentences = 1 + random.below(4);
        for (size_t s = 0; s < sentences && words > 0; ++s) {
            if (!turn.empty()) turn += ' ';
            turn += sentence(random, options.nonASCIIShare, words);
            if (plantAt >= 0 && words <= plantAt) {
                turn += " The zeppelin launch is on track.";
                plantAt = -1;
            }
        }
        text += "**" + std::string(speaker) + ":** " + turn + "\n\n";
    }
    if (random.below(3) == 0) {
        text += "## Summary\n\n<!-- zelmor:written-by agent -->\nThe team discussed " + title +
                " and agreed on next steps.\n\n## Action Items\n\n- Send the notes\n\n<!-- /zelmor:ai -->\n";
    }
    if (random.unit() < options.crlfShare) {
        std::string crlf;
        crlf.reserve(text.size() + text.size() / 20);
        for (char c : text) {
            if (c == '\n') crlf += '\r';
            crlf += c;
        }
        text.swap(crlf);
    }
    return text;
}

} // namespace

std::uint64_t generateCorpus(const std::string& folder, const CorpusOptions& options) {
    namespace fs = std::filesystem;
    Random random(options.seed);
    std::uint64_t bytes = 0;
    auto write = [&](const fs::path& path, const std::string& text) {
        fs::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << text;
        bytes += text.size();
    };
    for (int i = 0; i < options.meetings; ++i) {
        // Spread meetings over the last years, several a day, newest last.
        int dayIndex = i * 1500 / std::max(options.meetings, 1);
        int year = 2022 + dayIndex / 336, month = 1 + (dayIndex % 336) / 28, day = 1 + dayIndex % 28;
        std::string title;
        std::string text = meeting(random, options, i, year, month, day, title);
        fs::path dir = folder;
        if (options.nesting >= 1) dir /= std::to_string(year);
        if (options.nesting >= 2) dir /= twoDigits(month);
        char name[64];
        std::snprintf(name, sizeof name, "%04d-%02d-%02d %05d ", year, month, day, i);
        std::string file = name + title + ".md";
        for (char& c : file) c = c == ':' || c == '/' ? '-' : c;
        write(dir / file, text);
    }
    // What a real folder also holds: a skill, notes that are not transcripts, a hidden folder.
    write(fs::path(folder) / "Memory/Skills/weekly-digest.md",
          "---\ntitle: Weekly digest\nsource: Zelmor\n---\n\nSummarise the customer meetings of the week.\n");
    write(fs::path(folder) / "Memory/about-me.md", "# About me\n\nI run product.\n");
    write(fs::path(folder) / "README.md", "# Meetings\n\nRecorded by Zelmor.\n");
    write(fs::path(folder) / ".trash/old.md", "---\ntitle: Old\nsource: Zelmor\n---\n");
    return bytes;
}

} // namespace zelmor::bench
