#pragma once

#include <cstdint>
#include <limits>

namespace korva::meridan {

/// value without its fraction, as an unsigned 32-bit integer: 0 below the range and for a NaN, the
/// largest value above it, on every architecture.
inline std::uint32_t toUnsigned(double value)
{
    constexpr double kLargest = std::numeric_limits<std::uint32_t>::max();
    if (!(value > 0.0)) {
        return 0;
    }
    return value >= kLargest ? std::numeric_limits<std::uint32_t>::max() : static_cast<std::uint32_t>(value);
}

} // namespace korva::meridan
