#pragma once

#include "kit/Eventually.h"

#include <condition_variable>
#include <csignal>
#include <mutex>
#include <optional>
#include <string>
#include <sys/types.h>
#include <thread>
#include <vector>

namespace kit {

struct ChildSettings {
    std::vector<std::string> environment; ///< "NAME=value", beside what the test has
    long fileSizeLimit = -1;              ///< no file of the process grows beyond; -1: none
    bool terminal = false;                ///< standard output is a terminal
    bool joined = false;                  ///< standard error goes where standard output goes
    bool closeOutput = false;             ///< nobody reads standard output
    std::string outFile;                  ///< standard output is appended to it instead of being collected
    std::string errFile;                  ///< and standard error to this one
};

/// Settings of a process whose standard error goes where standard output goes: into a file when one is named.
inline ChildSettings bothOutputs(const std::string& outFile = "")
{
    ChildSettings settings;
    settings.joined = true;
    settings.outFile = outFile;
    return settings;
}

/// Whether this system gives terminals: a plain container may have no /dev/pts.
bool hasTerminals();

/// What a process left that has ended.
struct Finished {
    int exitCode = 0; ///< or minus the signal that ended it
    std::string out;
    std::string err;
};

/// A process beside the test. What it prints is collected while it runs. It never outlives the object: the destructor
/// asks it to end and kills it when it does not. Thread-bound, but for the signals of a process to itself.
class ChildProcess {
public:
    explicit ChildProcess(const std::vector<std::string>& words, const ChildSettings& settings = {});
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t id() const { return _id; }
    bool runs() const { return !exitCode(); }
    /// The exit code, or minus the signal; nothing while it runs.
    std::optional<int> exitCode() const;

    void signal(int number) const;

    /// Stops a process that runs, until it gets SIGCONT. Afterwards it does nothing more: after the signal alone it may
    /// still answer.
    void stop() const;
    /// Ends it as a crash would, and returns when it is gone.
    void crash();
    /// Asks it to end. Nothing when the patience ended before; then it was killed.
    std::optional<int> end(int number = SIGTERM);
    /// Waits for an end that comes by itself; nothing when the patience ended before.
    std::optional<int> waitForEnd(std::chrono::seconds patience = kPatience) const;
    /// Waits for its end, or kills it when the patience ends.
    Finished finish(std::chrono::seconds patience = kPatience);

    std::string out() const;
    std::string err() const;
    /// Whether standard output held the text before the process ended or the patience did.
    bool waitForOutput(const std::string& text) const;

private:
    void collect(int out, int err, int ended);

    pid_t _id = -1;
    mutable std::mutex _mutex;
    mutable std::condition_variable _changed;
    std::optional<int> _code;
    std::string _out;
    std::string _err;
    std::thread _collector;
};

/// Runs a program to its end, or kills it when the patience ends.
Finished run(const std::vector<std::string>& words, const ChildSettings& settings = {},
             std::chrono::seconds patience = kPatience);

} // namespace kit
