#include "Background.h"

#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace camera::system_tests {

namespace {

constexpr int kLookMs = 10;

[[noreturn]] void become(std::vector<char*>& words, const std::string& out, const std::string& err)
{
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    const int output = open(out.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    const int errors = err.empty() ? output : open(err.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    dup2(open("/dev/null", O_RDONLY), STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    dup2(errors, STDERR_FILENO);
    execvp(words[0], words.data());
    _exit(127);
}

} // namespace

bool eventually(const std::function<bool()>& condition)
{
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= end) {
            return false;
        }
        poll(nullptr, 0, kLookMs); // leaves the processor to those that are waited for
    }
    return true;
}

Background::Background(const Words& words, const std::string& out, const std::string& err)
{
    std::vector<std::string> copies = words;
    std::vector<char*> pointers;
    for (std::string& word : copies) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    _id = fork();
    if (_id == 0) {
        become(pointers, out, err);
    }
    if (_id < 0) {
        throw std::runtime_error("no process");
    }
}

Background::~Background()
{
    signal(SIGTERM);
    if (!exitCode()) {
        signal(SIGKILL);
        collect(0);
    }
}

void Background::collect(int options)
{
    int status = 0;
    if (!_code && waitpid(_id, &status, options) == _id) {
        _code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
}

bool Background::runs()
{
    collect(WNOHANG);
    return !_code;
}

void Background::signal(int number) const
{
    if (!_code) {
        kill(_id, number);
    }
}

std::optional<int> Background::exitCode()
{
    eventually([this] { return !runs(); });
    return _code;
}

} // namespace camera::system_tests
