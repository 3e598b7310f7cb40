#pragma once

#include "camera/base/FileDescriptor.h"

#include <chrono>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace camera::supervisor {

/// How a process ended.
class Exit {
public:
    /// @param status as waitpid() gives it.
    explicit Exit(int status) : _status(status) {}

    /// The exit code; nothing when a signal ended it.
    std::optional<int> code() const;

    /// The signal that ended it; nothing when it ended by itself.
    std::optional<int> signal() const;

    /// "exit code 3" or "signal 9 (Killed)".
    std::string text() const;

private:
    int _status;
};

/// What to start.
struct Program {
    std::vector<std::string> words; ///< the program, looked for along PATH when it has no slash, and its arguments
    std::vector<int> passed = {};   ///< descriptors that it keeps under their numbers
    int errorOutput = -1;           ///< where its stderr goes; -1: where ours goes
};

/**
 * A process that this one started: in a process group of its own, so that Ctrl-C reaches only the
 * process that started it, with no signal blocked, and ended by SIGTERM when the thread that started it ends, however
 * that happens. Thread-bound.
 *
 * The kernel keeps that last promise, for direct children only; their own children must notice the end
 * themselves, for instance by their connection to the bus.
 */
class ChildProcess {
public:
    /// @throws std::runtime_error with one sentence that names the program and why it cannot be started.
    explicit ChildProcess(const Program& program);

    /// Kills and collects it if it still runs.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t pid() const { return _pid; }

    /// Readable, for poll(), once the process has ended.
    int descriptor() const { return _descriptor.get(); }

    /// How it ended; nothing while it runs.
    std::optional<Exit> exit();

    /// As exit(), after waiting no longer than until the deadline.
    std::optional<Exit> waitUntil(std::chrono::steady_clock::time_point deadline);

    /// Nothing happens when it has ended.
    void signal(int number);

private:
    pid_t _pid = -1;
    base::FileDescriptor _descriptor;
    std::optional<Exit> _exit;
};

/// What is left until the deadline as poll() takes it, rounded up, at least 0, at most a minute.
int pollTimeout(std::chrono::steady_clock::time_point deadline);

} // namespace camera::supervisor
