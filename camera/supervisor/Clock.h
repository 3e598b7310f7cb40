#pragma once

#include <chrono>

namespace camera::supervisor {

/// The time by which pauses before restarts are measured; a test's passes as it likes.
class Clock {
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    virtual ~Clock() = default;
    virtual TimePoint now() { return std::chrono::steady_clock::now(); }

    /// How long somebody who has nothing to do until then may sleep; negative or 0: it is that late already.
    virtual std::chrono::nanoseconds sleepUntil(TimePoint due) { return due - now(); }
};

} // namespace camera::supervisor
