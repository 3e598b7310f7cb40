#pragma once

#include "camera/supervisor/BackOff.h"
#include "camera/supervisor/ChildProcess.h"
#include "camera/supervisor/Clock.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace camera::supervisor {

/// The status of a supervised process.
struct ProcessStatus {
    std::string name;
    pid_t pid = 0; ///< 0: it does not run at the moment
    unsigned int restarts = 0;
    std::int64_t since = 0; ///< seconds since 1970 of its last start; 0: never
    std::string lastExit;   ///< empty: it never ended
};

/// The status of the camera's processes.
struct SupervisorStatus {
    std::string state;              ///< the state folder
    std::string address;            ///< of the bus
    std::vector<std::string> onvif; ///< where ONVIF clients begin; empty: there is no gateway
    std::vector<ProcessStatus> processes;
};

/// One of the camera's processes: runs, or waits for its next start, or does neither. Thread-bound.
class SupervisedProcess {
public:
    using Start = std::function<std::unique_ptr<ChildProcess>()>;

    SupervisedProcess(std::string name, Start start, Clock& clock);

    /// @throws std::runtime_error as the start function does; the process does not run then.
    void start();

    const std::string& name() const { return _status.name; }
    const ProcessStatus& status() const { return _status; }
    pid_t lastPid() const { return _lastPid; } ///< also after its end
    bool runs() const { return _process != nullptr; }
    bool startedOnce() const { return _starts == 1; }

    /// For poll(); only while it runs.
    int descriptor() const { return _process->descriptor(); }

    void signal(int number);

    /// Tells it to end, once in its life: a program that is ending in its order dies at once of a second SIGTERM.
    void tellToEnd();

    /// How it ended, once after each end; it does not run then.
    std::optional<Exit> takeExit();

    /// Plans its next start and says how long it is until then.
    std::chrono::milliseconds planStart();

    /// Plans none.
    void cancelStart() { _due.reset(); }

    /// When it is to be started; nothing: not planned.
    std::optional<Clock::TimePoint> due() const { return _due; }

private:
    Start _start;
    Clock& _clock;
    BackOff _backOff;
    std::unique_ptr<ChildProcess> _process;
    std::optional<Clock::TimePoint> _due;
    Clock::TimePoint _startedAt;
    unsigned int _starts = 0;
    bool _toldToEnd = false;
    pid_t _lastPid = 0;
    ProcessStatus _status;
};

} // namespace camera::supervisor
