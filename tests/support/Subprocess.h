// Runs one of our executables with given arguments, environment and standard input, and
// captures what it wrote and how it ended; or keeps its input open for a conversation.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>
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
    /// Replaces the whole environment when set; HOME should then be given.
    std::optional<std::map<std::string, std::string>> environment;
    std::string input;
    bool closeOutputEarly = false; ///< close our end of its stdout right after start
};

ProcessResult runProcess(const std::string& executable, const ProcessOptions& options);

/// A child whose standard input stays open until `finish`, so a test can see what it answers
/// before its input ends. `ProcessOptions::input` is written at start; `closeOutputEarly` is
/// not used.
class RunningProcess {
public:
    RunningProcess(const std::string& executable, const ProcessOptions& options);
    ~RunningProcess();
    RunningProcess(const RunningProcess&) = delete;
    RunningProcess& operator=(const RunningProcess&) = delete;

    /// Writes all of `text` to the child's input in one call; false when the child stopped
    /// reading. It blocks while the pipe is full, so keep what is written between reads small.
    bool write(std::string_view text);
    /// Waits until standard output holds `count` more complete lines than were taken before, or
    /// until `patience` has passed (a guard against a hang, not a measure), and takes those lines;
    /// on a timeout, takes whatever complete lines arrived.
    std::string takeLines(size_t count, std::chrono::milliseconds patience);
    /// Closes the input, reads both outputs to their end and reaps the child. `out` holds only
    /// what no `takeLines` took.
    ProcessResult finish();

private:
    /// Reads whatever is ready on the outputs, waiting at most `timeoutMs`; false once both ended.
    bool pump(int timeoutMs);

    pid_t pid_ = -1;
    int in_ = -1;
    int out_ = -1;
    int err_ = -1;
    std::string outText_;
    std::string errText_;
    std::optional<ProcessResult> result_;
};

/// Runs `work` in a forked child and gives back the text it returned; nothing when the child
/// threw or did not exit normally. With `unprivileged`, a child running as the super-user first
/// becomes the user "nobody", so that file permissions bite as they do for the app's own user
/// (the folders involved must then be open to others).
std::optional<std::string> runInChild(const std::function<std::string()>& work, bool unprivileged = false);

} // namespace zelmor::test
