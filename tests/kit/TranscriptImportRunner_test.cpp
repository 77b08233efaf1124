// Importing real files on a temporary disk: destination names, re-imports, multi-meeting exports,
// folder walks, legacy encodings, the modification day, and tidying away text twins.
#include "ZelmorMarkdownKit/import/TranscriptImportRunner.h"
#include "ZelmorMarkdownKit/import/TxtTwinTidy.h"
#include "platform/FileSystem.h"
#include "tests/kit/ActivityTestSupport.h"
#include "tests/kit/ImportTestSupport.h"

#include <gtest/gtest.h>
#include <utime.h>

#include <unistd.h>

namespace zelmor {
namespace {

using namespace TranscriptImportRunner;
using test::importFixture;
using test::readFile;
using test::TempFolder;
using TranscriptImport::Format;

const std::string callVTT =
    "WEBVTT\n\n00:01.000 --> 00:02.000\n<v Ana>Hello.\n\n00:02.000 --> 00:03.000\n<v Ben>Hi.\n";
const auto has = [](const std::string& text, const char* part) { return text.find(part) != text.npos; };

class ImportRunnerTest : public testing::Test {
protected:
    Options options() const { return Options{*calendar, std::nullopt}; }
    Outcome import(const std::string& file) { return importFile(file, into.path(), options()); }
    Outcome imported(const std::string& name, size_t turns = 2, Format format = Format::webVTT) {
        return Imported{into / name, format, turns};
    }

    std::unique_ptr<icu::Calendar> calendar = test::gregorianIn("Asia/Tokyo");
    TempFolder source, into;
};

TEST_F(ImportRunnerTest, FileIsNamedForItsStemAndDatedByItsModificationDay) {
    std::string vtt = source.write("call.vtt", callVTT);
    utimbuf times{1741017600, 1741017600}; // 2025-03-03T16:00:00Z, already 2025-03-04 in Tokyo
    ASSERT_EQ(::utime(vtt.c_str(), &times), 0);
    EXPECT_EQ(modifiedDay(source / "missing.txt", *calendar), std::nullopt);
    EXPECT_EQ(import(vtt), imported("call.md"));
    EXPECT_TRUE(has(readFile(into / "call.md"), "\ndate: 2025-03-04\n"));
    // Markdown imported into its own folder gets the imported suffix.
    std::string notes = source.write("notes.md", "Ana: hello\nBen: hi\n");
    EXPECT_EQ(destinationURL(source / "NOTES.Markdown", source.path()), source / "NOTES (imported).md");
    EXPECT_EQ(importFile(notes, source.path(), options()),
              Outcome(Imported{source / "notes (imported).md", Format::speakerMarkdown, 2}));
}

TEST_F(ImportRunnerTest, CollisionsTakeNumberedNamesAndNothingIsOverwrittenOrWrittenThrough) {
    std::string vtt = source.write("call.vtt", callVTT);
    into.write("call.md", "someone else's notes\n");
    into.write("call (imported 2).md", "imported_from: other.vtt\n");
    EXPECT_EQ(import(vtt), imported("call (imported 3).md"));
    EXPECT_EQ(readFile(into / "call.md"), "someone else's notes\n");
    // Another source of the same stem finds every later name taken as well.
    std::string srt = source.write("call.srt", "1\n00:00:01,000 --> 00:00:02,000\nAna: Hello.\n");
    for (int n = 4; n <= 50; ++n) into.write("call (imported " + std::to_string(n) + ").md", "taken\n");
    EXPECT_EQ(destinationURL(srt, into.path()), into / "call (imported 50).md");
    Outcome outcome = import(srt);
    ASSERT_TRUE(std::holds_alternative<Unreadable>(outcome));
    EXPECT_TRUE(has(std::get<Unreadable>(outcome).reason, "every name for it is taken"));
    EXPECT_EQ(readFile(into / "call (imported 50).md"), "taken\n");
    // A dangling link where the first name would go is passed over, never written through.
    ASSERT_EQ(::symlink((source / "elsewhere.md").c_str(), (into / "other.md").c_str()), 0);
    EXPECT_EQ(import(source.write("other.vtt", callVTT)), imported("other (imported 2).md"));
    EXPECT_FALSE(platform::exists(source / "elsewhere.md"));
}

TEST_F(ImportRunnerTest, MultiMeetingExportWritesOneFilePerMeetingAvoidingUnrelatedFiles) {
    std::string json = source.write("week.json", importFixture("weekly-export.json"));
    into.write("week (2 of 3).md", "mine\n");
    EXPECT_EQ(destinationURL(json, into.path(), 2, 3), into / "week (2 of 3) (2).md");
    EXPECT_EQ(import(json), Outcome(ImportedMany{{into / "week (1 of 3).md", into / "week (2 of 3) (2).md",
                                                  into / "week (3 of 3).md"},
                                                 Format::genericJSON,
                                                 5}));
    EXPECT_TRUE(has(readFile(into / "week (2 of 3) (2).md"), "title: Wednesday check-in\n"));
    EXPECT_EQ(import(json), Outcome(AlreadyImported{into / "week (1 of 3).md"}));
}

TEST_F(ImportRunnerTest, FailuresBecomeTheirOutcomesAndEncodingsAreHandled) {
    EXPECT_EQ(import(source.write("empty.vtt", "WEBVTT\n")), Outcome(NoSpeech{}));
    EXPECT_EQ(import(source / "missing.vtt"), Outcome(Unreadable{"not readable as text"}));
    std::string blocker = into.write("blocker", "a file where a folder should be");
    EXPECT_EQ(importFile(source.write("call.vtt", callVTT), blocker + "/sub", options()),
              Outcome(Unreadable{"could not create the folder " + blocker + "/sub"}));
    EXPECT_TRUE(isAvailableEncoding("ISO-8859-1"));
    // A byte order mark hides nothing.
    EXPECT_EQ(import(source.write("bom.json", "\xEF\xBB\xBF" + importFixture("circleback.json"))),
              imported("bom.md", 2, Format::circlebackJSON));
}

TEST_F(ImportRunnerTest, FolderImportSkipsHiddenMemoryAndZelmorFoldersInPathOrder) {
    for (const char* name : {"b.vtt", ".hidden.vtt", ".cache/c.vtt", ".zelmor/d.vtt", "Memory/e.vtt",
                             "deep/Memory/g.vtt", "notes.pdf"})
        source.write(name, callVTT);
    source.write("a/talk.SRT", "1\n00:00:01,000 --> 00:00:02,000\nAna: hi\n");
    source.write("z.txt", "just a list\n");
    EXPECT_EQ(importFolder(source.path(), into.path(), "Memory", options()),
              (std::vector<FileOutcome>{{source / "a/talk.SRT", imported("talk.md", 1, Format::srt)},
                                        {source / "b.vtt", imported("b.md")},
                                        {source / "z.txt", Unrecognized{}}}));
}

TEST_F(ImportRunnerTest, FolderImportWithoutDestinationWritesBesideTheSourcesAndRerunsSafely) {
    source.write("call.vtt", callVTT);
    auto run = [&](const std::string& from) { return importFolder(from, std::nullopt, "Memory", options()); };
    EXPECT_EQ(
        run(source.path()),
        (std::vector<FileOutcome>{{source / "call.vtt", Imported{source / "call.md", Format::webVTT, 2}}}));
    EXPECT_EQ(run(source.path()),
              (std::vector<FileOutcome>{{source / "call.md", AlreadyZelmor{}},
                                        {source / "call.vtt", AlreadyImported{source / "call.md"}}}));
    EXPECT_TRUE(run(source / "missing").empty());
}

TEST(ImportOutcomeText, OneLinePerOutcome) {
    const std::pair<FileOutcome, const char*> cases[] = {
        {{"/s/call.vtt", Imported{"/t/call.md", Format::webVTT, 1}},
         "/s/call.vtt \u2192 /t/call.md (vtt, 1 turn)"},
        {{"/s/e.json", ImportedMany{{"/t/e (1 of 2).md", "/t/e (2 of 2).md"}, Format::fathomJSON, 7}},
         "/s/e.json \u2192 2 meetings: /t/e (1 of 2).md, /t/e (2 of 2).md (fathom, 7 turns)"},
        {{"/s/a.pdf", Unrecognized{}}, "/s/a.pdf: skipped, not a transcript format we recognise"},
        {{"/s/b.vtt", NoSpeech{}}, "/s/b.vtt: skipped, no speaker turns found"}};
    for (const auto& [outcome, line] : cases) EXPECT_EQ(describe(outcome), line);
}

TEST(TxtTwinTidy, PlansOnlyMarkedTextFilesBesideMarkdownOfTheSameStemAndTrashesThem) {
    TempFolder folder, home;
    for (const char* name : {"a.md", "a.txt", "sub/b.md", "lone.txt", "mine.md", "upper.md", "upper.TXT",
                             "lower.MD", "lower.txt", "elsewhere.md", "other/elsewhere.txt"})
        folder.write(name, "---\ntitle: Sync\nsource: Zelmor\n---\n");
    folder.write("sub/b.txt", "notes\nsource: Zelmor");
    folder.write("mine.txt", "my own notes\nsource:  Zelmor\nSource: Zelmor\n");
    auto planned = TxtTwinTidy::plan(folder.path());
    EXPECT_EQ(planned, (std::vector<std::string>{folder / "a.txt", folder / "sub/b.txt"}));
    EXPECT_TRUE(TxtTwinTidy::plan(folder / "missing").empty());
    platform::TrashOwner owner{home.path(), std::nullopt};
    planned.push_back(folder / "gone.txt");
    EXPECT_EQ(TxtTwinTidy::trash(planned, owner), 2u);
    EXPECT_FALSE(platform::exists(folder / "a.txt"));
    EXPECT_EQ(readFile(platform::trashedFilesFolder(owner) + "/b.txt"), "notes\nsource: Zelmor");
}

} // namespace
} // namespace zelmor
