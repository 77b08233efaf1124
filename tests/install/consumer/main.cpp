// Prints a few facts about one transcript through the installed kit, touching each library the
// kit links: the parser, ICU (case mapping, calendars), OpenSSL (turn identifiers) and the
// platform layer (folder listing).
#include "ZelmorMarkdownKit/activity/AgentActivityLog.h"
#include "ZelmorMarkdownKit/edit/TranscriptTurnID.h"
#include "ZelmorMarkdownKit/format/MarkdownTranscriptParser.h"
#include "ZelmorMarkdownKit/format/ZelmorTranscriptMarker.h"
#include "ZelmorMarkdownKit/import/TxtTwinTidy.h"
#include "ZelmorMarkdownKit/text/ICUText.h"
#include "ZelmorMarkdownKit/text/JSONWriter.h"
#include "platform/FileSystem.h"

#include <unicode/calendar.h>
#include <unicode/timezone.h>

#include <iostream>
#include <memory>

int main(int, char** argv) {
    using namespace zelmor;
    // A missing argument, file or transcript throws, which fails the check.
    auto text = platform::readFile(argv[1]);
    auto document = MarkdownTranscriptParser::parse(text.value()).value();
    std::cout << "title: " << document.title << "\n"
              << "lower-cased: " << ICUText::lowercased(document.title) << "\n"
              << "date: " << document.date << "\n"
              << "participants: " << JSONWriter::compact(document.participants).value_or("?") << "\n"
              << "marker: " << (ZelmorTranscriptMarker::declares(*text) ? "yes" : "no") << "\n"
              << "turns: " << document.turns.size() << "\n";
    if (!document.turns.empty())
        std::cout << "first turn: " << TranscriptTurnID::make(0, document.turns[0].text) << " "
                  << document.turns[0].speaker << "\n";

    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Calendar> calendar(
        icu::Calendar::createInstance(icu::TimeZone::getGMT()->clone(), status));
    if (U_FAILURE(status)) return 1;
    std::cout << "day of the epoch: "
              << AgentActivityLog::dayKey(std::chrono::system_clock::time_point{}, *calendar) << "\n";

    std::string file = platform::absolutePath(argv[1]);
    std::cout << "text twins beside it: " << TxtTwinTidy::plan(file.substr(0, file.rfind('/'))).size()
              << "\n";
    return 0;
}
