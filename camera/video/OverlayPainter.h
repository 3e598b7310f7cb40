#pragma once

#include "camera/video/Drawing.h"
#include "camera/video/RgbPicture.h"

#include <cstdint>

namespace camera::video {

/// Draws what the engines saw onto the picture: cells, rule regions in the colour of their state, boxes
/// with their ids, and a foot line with the time in UTC. @param nanoseconds since 1970
void paintOverlay(RgbPicture& picture, const Drawing& drawing, std::int64_t nanoseconds);

} // namespace camera::video
