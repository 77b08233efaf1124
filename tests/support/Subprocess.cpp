// fork/exec with three pipes; input is written while output is read, so large exchanges
// cannot deadlock.
#include "tests/support/Subprocess.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <stdexcept>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>

namespace zelmor::test {

ProcessResult runProcess(const std::string& executable, const ProcessOptions& options) {
    std::signal(SIGPIPE, SIG_IGN);
    int in[2], out[2], err[2];
    if (::pipe(in) != 0 || ::pipe(out) != 0 || ::pipe(err) != 0) throw std::runtime_error("pipe failed");
    std::vector<std::string> argvStrings{executable}, envStrings;
    argvStrings.insert(argvStrings.end(), options.arguments.begin(), options.arguments.end());
    for (const auto& [key, value] : options.environment) envStrings.push_back(key + "=" + value);
    std::vector<char*> argv, envp;
    for (auto& s : argvStrings) argv.push_back(s.data());
    for (auto& s : envStrings) envp.push_back(s.data());
    argv.push_back(nullptr);
    envp.push_back(nullptr);
    pid_t pid = ::fork();
    if (pid == 0) {
        ::dup2(in[0], 0);
        ::dup2(out[1], 1);
        ::dup2(err[1], 2);
        for (int fd : {in[0], in[1], out[0], out[1], err[0], err[1]}) ::close(fd);
        ::execve(argv[0], argv.data(), envp.data());
        ::_exit(127);
    }
    ::close(in[0]);
    ::close(out[1]);
    ::close(err[1]);
    int inFd = in[1], outFd = out[0], errFd = err[0];
    if (options.closeOutputEarly) {
        ::close(outFd);
        outFd = -1;
    }

    ProcessResult result;
    size_t written = 0;
    if (options.input.empty()) {
        ::close(inFd);
        inFd = -1;
    } else {
        ::fcntl(inFd, F_SETFL, O_NONBLOCK);
    }
    char buffer[65536];
    while (inFd >= 0 || outFd >= 0 || errFd >= 0) {
        std::vector<pollfd> fds;
        if (inFd >= 0) fds.push_back({inFd, POLLOUT, 0});
        if (outFd >= 0) fds.push_back({outFd, POLLIN, 0});
        if (errFd >= 0) fds.push_back({errFd, POLLIN, 0});
        if (::poll(fds.data(), fds.size(), -1) < 0) {
            if (errno == EINTR) continue;
            break;
        }
        for (const auto& p : fds) {
            if (p.revents == 0) continue;
            if (p.fd == inFd) {
                ssize_t n = ::write(inFd, options.input.data() + written, options.input.size() - written);
                if (n > 0) written += static_cast<size_t>(n);
                if (n < 0 && errno != EAGAIN) written = options.input.size();
                if (written == options.input.size()) {
                    ::close(inFd);
                    inFd = -1;
                }
            } else {
                ssize_t n = ::read(p.fd, buffer, sizeof buffer);
                if (n > 0) {
                    (p.fd == outFd ? result.out : result.err).append(buffer, static_cast<size_t>(n));
                } else if (n == 0 || errno != EINTR) {
                    ::close(p.fd);
                    (p.fd == outFd ? outFd : errFd) = -1;
                }
            }
        }
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    if (WIFEXITED(status)) result.exitStatus = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
    return result;
}

std::optional<std::string> runInChild(const std::function<std::string()>& work, bool unprivileged) {
    int channel[2];
    if (::pipe(channel) != 0) throw std::runtime_error("pipe failed");
    pid_t pid = ::fork();
    if (pid == 0) {
        ::close(channel[0]);
        constexpr uid_t nobody = 65534;
        if (unprivileged && ::geteuid() == 0 &&
            (::setgroups(0, nullptr) != 0 || ::setgid(nobody) != 0 || ::setuid(nobody) != 0))
            ::_exit(3);
        std::string text;
        try {
            text = work();
        } catch (...) {
            ::_exit(4);
        }
        std::string_view rest = text;
        while (!rest.empty()) {
            ssize_t n = ::write(channel[1], rest.data(), rest.size());
            if (n <= 0) ::_exit(5);
            rest.remove_prefix(static_cast<size_t>(n));
        }
        ::_exit(0); // no atexit handlers: they belong to the test runner
    }
    ::close(channel[1]);
    std::string text;
    char buffer[65536];
    while (true) {
        ssize_t n = ::read(channel[0], buffer, sizeof buffer);
        if (n > 0)
            text.append(buffer, static_cast<size_t>(n));
        else if (n == 0 || errno != EINTR)
            break;
    }
    ::close(channel[0]);
    int status = 0;
    ::waitpid(pid, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) return std::nullopt;
    return text;
}

} // namespace zelmor::test
