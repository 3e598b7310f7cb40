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

/// What others may know about a supervised process.
struct PartStatus {
    std::string name;
    pid_t pid = 0; ///< 0: it does not run at the moment
    unsigned int restarts = 0;
    std::int64_t since = 0; ///< seconds since 1970 of its last start; 0: never
    std::string lastExit;   ///< empty: it never ended
};

/// What others may know about the whole.
struct SupervisorStatus {
    std::string state;   ///< the state folder
    std::string address; ///< of the bus
    std::vector<PartStatus> processes;
};

/// One of the camera's processes: runs, or waits for its next start, or does neither. Thread-bound.
class Part {
public:
    /// @param first  whether this is the part's first start: later ones may need other arguments.
    using Start = std::function<std::unique_ptr<ChildProcess>(bool first)>;

    Part(std::string name, Start start, Clock& clock);

    /// @throws std::runtime_error as the function given; the part does not run then.
    void start();

    const std::string& name() const { return _status.name; }
    const PartStatus& status() const { return _status; }
    bool runs() const { return _process != nullptr; }
    bool startedOnce() const { return _starts == 1; }

    /// For poll(); only while it runs.
    int descriptor() const { return _process->descriptor(); }

    void signal(int number);

    /// How it ended, if that is news; it does not run then.
    std::optional<Exit> takeExit();

    /// Plans its next start and says how long it is until then.
    std::chrono::milliseconds planStart();

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
    PartStatus _status;
};

} // namespace camera::supervisor
