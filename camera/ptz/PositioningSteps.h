#pragma once

#include <chrono>
#include <cstdint>

namespace camera::ptz {

/// A unit's time passes in steps of this length.
constexpr std::chrono::milliseconds kStep{5};
constexpr double kStepSeconds = 0.005;

/// Rounded up.
inline std::int64_t stepsOf(std::chrono::milliseconds time)
{
    return (time.count() + kStep.count() - 1) / kStep.count();
}

} // namespace camera::ptz
