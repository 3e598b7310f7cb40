#pragma once

#include <opencv2/core.hpp>

#include <cstdint>

namespace camera::engines {

/// What moves in one frame, on a picture of about 640x360 pixels.
struct Foreground {
    bool known = false;    ///< false while the background is learned: nothing is reported during that time
    cv::Mat mask;          ///< 8 bits, 255 where something moves; never empty
    std::int64_t time = 0; ///< nanoseconds, of the picture's own clock
};

constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;
constexpr std::int64_t kNanosecondsPerMillisecond = 1'000'000;

} // namespace camera::engines
