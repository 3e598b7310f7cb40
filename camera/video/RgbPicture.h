#pragma once

#include "camera/video/Frame.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace camera::video {

/// A picture to draw on: rows without gaps, three bytes R, G, B a pixel.
struct RgbPicture {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> pixels;

    int strideBytes() const { return 3 * width; }
    const std::uint8_t* at(int x, int y) const
    {
        return pixels.data() + static_cast<std::ptrdiff_t>(y) * strideBytes() + static_cast<std::ptrdiff_t>(3) * x;
    }
};

/// The frame's picture; memory of a picture of the same size is used again.
void toRgb(const Frame& frame, RgbPicture& picture);

} // namespace camera::video
