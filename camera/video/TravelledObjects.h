#pragma once

#include "camera/video/Drawing.h"

#include <cstddef>
#include <cstdint>
#include <map>

namespace camera::video {

/// Finds the objects that have moved a real distance; others only flicker at one place. Thread-bound.
class TravelledObjects {
public:
    /// Takes in the next frame's boxes and returns how many of the moving ones are now away from where
    /// they were first seen by half their own size or more.
    std::size_t count(const Drawing& drawing);

private:
    std::map<std::uint32_t, kit::PicturePoint> _firstSeen; ///< of the objects of the last frame
};

} // namespace camera::video
