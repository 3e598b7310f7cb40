#pragma once

#include <cstdint>

namespace camera::base {

// How a camera is mounted: the clockwise turn in degrees after which its picture is upright.

constexpr const char* kOrientations = "0, 90, 180 or 270";

constexpr bool isOrientation(std::int64_t degrees)
{
    return degrees == 0 || degrees == 90 || degrees == 180 || degrees == 270;
}

} // namespace camera::base
