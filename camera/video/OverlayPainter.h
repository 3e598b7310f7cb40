#pragma once

#include "camera/video/Drawing.h"
#include "camera/video/RgbPicture.h"

#include <cstdint>
#include <string>

namespace camera::video {

/// Draws what the engines saw onto the picture: cells, rule regions in the colour of their state, boxes
/// with their ids, and a foot line with the time in UTC and the caption. @param nanoseconds since 1970
void paintOverlay(RgbPicture& picture, const Drawing& drawing, std::int64_t nanoseconds,
                  const std::string& caption = "");

} // namespace camera::video
