#include "Program.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace camera::system_tests {

namespace {

// Far more than any of these runs takes: it ends a process that hangs, it measures nothing.
constexpr std::chrono::minutes kDeadline(5);

struct Ends {
    int read = -1;
    int write = -1;
};

Ends openPipe()
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    return {ends[0], ends[1]};
}

Ends openTerminal()
{
    int master = -1;
    int slave = -1;
    winsize size{};
    size.ws_row = 24;
    size.ws_col = 80;
    if (openpty(&master, &slave, nullptr, nullptr, &size) != 0) {
        throw std::runtime_error("no terminal");
    }
    fcntl(master, F_SETFD, FD_CLOEXEC);
    fcntl(slave, F_SETFD, FD_CLOEXEC);
    return {master, slave};
}

[[noreturn]] void become(std::vector<char*>& words, int out, int err, const ProgramSettings& settings)
{
    dup2(open("/dev/null", O_RDONLY), STDIN_FILENO);
    dup2(out, STDOUT_FILENO);
    dup2(err, STDERR_FILENO);
    if (settings.fileSizeLimit >= 0) {
        const auto bytes = static_cast<rlim_t>(settings.fileSizeLimit);
        const rlimit limit = {bytes, bytes};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    if (!settings.preload.empty()) {
        setenv("LD_PRELOAD", settings.preload.c_str(), 1);
    }
    execvp(words[0], words.data());
    _exit(127);
}

} // namespace

Program::Program(const Words& words, const Settings& settings) : deadline(std::chrono::steady_clock::now() + kDeadline)
{
    std::vector<std::string> copies = words;
    std::vector<char*> pointers;
    for (std::string& word : copies) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);

    Ends out = settings.terminal ? openTerminal() : openPipe();
    if (!settings.outFile.empty()) {
        close(out.write);
        out.write = open(settings.outFile.c_str(), O_WRONLY | O_CLOEXEC);
    }
    const Ends err = openPipe();
    child = fork();
    if (child == 0) {
        become(pointers, out.write, err.write, settings);
    }
    close(out.write);
    close(err.write);
    outEnd = out.read;
    errEnd = err.read;
    if (settings.closeOutput) {
        close(std::exchange(outEnd, -1));
    }
}

Program::~Program()
{
    if (child > 0) {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }
    close(outEnd);
    close(errEnd);
}

void Program::take(int& descriptor, std::string& text)
{
    char buffer[4096];
    const ssize_t count = read(descriptor, buffer, sizeof buffer);
    if (count > 0) {
        text.append(buffer, static_cast<std::size_t>(count));
    } else if (count == 0 || errno != EINTR) { // a terminal whose other side is gone answers with an error
        close(descriptor);
        descriptor = -1;
    }
}

// Takes what there is; false when both ends are closed.
bool Program::pump()
{
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    pollfd waiting[2] = {{outEnd, POLLIN, 0}, {errEnd, POLLIN, 0}};
    if (left.count() <= 0 || poll(waiting, 2, static_cast<int>(left.count())) == 0) {
        kill(child, SIGKILL);
        return false;
    }
    if (waiting[0].revents != 0) {
        take(outEnd, collected.out);
    }
    if (waiting[1].revents != 0) {
        take(errEnd, collected.err);
    }
    return outEnd >= 0 || errEnd >= 0;
}

bool Program::waitForOutput(const std::string& text)
{
    while (collected.out.find(text) == std::string::npos) {
        if (!pump()) {
            return collected.out.find(text) != std::string::npos;
        }
    }
    return true;
}

void Program::signal(int number) const
{
    kill(child, number);
}

Finished Program::wait()
{
    while (pump()) {
    }
    int status = 0;
    waitpid(child, &status, 0);
    child = -1;
    collected.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return collected;
}

Words cameraWords(const Words& arguments)
{
    Words words = {CAMERA_PROGRAM};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return words;
}

Finished camera(const Words& arguments, const Program::Settings& settings)
{
    return Program(cameraWords(arguments), settings).wait();
}

Finished run(const Words& words)
{
    return Program(words).wait();
}

} // namespace camera::system_tests
