#include "camera/video/PresentationClock.h"

#include <algorithm>

namespace camera::video {

namespace {

// Longer gaps are jumps of a broken or restarted clock, not pauses of the camera.
constexpr std::int64_t kLongestGap = 10000000000;

} // namespace

PresentationClock::PresentationClock(std::int64_t startNanoseconds, std::int64_t frameNanoseconds)
    : frameNanoseconds(std::max<std::int64_t>(frameNanoseconds, 1)), expected(startNanoseconds)
{
}

std::int64_t PresentationClock::next(std::optional<std::int64_t> inputNanoseconds)
{
    std::int64_t time = expected;
    if (inputNanoseconds) {
        if (!offset) {
            offset = expected - *inputNanoseconds;
        }
        time = *inputNanoseconds + *offset;
        if (time <= last || time > expected + kLongestGap) {
            time = expected;
            offset = expected - *inputNanoseconds;
        }
    }
    last = time;
    expected = time + frameNanoseconds;
    return time;
}

} // namespace camera::video
