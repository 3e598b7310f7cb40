#include "camera/video/Timestamp.h"

#include <algorithm>
#include <chrono>

namespace camera::video {

namespace {

constexpr std::int64_t kNanosecondsPerSecond = 1000000000;

} // namespace

std::int64_t wallClockNanoseconds()
{
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(sinceEpoch).count();
}

std::int64_t steadyNanoseconds()
{
    const auto time = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(time).count();
}

void stamp(Frame& frame, std::int64_t nanosecondsSince1970)
{
    const std::int64_t time = std::max<std::int64_t>(nanosecondsSince1970, 0);
    frame.seconds = static_cast<std::uint32_t>(time / kNanosecondsPerSecond);
    frame.nanoseconds = static_cast<std::uint32_t>(time % kNanosecondsPerSecond);
}

std::int64_t nanosecondsOf(const Frame& frame)
{
    return static_cast<std::int64_t>(frame.seconds) * kNanosecondsPerSecond + frame.nanoseconds;
}

} // namespace camera::video
