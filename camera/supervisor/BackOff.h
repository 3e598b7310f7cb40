#pragma once

#include <algorithm>
#include <chrono>

namespace camera::supervisor {

/// How long to wait before a process that died is started again: at first not at all, then longer each time. Reentrant.
class BackOff {
public:
    static constexpr std::chrono::milliseconds kFirst{100};
    static constexpr std::chrono::milliseconds kLongest{5000};
    /// A process that lived this long was healthy: the next pause is 0 again.
    static constexpr std::chrono::seconds kHealthy{10};

    /// The pause after a process that lived for that time.
    std::chrono::milliseconds pauseAfter(std::chrono::nanoseconds life)
    {
        if (life >= kHealthy) {
            _next = std::chrono::milliseconds(0);
        }
        const std::chrono::milliseconds pause = _next;
        _next = std::clamp(_next * 2, kFirst, kLongest);
        return pause;
    }

private:
    std::chrono::milliseconds _next{0};
};

} // namespace camera::supervisor
