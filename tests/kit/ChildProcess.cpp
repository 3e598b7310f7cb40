// One thread per process reads both outputs and waits for the end by a descriptor of the process, so that a full pipe
// never stops the process and nobody looks at it again and again. It stops with the process, not with the pipes:
// something that the process left behind may hold those for ever.

#include "kit/ChildProcess.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace kit {

namespace {

struct Ends {
    int read = -1;
    int write = -1;
};

Ends openPipe()
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    return {ends[0], ends[1]};
}

Ends openTerminal()
{
    Ends ends;
    winsize size{};
    size.ws_row = 24;
    size.ws_col = 80;
    if (::openpty(&ends.read, &ends.write, nullptr, nullptr, &size) != 0) {
        throw std::runtime_error("no terminal");
    }
    ::fcntl(ends.read, F_SETFD, FD_CLOEXEC);
    ::fcntl(ends.write, F_SETFD, FD_CLOEXEC);
    return ends;
}

Ends openFile(const std::string& file)
{
    return {-1, ::open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600)};
}

Ends openOutput(const ChildSettings& settings)
{
    if (!settings.outFile.empty()) {
        return openFile(settings.outFile);
    }
    Ends ends = settings.terminal ? openTerminal() : openPipe();
    if (settings.closeOutput) {
        ::close(std::exchange(ends.read, -1));
    }
    return ends;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts)
{
    std::vector<char*> pointers;
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

[[noreturn]] void become(char* const* words, char* const* environment, int out, int err, const ChildSettings& settings)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (const int number : {SIGINT, SIGQUIT, SIGHUP}) { // tests in the background of a script ignore them
        ::signal(number, SIG_DFL);
    }
    ::dup2(::open("/dev/null", O_RDONLY), STDIN_FILENO);
    ::dup2(out, STDOUT_FILENO);
    ::dup2(err, STDERR_FILENO);
    if (settings.fileSizeLimit >= 0) {
        const auto bytes = static_cast<rlim_t>(settings.fileSizeLimit);
        const rlimit limit = {bytes, bytes};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ::execvpe(words[0], words, environment);
    ::_exit(127);
}

std::vector<std::string> environmentWith(const std::vector<std::string>& more)
{
    std::vector<std::string> all = more;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        const std::string text = *variable;
        const std::string name = text.substr(0, text.find('=') + 1);
        const bool replaced = std::any_of(more.begin(), more.end(), [&](const std::string& given) {
            return given.compare(0, name.size(), name) == 0;
        });
        if (!replaced) {
            all.push_back(text);
        }
    }
    return all;
}

/// Reads what is there; closes the descriptor at its end. A terminal whose other side is gone answers with an error.
void take(int& descriptor, std::string& text)
{
    char buffer[4096];
    const ssize_t count = ::read(descriptor, buffer, sizeof buffer);
    if (count > 0) {
        text.append(buffer, static_cast<std::size_t>(count));
    } else if (count == 0 || errno != EINTR) {
        ::close(std::exchange(descriptor, -1));
    }
}

} // namespace

bool hasTerminals()
{
    int main = -1;
    int side = -1;
    if (::openpty(&main, &side, nullptr, nullptr, nullptr) != 0) {
        return false;
    }
    ::close(main);
    ::close(side);
    return true;
}

ChildProcess::ChildProcess(const std::vector<std::string>& words, const ChildSettings& settings)
{
    std::vector<std::string> copies = words;
    std::vector<std::string> variables = environmentWith(settings.environment);
    const std::vector<char*> pointers = pointersTo(copies);
    const std::vector<char*> environment = pointersTo(variables);
    const Ends out = openOutput(settings);
    const Ends err = settings.joined            ? Ends{-1, out.write}
                     : settings.errFile.empty() ? openPipe()
                                                : openFile(settings.errFile);
    _id = ::fork();
    if (_id == 0) {
        become(pointers.data(), environment.data(), out.write, err.write, settings);
    }
    ::close(out.write);
    if (!settings.joined) {
        ::close(err.write);
    }
    const int ended = _id < 0 ? -1 : static_cast<int>(::syscall(SYS_pidfd_open, _id, 0));
    if (ended < 0) {
        throw std::runtime_error("no process");
    }
    _collector = std::thread([this, out, err, ended] { collect(out.read, err.read, ended); });
}

ChildProcess::~ChildProcess()
{
    end();
    _collector.join();
}

void ChildProcess::collect(int out, int err, int ended)
{
    for (bool running = true; running;) {
        pollfd waiting[] = {{out, POLLIN, 0}, {err, POLLIN, 0}, {ended, POLLIN, 0}};
        ::poll(waiting, std::size(waiting), -1);
        const bool readsOut = waiting[0].revents != 0;
        const bool readsErr = waiting[1].revents != 0;
        const std::lock_guard<std::mutex> lock(_mutex);
        if (readsOut) {
            take(out, _out);
        }
        if (readsErr) {
            take(err, _err);
        }
        if (!readsOut && !readsErr && waiting[2].revents != 0) {
            int status = 0;
            ::waitpid(_id, &status, 0);
            _code = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
            running = false;
        }
        _changed.notify_all();
    }
    for (const int descriptor : {out, err, ended}) {
        if (descriptor >= 0) {
            ::close(descriptor);
        }
    }
}

std::optional<int> ChildProcess::exitCode() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _code;
}

void ChildProcess::signal(int number) const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    if (!_code) {
        ::kill(_id, number);
    }
}

void ChildProcess::stop() const
{
    signal(SIGSTOP);
    siginfo_t stopped{};
    ::waitid(P_PID, static_cast<id_t>(_id), &stopped, WSTOPPED | WNOWAIT);
}

void ChildProcess::crash()
{
    signal(SIGKILL);
    waitForEnd();
}

std::optional<int> ChildProcess::end(int number)
{
    signal(SIGCONT);
    signal(number);
    const std::optional<int> code = waitForEnd(kPatience / 2);
    if (!code) {
        crash();
    }
    return code;
}

std::optional<int> ChildProcess::waitForEnd(std::chrono::seconds patience) const
{
    std::unique_lock<std::mutex> lock(_mutex);
    _changed.wait_for(lock, patience, [this] { return _code.has_value(); });
    return _code;
}

Finished ChildProcess::finish(std::chrono::seconds patience)
{
    if (!waitForEnd(patience)) {
        crash();
    }
    const std::lock_guard<std::mutex> lock(_mutex);
    return {_code.value_or(-SIGKILL), _out, _err};
}

std::string ChildProcess::out() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _out;
}

std::string ChildProcess::err() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _err;
}

bool ChildProcess::waitForOutput(const std::string& text) const
{
    std::unique_lock<std::mutex> lock(_mutex);
    const auto holds = [&] { return _out.find(text) != std::string::npos; };
    _changed.wait_for(lock, kPatience, [&] { return holds() || _code.has_value(); });
    return holds();
}

Finished run(const std::vector<std::string>& words, const ChildSettings& settings, std::chrono::seconds patience)
{
    return ChildProcess(words, settings).finish(patience);
}

} // namespace kit
