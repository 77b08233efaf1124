// Runs one of our executables with given arguments, environment and standard input, and
// captures what it wrote and how it ended.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace zelmor::test {

struct ProcessResult {
    std::string out;
    std::string err;
    int exitStatus = -1; ///< -1 when the process did not exit normally
    int signal = 0;      ///< the signal that ended it, or 0
};

struct ProcessOptions {
    std::vector<std::string> arguments;
    /// The whole environment: HOME should be given.
    std::map<std::string, std::string> environment;
    std::string input;
    bool closeOutputEarly = false; ///< close our end of its stdout right after start
};

ProcessResult runProcess(const std::string& executable, const ProcessOptions& options);

/// Runs `work` in a forked child and gives back the text it returned; nothing when the child
/// threw or did not exit normally. With `unprivileged`, a child running as the super-user first
/// becomes the user "nobody", so that file permissions bite as they do for the app's own user
/// (the folders involved must then be open to others).
std::optional<std::string> runInChild(const std::function<std::string()>& work, bool unprivileged = false);

} // namespace zelmor::test
