// Paging and ordering of the store's search over a real folder.
#include "ZelmorMCP/MeetingStore.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace zelmor::test {
namespace {

std::string meeting(int day, const std::string& line) {
    char date[32];
    std::snprintf(date, sizeof date, "2026-%02d-%02d", 1 + day / 28, 1 + day % 28);
    return "---\ntitle: Sync " + std::to_string(day) + "\ndate: " + date +
           "\nsource: Zelmor\n---\n\n## Transcript\n\n" + line + "\n";
}

std::vector<std::string> titles(const MeetingStore::SearchResult& result) {
    std::vector<std::string> found;
    for (const auto& hit : result.hits) found.push_back(hit.meeting.doc.title);
    return found;
}

TEST(MeetingStoreSearch, PagesAreClampedAndTheTotalCountsEveryMatch) {
    TempFolder folder;
    for (int day = 0; day < 150; ++day)
        folder.write("m" + std::to_string(day) + ".md", meeting(day, "**Ana:** budget"));
    MeetingStore store(folder.path());
    MeetingStore::SearchFilters filters;
    filters.query = "budget";
    filters.limit = 500;
    auto result = store.search(filters);
    EXPECT_EQ(result.total, 150);
    EXPECT_EQ(result.hits.size(), 100u);
    EXPECT_EQ(result.hits.front().meeting.doc.title, "Sync 149");

    filters.limit = 0;
    filters.offset = 149;
    result = store.search(filters);
    EXPECT_EQ(titles(result), std::vector<std::string>{"Sync 0"});

    filters.offset = 1000;
    result = store.search(filters);
    EXPECT_EQ(result.total, 150);
    EXPECT_EQ(result.offset, 1000);
    EXPECT_TRUE(result.hits.empty());
}

TEST(MeetingStoreSearch, RelevanceIsAStableSortOverTheNewestFirstOrder) {
    TempFolder folder;
    folder.write("a.md", meeting(1, "**Ana:** budget\n\n**Bo:** budget again"));
    folder.write("b.md", meeting(2, "**Ana:** budget"));
    folder.write("c.md", meeting(3, "**Ana:** budget"));
    folder.write("d.md", meeting(4, "**Ana:** nothing here"));
    MeetingStore store(folder.path());
    MeetingStore::SearchFilters filters;
    filters.query = "budget";
    EXPECT_EQ(titles(store.search(filters)), (std::vector<std::string>{"Sync 3", "Sync 2", "Sync 1"}));
    filters.sort = "Relevance";
    auto result = store.search(filters);
    EXPECT_EQ(titles(result), (std::vector<std::string>{"Sync 1", "Sync 3", "Sync 2"}));
    EXPECT_EQ(result.hits.front().matchCount, 2);
    filters.sort = "oldest";
    EXPECT_EQ(titles(store.search(filters)), (std::vector<std::string>{"Sync 3", "Sync 2", "Sync 1"}));
}

TEST(MeetingStoreSearch, RepeatedTermsAndALongParticipantFindWhatThePlainOnesFind) {
    TempFolder folder;
    for (int day = 0; day < 20; ++day) {
        std::string line = day % 2 ? "**Ana:** the budget plan" : "**Bo:** the plan";
        folder.write("m" + std::to_string(day) + ".md",
                     meeting(day, line).insert(meeting(day, line).find("source:"),
                                               day % 3 ? "participants:\n  - Ana \u00c5berg\n"
                                                       : "participants:\n  - Bo\n"));
    }
    MeetingStore store(folder.path());
    auto found = [&](const std::string& query, const std::string& participant) {
        MeetingStore::SearchFilters filters;
        filters.query = query;
        filters.participant = participant;
        filters.sort = "relevance";
        std::vector<std::pair<std::string, long long>> rows;
        for (const auto& hit : store.search(filters).hits)
            rows.emplace_back(hit.meeting.doc.title, hit.matchCount);
        return rows;
    };
    std::string repeated;
    for (int i = 0; i < 20000; ++i) repeated += i % 2 ? "PLAN " : "budget ";
    auto plain = found("budget plan", "aberg");
    EXPECT_EQ(plain.size(), 7u);
    EXPECT_EQ(found(repeated, "aberg"), plain);
    EXPECT_EQ(found("budget plan", "ABERG"), plain);
    EXPECT_TRUE(found("budget plan", std::string(2 << 20, 'x')).empty());
    EXPECT_TRUE(found("budget plan", "\xCC\x81").empty()) << "a name that folds to nothing is no one's";
}

TEST(MeetingStoreSearch, AQueryWithoutTermsNeverLooksAtTheFolder) {
    MeetingStore store("/nonexistent/zelmor-folder");
    MeetingStore::SearchFilters filters;
    filters.query = " \"\" ";
    filters.offset = -5;
    auto result = store.search(filters);
    EXPECT_EQ(result.total, 0);
    EXPECT_EQ(result.offset, 0);
    filters.query = "x";
    EXPECT_THROW(store.search(filters), MeetingStore::StoreError);
}

} // namespace
} // namespace zelmor::test
