#pragma once

#include "camera/base/StopSignal.h"

#include <chrono>
#include <cstdint>
#include <optional>

namespace camera::pipeline {

/// Lets a live run have its frames no earlier than their times say, counted from the first one.
class FramePacer {
public:
    explicit FramePacer(const base::StopSignal& stop) : _stop(stop) {}

    /// Returns when a frame of this time is due, or at once when a signal comes.
    void waitUntilDue(std::int64_t nanoseconds)
    {
        using Clock = std::chrono::steady_clock;
        const std::chrono::nanoseconds time(nanoseconds);
        if (!_start) {
            _start = Clock::now() - time;
        }
        _stop.waitUntil(*_start + time);
    }

    /// The next frames' times are so much later because a clock was set: they are due when they were before.
    void timesStepped(std::int64_t nanoseconds)
    {
        if (_start) {
            *_start -= std::chrono::nanoseconds(nanoseconds);
        }
    }

private:
    const base::StopSignal& _stop;
    std::optional<std::chrono::steady_clock::time_point> _start; ///< when a frame of the time 0 would have been due
};

} // namespace camera::pipeline
