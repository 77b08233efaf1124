// Forks and drives the server; any failure of the pipes ends the benchmark, whose figures would
// mean nothing without it.
#include "bench/driver/ServerProcess.h"

#include "bench/driver/BenchTiming.h"

#include <cstdlib>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zelmor::bench {

ServerProcess::ServerProcess(const std::string& binary, const std::string& folder, const std::string& home,
                             const std::vector<std::string>& extra) {
    int in[2], out[2];
    if (::pipe(in) != 0 || ::pipe(out) != 0) std::abort();
    pid_ = ::fork();
    if (pid_ == 0) {
        ::dup2(in[0], 0);
        ::dup2(out[1], 1);
        // Without this the server would hold the write end of its own input and never see
        // the end of it, so the destructor's wait would never return.
        for (int fd : {in[0], in[1], out[0], out[1]}) ::close(fd);
        int devnull = ::open("/dev/null", O_WRONLY);
        ::dup2(devnull, 2);
        ::setenv("HOME", home.c_str(), 1);
        std::vector<const char*> argv{binary.c_str(), "--transcripts-folder", folder.c_str()};
        for (const auto& argument : extra) argv.push_back(argument.c_str());
        argv.push_back(nullptr);
        ::execv(binary.c_str(), const_cast<char* const*>(argv.data()));
        ::_exit(127);
    }
    ::close(in[0]);
    ::close(out[1]);
    to_ = in[1];
    from_ = out[0];
}

ServerProcess::~ServerProcess() {
    ::close(to_);
    ::close(from_);
    ::waitpid(pid_, nullptr, 0);
}

std::string ServerProcess::call(const std::string& request) {
    std::string line = request + "\n";
    for (size_t done = 0; done < line.size();) {
        ssize_t n = ::write(to_, line.data() + done, line.size() - done);
        if (n <= 0) std::abort();
        done += static_cast<size_t>(n);
    }
    while (true) {
        size_t newline = buffer_.find('\n');
        if (newline != std::string::npos) {
            std::string reply = buffer_.substr(0, newline);
            buffer_.erase(0, newline + 1);
            return reply;
        }
        char chunk[1 << 16];
        ssize_t n = ::read(from_, chunk, sizeof chunk);
        if (n <= 0) std::abort();
        buffer_.append(chunk, static_cast<size_t>(n));
    }
}

double ServerProcess::peakMegabytes() const {
    return zelmor::bench::peakMegabytes(pid_);
}

std::string toolCall(int id, const std::string& name, const std::string& arguments) {
    return R"({"jsonrpc":"2.0","id":)" + std::to_string(id) + R"(,"method":"tools/call","params":{"name":")" +
           name + R"(","arguments":)" + arguments + "}}";
}

} // namespace zelmor::bench
