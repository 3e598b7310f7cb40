#pragma once

#include <algorithm>
#include <chrono>

namespace camera::supervisor {

/// How long to wait before a process that died is started again: not at all, then ever longer. Reentrant.
class BackOff {
public:
    static constexpr std::chrono::milliseconds kFirst{100};
    static constexpr std::chrono::milliseconds kLongest{5000};
    /// A process that lived as long counts as healthy: it begins anew.
    static constexpr std::chrono::seconds kHealthy{10};

    /// The pause after a process that lived so long.
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
