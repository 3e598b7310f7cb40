#pragma once

#include "camera/video/Timestamp.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>

namespace camera::video {

/// What tells a source the time and lets it wait; tests set their own.
struct SourceClock {
    std::function<std::int64_t()> wall = wallClockNanoseconds; ///< nanoseconds since 1970
    std::function<std::int64_t()> steady = steadyNanoseconds;  ///< from anywhere
    /// May return earlier, as when the run is stopped.
    std::function<void(std::chrono::seconds)> wait = [](std::chrono::seconds time) {
        std::this_thread::sleep_for(time);
    };
};

/**
 * Finds out that the clock was set while a source was running. Forward it is followed; when it was set back the times
 * of the frames, which only grow, stay ahead of it until the next run. Each is told once. Thread-bound.
 */
class ClockSteps {
public:
    using Tell = std::function<void(const std::string& sentence)>;

    ClockSteps(SourceClock clock, Tell tell);

    /// By how many nanoseconds a source that begins again has to be later, because the clock was set; 0 most of the
    /// time.
    std::int64_t take();

private:
    std::int64_t offset() const { return _clock.wall() - _clock.steady(); }

    const SourceClock _clock;
    const Tell _tell;
    std::int64_t _offset; ///< of the wall clock from the steady one, as far as it was followed
    bool _toldForward = false;
    bool _toldBack = false;
};

} // namespace camera::video
