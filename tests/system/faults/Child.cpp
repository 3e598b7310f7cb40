#include "Child.h"

#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <poll.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace camera::fault_tests {

namespace {

constexpr int kLookMs = 5;

// Leaves the processor to those that are waited for.
void yieldProcessor()
{
    poll(nullptr, 0, kLookMs);
}

[[noreturn]] void become(std::vector<char*>& words, const std::string& output, int onDeath)
{
    prctl(PR_SET_PDEATHSIG, onDeath);
    const int file = open(output.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    dup2(open("/dev/null", O_RDONLY), STDIN_FILENO);
    dup2(file, STDOUT_FILENO);
    dup2(file, STDERR_FILENO);
    execvp(words[0], words.data());
    _exit(127);
}

} // namespace

bool eventually(const std::function<bool()>& condition)
{
    const auto end = Clock::now() + kPatience;
    while (!condition()) {
        if (Clock::now() >= end) {
            return false;
        }
        yieldProcessor();
    }
    return true;
}

Child::Child(const Words& words, const std::string& output, int onDeath) : _output(output)
{
    std::vector<std::string> copies = words;
    std::vector<char*> pointers;
    for (std::string& word : copies) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    _id = fork();
    if (_id == 0) {
        become(pointers, output, onDeath);
    }
    if (_id < 0) {
        throw std::runtime_error("no process");
    }
}

Child::~Child()
{
    end();
}

bool Child::runs()
{
    int status = 0;
    if (!_code && waitpid(_id, &status, WNOHANG) == _id) {
        _code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    return !_code;
}

void Child::signal(int number) const
{
    if (!_code) {
        kill(_id, number);
    }
}

void Child::crash()
{
    signal(SIGKILL);
    waitUntil(Clock::now() + kPatience);
}

bool Child::waitUntil(Clock::time_point deadline)
{
    while (runs() && Clock::now() < deadline) {
        yieldProcessor();
    }
    return !runs();
}

std::optional<int> Child::end(int number)
{
    signal(SIGCONT);
    signal(number);
    if (!waitUntil(Clock::now() + std::chrono::seconds(30))) {
        crash();
        return std::nullopt;
    }
    return _code;
}

std::string Child::output() const
{
    return contentOf(_output);
}

std::string contentOf(const std::string& file)
{
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::size_t occurrences(const std::string& text, const std::string& part)
{
    std::size_t found = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size())) {
        ++found;
    }
    return found;
}

} // namespace camera::fault_tests
