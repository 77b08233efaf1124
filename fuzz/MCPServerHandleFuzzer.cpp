// Pushes one arbitrary line through the server's dispatcher, as the stdio loop would hand it over.
#include "ZelmorMCP/MCPServer.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // A home folder that does not exist: nothing the fuzzer sends may touch real files.
    static const zelmor::MCPServer server(
        zelmor::TranscriptFolderResolver{"/nonexistent/zelmor-fuzz-home", {}},
        zelmor::MCPServer::ActivityAttribution::probe, std::make_shared<zelmor::MCPClientContext>());
    server.handle(std::string_view(reinterpret_cast<const char*>(data), size));
    return 0;
}
