#pragma once

#include "camera/video/Frame.h"

#include <cstdint>

namespace camera::video {

/// Nanoseconds since 1970 of the wall clock.
std::int64_t wallClockNanoseconds();

/// Of a clock that is never set, in nanoseconds from anywhere.
std::int64_t steadyNanoseconds();

/// Writes a time as the two words that frames carry; times before 1970 become 0.
void stamp(Frame& frame, std::int64_t nanosecondsSince1970);

/// The inverse of stamp().
std::int64_t nanosecondsOf(const Frame& frame);

} // namespace camera::video
