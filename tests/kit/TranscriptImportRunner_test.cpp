// Importing real files: destination names, re-imports, multi-meeting exports, folder walks,
// legacy encodings and the modification day, all on a temporary disk.
#include "ZelmorMarkdownKit/import/TranscriptImportRunner.h"
#include "platform/FileSystem.h"
#include "tests/kit/ImportTestSupport.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unicode/timezone.h>
#include <utime.h>

#include <memory>
#include <thread>
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

class ImportRunnerTest : public testing::Test {
protected:
    ImportRunnerTest() {
        UErrorCode status = U_ZERO_ERROR;
        calendar.reset(icu::Calendar::createInstance(icu::TimeZone::createTimeZone("Asia/Tokyo"), status));
    }

    Options options() const { return Options{*calendar, std::nullopt}; }

    /// Sets a file's modification time, in seconds since 1970.
    static void touch(const std::string& path, time_t seconds) {
        utimbuf times{seconds, seconds};
        ASSERT_EQ(::utime(path.c_str(), &times), 0);
    }

    std::unique_ptr<icu::Calendar> calendar;
    TempFolder source;
    TempFolder into;
};

TEST_F(ImportRunnerTest, CaptionBecomesStemDotMarkdownDatedByModificationDay) {
    std::string vtt = source.write("call.vtt", callVTT);
    touch(vtt, 1741017600); // 2025-03-03T16:00:00Z, already 2025-03-04 in Tokyo
    EXPECT_EQ(importFile(vtt, into.path(), options()),
              Outcome(Imported{into / "call.md", Format::webVTT, 2}));
    std::string written = readFile(into / "call.md");
    EXPECT_NE(written.find("\ndate: 2025-03-04\n"), std::string::npos);
    EXPECT_NE(written.find("\nimported_from: call.vtt\n"), std::string::npos);
}

TEST_F(ImportRunnerTest, ModifiedDayUsesTheCalendarsTimeZone) {
    std::string file = source.write("a.txt", "x");
    touch(file, 1741017600);
    EXPECT_EQ(modifiedDay(file, *calendar), "2025-03-04");
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Calendar> newYork(
        icu::Calendar::createInstance(icu::TimeZone::createTimeZone("America/New_York"), status));
    EXPECT_EQ(modifiedDay(file, *newYork), "2025-03-03");
    EXPECT_EQ(modifiedDay(source / "missing.txt", *calendar), std::nullopt);
}

TEST_F(ImportRunnerTest, MarkdownImportedIntoItsOwnFolderGetsTheImportedSuffix) {
    std::string notes = source.write("notes.md", "Ana: hello\nBen: hi\n");
    EXPECT_EQ(destinationURL(notes, source.path()), source / "notes (imported).md");
    EXPECT_EQ(destinationURL(source / "NOTES.Markdown", source.path()), source / "NOTES (imported).md");
    auto outcome = importFile(notes, source.path(), options());
    EXPECT_EQ(outcome, Outcome(Imported{source / "notes (imported).md", Format::speakerMarkdown, 2}));
    EXPECT_EQ(readFile(notes), "Ana: hello\nBen: hi\n");
}

TEST_F(ImportRunnerTest, CollisionsWithUnrelatedFilesTakeNumberedNames) {
    std::string vtt = source.write("call.vtt", callVTT);
    into.write("call.md", "someone else's notes\n");
    into.write("call (imported 2).md", "imported_from: other.vtt\n");
    EXPECT_EQ(destinationURL(vtt, into.path()), into / "call (imported 3).md");
    EXPECT_EQ(importFile(vtt, into.path(), options()),
              Outcome(Imported{into / "call (imported 3).md", Format::webVTT, 2}));
    EXPECT_EQ(readFile(into / "call.md"), "someone else's notes\n");
}

TEST_F(ImportRunnerTest, AfterFortyNineCollisionsTheFiftiethNameIsUsedUnchecked) {
    std::string vtt = source.write("call.vtt", callVTT);
    into.write("call.md", "taken\n");
    for (int n = 2; n <= 50; ++n) into.write("call (imported " + std::to_string(n) + ").md", "taken\n");
    EXPECT_EQ(destinationURL(vtt, into.path()), into / "call (imported 50).md");
}

TEST_F(ImportRunnerTest, WhenEveryNameIsTakenTheImportIsReportedAndNoFileOverwritten) {
    std::string vtt = source.write("call.vtt", callVTT);
    into.write("call.md", "taken\n");
    for (int n = 2; n <= 50; ++n) into.write("call (imported " + std::to_string(n) + ").md", "taken\n");
    Outcome outcome = importFile(vtt, into.path(), options());
    ASSERT_TRUE(std::holds_alternative<Unreadable>(outcome));
    EXPECT_NE(std::get<Unreadable>(outcome).reason.find("every name for it is taken"), std::string::npos);
    EXPECT_EQ(readFile(into / "call (imported 50).md"), "taken\n");
}

TEST_F(ImportRunnerTest, ImportsRacingForOneNameEachGetAFileOfTheirOwn) {
    // Two sources with one stem, imported at once, again and again: neither may replace the other.
    const std::string callSRT = "1\n00:00:01,000 --> 00:00:02,000\nAna: Hello.\n";
    for (int round = 0; round < 20; ++round) {
        TempFolder a, b, shared;
        std::string vtt = a.write("call.vtt", callVTT), srt = b.write("call.srt", callSRT);
        Outcome first, second;
        std::thread other([&] { second = importFile(srt, shared.path(), options()); });
        first = importFile(vtt, shared.path(), options());
        other.join();
        ASSERT_TRUE(std::holds_alternative<Imported>(first)) << round;
        ASSERT_TRUE(std::holds_alternative<Imported>(second)) << round;
        std::string one = std::get<Imported>(first).destination, two = std::get<Imported>(second).destination;
        EXPECT_NE(one, two);
        EXPECT_NE(readFile(one).find("imported_from: call.vtt\n"), std::string::npos) << round;
        EXPECT_NE(readFile(two).find("imported_from: call.srt\n"), std::string::npos) << round;
    }
}

TEST_F(ImportRunnerTest, LongNamesAndLinksInTheWayAreHandled) {
    // 81 three-byte characters: 243 bytes of name with ".vtt", 242 with ".md"; a temporary name
    // built from it would pass the 255-byte limit.
    std::string stem;
    for (int i = 0; i < 80; ++i) stem += "\u4F1A";
    std::string vtt = source.write(stem + ".vtt", callVTT);
    Outcome outcome = importFile(vtt, into.path(), options());
    ASSERT_TRUE(std::holds_alternative<Imported>(outcome));
    EXPECT_EQ(std::get<Imported>(outcome).destination, into / (stem + ".md"));
    // A dangling link where the first name would go is passed over, never written through.
    std::string other = source.write("other.vtt", callVTT);
    ASSERT_EQ(::symlink((source / "elsewhere.md").c_str(), (into / "other.md").c_str()), 0);
    outcome = importFile(other, into.path(), options());
    ASSERT_TRUE(std::holds_alternative<Imported>(outcome));
    EXPECT_EQ(std::get<Imported>(outcome).destination, into / "other (imported 2).md");
    EXPECT_FALSE(platform::exists(source / "elsewhere.md"));
}

TEST_F(ImportRunnerTest, ReimportReportsTheEarlierFileWithoutRewritingIt) {
    std::string vtt = source.write("call.vtt", callVTT);
    ASSERT_EQ(importFile(vtt, into.path(), options()),
              Outcome(Imported{into / "call.md", Format::webVTT, 2}));
    // A later edit by the user must survive the second run.
    std::string edited = readFile(into / "call.md") + "\n**Ana:** Added by hand.\n";
    into.write("call.md", edited);
    EXPECT_EQ(importFile(vtt, into.path(), options()), Outcome(AlreadyImported{into / "call.md"}));
    EXPECT_EQ(readFile(into / "call.md"), edited);
}

TEST_F(ImportRunnerTest, MultiMeetingExportWritesOneFilePerMeeting) {
    std::string json = source.write("weekly-export.json", importFixture("weekly-export.json"));
    auto outcome = importFile(json, into.path(), options());
    EXPECT_EQ(outcome,
              Outcome(ImportedMany{{into / "weekly-export (1 of 3).md", into / "weekly-export (2 of 3).md",
                                    into / "weekly-export (3 of 3).md"},
                                   Format::genericJSON,
                                   5}));
    EXPECT_NE(readFile(into / "weekly-export (2 of 3).md").find("title: Wednesday check-in\n"),
              std::string::npos);
    EXPECT_EQ(importFile(json, into.path(), options()),
              Outcome(AlreadyImported{into / "weekly-export (1 of 3).md"}));
}

TEST_F(ImportRunnerTest, MultiMeetingNamesAvoidUnrelatedFiles) {
    std::string json = source.write("export.json", importFixture("weekly-export.json"));
    into.write("export (2 of 3).md", "mine\n");
    EXPECT_EQ(destinationURL(json, into.path(), 2, 3), into / "export (2 of 3) (2).md");
    EXPECT_EQ(destinationURL(json, into.path(), 1, 3), into / "export (1 of 3).md");
    auto many = std::get<ImportedMany>(importFile(json, into.path(), options()));
    EXPECT_EQ(many.destinations[1], into / "export (2 of 3) (2).md");
    EXPECT_EQ(readFile(into / "export (2 of 3).md"), "mine\n");
}

TEST_F(ImportRunnerTest, ConversionFailuresBecomeTheirOutcomes) {
    EXPECT_EQ(importFile(source.write("own.md", importFixture("own-transcript.md")), into.path(), options()),
              Outcome(AlreadyZelmor{}));
    EXPECT_EQ(importFile(source.write("list.txt", "milk\neggs\n"), into.path(), options()),
              Outcome(Unrecognized{}));
    EXPECT_EQ(importFile(source.write("empty.vtt", "WEBVTT\n"), into.path(), options()), Outcome(NoSpeech{}));
    EXPECT_EQ(importFile(source / "missing.vtt", into.path(), options()),
              Outcome(Unreadable{std::string(notReadableAsText)}));
}

TEST_F(ImportRunnerTest, LegacyEncodingIsUnreadableUnlessAnEncodingIsGiven) {
    std::string legacy = source.write("legacy.txt", importFixture("legacy-windows-1252.txt"));
    EXPECT_EQ(importFile(legacy, into.path(), options()), Outcome(Unreadable{"not readable as text"}));
    Options decoding{*calendar, "windows-1252"};
    EXPECT_EQ(importFile(legacy, into.path(), decoding),
              Outcome(Imported{into / "legacy.md", Format::speakerMarkdown, 2}));
    std::string written = readFile(into / "legacy.md");
    EXPECT_NE(
        written.find("**Renée Martin:** Bonjour à tous, on commence?\n\n**José:** Oui, c\u2019est parti.\n"),
        std::string::npos);
    EXPECT_TRUE(isAvailableEncoding("ISO-8859-1"));
    EXPECT_FALSE(isAvailableEncoding("no-such-encoding"));
}

TEST_F(ImportRunnerTest, ByteOrderMarkDoesNotHideJSON) {
    std::string json = source.write("bom.json", "\xEF\xBB\xBF" + importFixture("circleback.json"));
    EXPECT_EQ(importFile(json, into.path(), options()),
              Outcome(Imported{into / "bom.md", Format::circlebackJSON, 2}));
}

TEST_F(ImportRunnerTest, UnwritableDestinationIsReportedNotThrown) {
    std::string vtt = source.write("call.vtt", callVTT);
    std::string blocker = into.write("blocker", "a file where a folder should be");
    EXPECT_EQ(importFile(vtt, blocker + "/sub", options()),
              Outcome(Unreadable{"could not create the folder " + blocker + "/sub"}));
}

TEST_F(ImportRunnerTest, FolderImportSkipsHiddenMemoryAndZelmorFoldersInPathOrder) {
    source.write("b.vtt", callVTT);
    source.write("a/talk.SRT", "1\n00:00:01,000 --> 00:00:02,000\nAna: hi\n");
    source.write("notes.pdf", "%PDF");
    source.write(".hidden.vtt", callVTT);
    source.write(".cache/c.vtt", callVTT);
    source.write(".zelmor/d.vtt", callVTT);
    source.write("Memory/e.vtt", callVTT);
    source.write("Memory/Skills/f.md", "Ana: skill\n");
    source.write("deep/Memory/g.vtt", callVTT);
    source.write("z.txt", "just a list\n");
    std::vector<std::string> seen;
    auto outcomes =
        importFolder(source.path(), into.path(), "Memory", options(),
                     [&](size_t position, size_t count, const std::string& file) {
                         seen.push_back(std::to_string(position) + "/" + std::to_string(count) + " " + file);
                     });
    EXPECT_EQ(outcomes, (std::vector<FileOutcome>{
                            {source / "a/talk.SRT", Imported{into / "talk.md", Format::srt, 1}},
                            {source / "b.vtt", Imported{into / "b.md", Format::webVTT, 2}},
                            {source / "z.txt", Unrecognized{}},
                        }));
    EXPECT_EQ(seen, (std::vector<std::string>{"1/3 " + (source / "a/talk.SRT"), "2/3 " + (source / "b.vtt"),
                                              "3/3 " + (source / "z.txt")}));
}

TEST_F(ImportRunnerTest, FolderImportWithoutDestinationWritesBesideTheSourcesAndRerunsSafely) {
    source.write("call.vtt", callVTT);
    auto first = importFolder(source.path(), std::nullopt, "Memory", options());
    EXPECT_EQ(first, (std::vector<FileOutcome>{
                         {source / "call.vtt", Imported{source / "call.md", Format::webVTT, 2}}}));
    auto second = importFolder(source.path(), std::nullopt, "Memory", options());
    EXPECT_EQ(second, (std::vector<FileOutcome>{{source / "call.md", AlreadyZelmor{}},
                                                {source / "call.vtt", AlreadyImported{source / "call.md"}}}));
    EXPECT_TRUE(importFolder(source / "missing", std::nullopt, "Memory", options()).empty());
}

TEST(ImportOutcomeText, OneLinePerOutcome) {
    EXPECT_EQ(describe({"/s/call.vtt", Imported{"/t/call.md", Format::webVTT, 1}}),
              "/s/call.vtt \u2192 /t/call.md (vtt, 1 turn)");
    EXPECT_EQ(describe({"/s/e.json",
                        ImportedMany{{"/t/e (1 of 2).md", "/t/e (2 of 2).md"}, Format::fathomJSON, 7}}),
              "/s/e.json \u2192 2 meetings: /t/e (1 of 2).md, /t/e (2 of 2).md (fathom, 7 turns)");
    EXPECT_EQ(describe({"/s/call.vtt", AlreadyImported{"/t/call.md"}}),
              "/s/call.vtt: already imported as /t/call.md");
    EXPECT_EQ(describe({"/s/x.txt", Unreadable{"not readable as text"}}),
              "/s/x.txt: unreadable, not readable as text");
    EXPECT_EQ(describe({"/s/x.md", AlreadyZelmor{}}), "/s/x.md: skipped, already a Zelmor transcript");
    EXPECT_EQ(describe({"/s/x.txt", Unrecognized{}}),
              "/s/x.txt: skipped, not a transcript format we recognise");
    EXPECT_EQ(describe({"/s/x.vtt", NoSpeech{}}), "/s/x.vtt: skipped, no speaker turns found");
}

} // namespace
} // namespace zelmor
