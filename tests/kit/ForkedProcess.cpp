#include "kit/ForkedProcess.h"

#include <csignal>
#include <exception>
#include <fcntl.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kit {

namespace {

constexpr int kThrew = 125;

[[noreturn]] void perform(const std::function<void()>& action, int ready)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    try {
        action();
    } catch (...) {
        ::_exit(kThrew); // nothing of the test's runs twice
    }
    [[maybe_unused]] const ssize_t told = ::write(ready, "x", 1);
    for (;;) {
        ::pause();
    }
}

} // namespace

ForkedProcess::ForkedProcess(const std::function<void()>& action)
{
    int ready[2];
    if (::pipe2(ready, O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    _id = ::fork();
    if (_id == 0) {
        perform(action, ready[1]);
    }
    ::close(ready[1]);
    char byte = 0;
    [[maybe_unused]] const ssize_t heard = ::read(ready[0], &byte, 1);
    ::close(ready[0]);
    if (_id < 0) {
        throw std::runtime_error("no process");
    }
}

void ForkedProcess::crash()
{
    if (!_ended) {
        ::kill(_id, SIGKILL);
        wait();
    }
}

int ForkedProcess::wait()
{
    int status = 0;
    ::waitpid(_id, &status, 0);
    _ended = true;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

} // namespace kit
