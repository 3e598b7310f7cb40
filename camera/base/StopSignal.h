#pragma once

#include <atomic>
#include <chrono>

namespace camera::base {

/**
 * The signals that end a program (SIGINT, SIGTERM, SIGHUP) as a flag. A second signal ends the process at once.
 * One object at a time.
 */
class StopSignal {
public:
    StopSignal();
    ~StopSignal();
    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;

    bool stopped() const;

    /// Becomes true with the signal; valid as long as this object.
    const std::atomic<bool>& flag() const;

    /// Returns at that time, or at once when a signal comes.
    void waitUntil(std::chrono::steady_clock::time_point time) const;
};

} // namespace camera::base
