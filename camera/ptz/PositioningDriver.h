#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace camera::ptz {

class PositioningUnit;

/// Lets a unit's time pass as the steady clock does, on a thread of its own. The unit is borrowed.
class PositioningDriver {
public:
    explicit PositioningDriver(PositioningUnit& unit);

    /// Ends the thread and waits for it.
    ~PositioningDriver();
    PositioningDriver(const PositioningDriver&) = delete;
    PositioningDriver& operator=(const PositioningDriver&) = delete;

private:
    void run();

    PositioningUnit& _unit;
    std::mutex _mutex;
    std::condition_variable _wake;
    bool _stop = false;
    std::thread _thread;
};

} // namespace camera::ptz
