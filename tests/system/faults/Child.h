#pragma once

#include <chrono>
#include <csignal>
#include <functional>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace camera::fault_tests {

using Words = std::vector<std::string>;
using Clock = std::chrono::steady_clock;

// Far more than anything here takes: it ends what hangs, it measures nothing.
inline constexpr std::chrono::seconds kPatience(60);

/// Whether the condition came true before the patience ended.
bool eventually(const std::function<bool()>& condition);

/// A process beside the test, both of whose outputs are appended to one file. It never outlives the object, nor the
/// test's own process.
class Child {
public:
    /// @param onDeath  what the process gets when the test's process dies: SIGTERM for one that has children.
    Child(const Words& words, const std::string& output, int onDeath);
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    pid_t id() const { return _id; }
    bool runs();
    void signal(int number) const;

    /// Ends it as a crash would, and returns when it is gone.
    void crash();

    /// Asks it to end. Its exit code, -1 for a signal; nothing when it did not end in time, and it is killed.
    std::optional<int> end(int number = SIGTERM);

    std::string output() const;

private:
    bool waitUntil(Clock::time_point deadline);

    std::string _output;
    pid_t _id = -1;
    std::optional<int> _code;
};

/// The whole of a file; empty when there is none.
std::string contentOf(const std::string& file);

/// How often a text stands in another.
std::size_t occurrences(const std::string& text, const std::string& part);

} // namespace camera::fault_tests
