#pragma once

#include <chrono>

namespace camera::supervisor {

/// Measures the pauses before restarts; a test replaces it by a clock that it moves itself.
class Clock {
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    virtual ~Clock() = default;
    virtual TimePoint now() { return std::chrono::steady_clock::now(); }

    /// How long to sleep until then; 0 or negative when that time has passed.
    virtual std::chrono::nanoseconds sleepUntil(TimePoint due) { return due - now(); }
};

} // namespace camera::supervisor
