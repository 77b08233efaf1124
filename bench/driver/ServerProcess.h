// A live zelmor-mcp over pipes, as a client runs it: one request line in, one reply line out.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace zelmor::bench {

class ServerProcess {
public:
    /// Starts BINARY --transcripts-folder FOLDER plus `extra` arguments, with HOME set to `home`
    /// and standard error dropped.
    ServerProcess(const std::string& binary, const std::string& folder, const std::string& home,
                  const std::vector<std::string>& extra = {});
    ~ServerProcess();
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;

    /// Sends one request line and returns the reply line.
    std::string call(const std::string& request);
    double peakMegabytes() const;

private:
    pid_t pid_;
    int to_, from_;
    std::string buffer_;
};

/// A "tools/call" request line; `arguments` is a JSON object as text.
std::string toolCall(int id, const std::string& name, const std::string& arguments);

} // namespace zelmor::bench
