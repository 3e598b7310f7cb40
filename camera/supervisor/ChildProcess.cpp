#include "camera/supervisor/ChildProcess.h"

#include "camera/base/Contained.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>

namespace camera::supervisor {

namespace {

[[noreturn]] void refuse(const std::string& program, int reason)
{
    const std::string advice = reason == ENOENT   ? "install it, or build it beside this program"
                               : reason == EAGAIN ? base::kTaskLimitAdvice
                                                  : "make it a program that can be run";
    throw std::runtime_error("cannot start '" + program + "': " + std::strerror(reason) + "; " + advice);
}

void keepAfterExec(int descriptor)
{
    ::fcntl(descriptor, F_SETFD, ::fcntl(descriptor, F_GETFD) & ~FD_CLOEXEC);
}

// In the child, between fork and exec: only calls that a signal handler may make.
[[noreturn]] void become(const Program& program, char* const* words, pid_t parent, int failure)
{
    ::setpgid(0, 0);
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    // A parent that ended before the line above would never be noticed.
    if (::getppid() != parent) {
        ::_exit(1);
    }
    // No longer the terminal's foreground group: with "stty tostop" its output would stop it.
    struct sigaction ignored {};
    ignored.sa_handler = SIG_IGN;
    ::sigaction(SIGTTOU, &ignored, nullptr);
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    if (program.errorOutput >= 0) {
        ::dup2(program.errorOutput, STDERR_FILENO);
    }
    for (const int descriptor : program.passed) {
        keepAfterExec(descriptor);
    }
    ::execvp(words[0], words);
    const int reason = errno;
    [[maybe_unused]] const ssize_t written = ::write(failure, &reason, sizeof reason);
    ::_exit(127);
}

// 0, or why the exec failed: the pipe closes with a successful one.
int execFailure(int descriptor)
{
    int reason = 0;
    ssize_t length = 0;
    do {
        length = ::read(descriptor, &reason, sizeof reason);
    } while (length < 0 && errno == EINTR);
    return length == static_cast<ssize_t>(sizeof reason) ? reason : 0;
}

} // namespace

std::optional<int> Exit::code() const
{
    return WIFEXITED(_status) ? std::optional<int>(WEXITSTATUS(_status)) : std::nullopt;
}

std::optional<int> Exit::signal() const
{
    return WIFSIGNALED(_status) ? std::optional<int>(WTERMSIG(_status)) : std::nullopt;
}

std::string Exit::text() const
{
    if (const std::optional<int> number = code()) {
        return "exit code " + std::to_string(*number);
    }
    const int number = WTERMSIG(_status);
    const char* name = ::sigdescr_np(number);
    return "signal " + std::to_string(number) + (name != nullptr ? " (" + std::string(name) + ")" : "");
}

ChildProcess::ChildProcess(const Program& program)
{
    std::vector<char*> words;
    for (const std::string& word : program.words) {
        words.push_back(const_cast<char*>(word.c_str()));
    }
    words.push_back(nullptr);
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        refuse(program.words.front(), errno);
    }
    const base::FileDescriptor reader(ends[0]);
    base::FileDescriptor writer(ends[1]);
    const pid_t parent = ::getpid();
    _pid = ::fork();
    if (_pid == 0) {
        become(program, words.data(), parent, writer.get());
    }
    if (_pid < 0) {
        refuse(program.words.front(), errno);
    }
    ::setpgid(_pid, _pid); // parent and child both do it: the first one wins
    writer.reset();
    if (const int reason = execFailure(reader.get()); reason != 0) {
        ::waitpid(_pid, nullptr, 0);
        refuse(program.words.front(), reason);
    }
    // The C library's wrapper cannot be linked from C++ everywhere.
    _descriptor = base::FileDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, _pid, 0)));
    if (!_descriptor) {
        const int reason = errno;
        ::kill(_pid, SIGKILL);
        ::waitpid(_pid, nullptr, 0);
        refuse(program.words.front(), reason);
    }
}

ChildProcess::~ChildProcess()
{
    signal(SIGKILL);
    if (!_exit) {
        ::waitpid(_pid, nullptr, 0);
    }
}

std::optional<Exit> ChildProcess::exit()
{
    int status = 0;
    if (!_exit && ::waitpid(_pid, &status, WNOHANG) == _pid) {
        _exit = Exit(status);
    }
    return _exit;
}

std::optional<Exit> ChildProcess::waitUntil(std::chrono::steady_clock::time_point deadline)
{
    while (!exit() && std::chrono::steady_clock::now() < deadline) {
        pollfd ended{descriptor(), POLLIN, 0};
        ::poll(&ended, 1, pollTimeout(deadline));
    }
    return exit();
}

void ChildProcess::signal(int number)
{
    // Not collected yet, so the number is still this process' own.
    if (!_exit) {
        ::kill(_pid, number);
    }
}

int pollTimeout(std::chrono::steady_clock::time_point deadline)
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    return static_cast<int>(std::clamp<std::chrono::milliseconds::rep>(left.count(), 0, 60000));
}

} // namespace camera::supervisor
