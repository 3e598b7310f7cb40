#include "camera/video/SourceClock.h"

#include <utility>

namespace camera::video {

namespace {

constexpr std::int64_t kLeastStep = 1000000000; ///< less is no step but a clock that is adjusted

} // namespace

ClockSteps::ClockSteps(SourceClock clock, Tell tell)
    : _clock(std::move(clock)), _tell(std::move(tell)), _offset(offset())
{
}

std::int64_t ClockSteps::take()
{
    const std::int64_t step = offset() - _offset;
    const std::string seconds = std::to_string((step < 0 ? -step : step) / kLeastStep) + " s";
    if (step <= -kLeastStep && !std::exchange(_toldBack, true)) {
        _tell("the clock was set back by " + seconds +
              "; the times of the frames, which only grow, follow it with the next camera run");
    }
    if (step < kLeastStep) {
        return 0;
    }
    _offset += step;
    if (!std::exchange(_toldForward, true)) {
        _tell("the clock was set forward by " + seconds + "; the times of the frames follow it");
    }
    return step;
}

} // namespace camera::video
