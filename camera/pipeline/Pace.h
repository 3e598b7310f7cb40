#pragma once

#include "camera/base/StopSignal.h"

#include <chrono>
#include <cstdint>

namespace camera::pipeline {

/// Delivers frames no earlier than their times say, from the first one on.
class Pace {
public:
    Pace(bool real, const base::StopSignal& stop) : _real(real), _stop(stop) {}

    void waitFor(std::int64_t nanoseconds)
    {
        if (!_real) {
            return;
        }
        if (_first < 0) {
            _first = nanoseconds;
            _start = std::chrono::steady_clock::now();
        }
        _stop.waitUntil(_start + std::chrono::nanoseconds(nanoseconds - _first));
    }

private:
    bool _real;
    const base::StopSignal& _stop;
    std::int64_t _first = -1;
    std::chrono::steady_clock::time_point _start;
};

} // namespace camera::pipeline
