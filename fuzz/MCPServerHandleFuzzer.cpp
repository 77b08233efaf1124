// Pushes one arbitrary line through the server's dispatcher and tool execution, wired as the
// executable wires them, with tool calls served from the test fixtures' meetings folder so that
// searches, reads and the participant list run on real transcripts with fuzzed arguments.
#include "ZelmorMCP/MCPServer.h"
#include "ZelmorMCP/ToolExecutor.h"

#include <unicode/gregocal.h>
#include <unicode/timezone.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

namespace {

struct Served {
    // A home folder that does not exist, and a probe's attribution, so that no call writes the
    // activity files: nothing the fuzzer sends may change real files. The folder is only read.
    zelmor::MCPServer server{
        zelmor::TranscriptFolderResolver{"/nonexistent/zelmor-fuzz-home", ZELMOR_FUZZ_MEETINGS_FOLDER},
        zelmor::MCPServer::ActivityAttribution::probe, std::make_shared<zelmor::MCPClientContext>()};
    // A fixed clock and calendar, so that a finding reproduces.
    zelmor::ToolExecutor tools{
        server, [] { return std::chrono::system_clock::time_point(std::chrono::seconds(1794996000)); },
        [] {
            UErrorCode status = U_ZERO_ERROR;
            return std::unique_ptr<icu::Calendar>(
                new icu::GregorianCalendar(icu::TimeZone::createTimeZone("Europe/Berlin"), status));
        }};
    Served() {
        server.setToolCallHandler([this](const nlohmann::json& id, const nlohmann::json& params) {
            return tools.toolCall(id, params);
        });
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Served served;
    served.server.handle(std::string_view(reinterpret_cast<const char*>(data), size));
    return 0;
}
