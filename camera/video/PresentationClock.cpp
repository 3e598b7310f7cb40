#include "camera/video/PresentationClock.h"

#include <algorithm>

namespace camera::video {

namespace {

// A longer gap is taken for a jump of the input's clock, not for a pause.
constexpr std::int64_t kLongestGap = 10000000000;

// A century. A number beyond is no time.
constexpr std::int64_t kMost = 100LL * 366 * 24 * 3600 * 1000000000;

} // namespace

PresentationClock::PresentationClock(std::int64_t startNanoseconds, std::int64_t frameNanoseconds)
    : _frameNanoseconds(std::max<std::int64_t>(frameNanoseconds, 1)), _expected(startNanoseconds)
{
}

std::int64_t PresentationClock::next(std::optional<std::int64_t> inputNanoseconds)
{
    std::int64_t time = _expected;
    if (inputNanoseconds && *inputNanoseconds > -kMost && *inputNanoseconds < kMost) {
        if (!_offset) {
            _offset = _expected - *inputNanoseconds;
        }
        time = *inputNanoseconds + *_offset;
        if (time <= _last || time > _expected + kLongestGap) {
            time = _expected;
            _offset = _expected - *inputNanoseconds;
        }
    }
    _last = time;
    _expected = time + _frameNanoseconds;
    return time;
}

} // namespace camera::video
