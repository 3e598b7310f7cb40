#pragma once

#include "camera/video/Drawing.h"
#include "camera/video/RgbPicture.h"
#include "camera/video/TextPainter.h"

#include <cstdint>
#include <string>

namespace camera::video {

/**
 * Draws what the engines saw onto the picture: cells, rule regions in the colour of their state, boxes with their ids,
 * and a foot line with the time in UTC and the caption. A label stands at its region or box, where it covers neither
 * another label nor an object if there is such a place. Thread-bound.
 */
class OverlayPainter {
public:
    /// @param nanoseconds since 1970
    void paint(RgbPicture& picture, const Drawing& drawing, std::int64_t nanoseconds, const std::string& caption = "");

private:
    TextPainter _text;
};

} // namespace camera::video
