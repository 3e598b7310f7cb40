#pragma once

#include "camera/video/FramePool.h"

namespace camera::video {

/**
 * The picture as a camera mounted at this orientation delivers it: turned counter-clockwise by the
 * orientation's degrees, so that turning it clockwise makes it upright again. Time stays.
 *
 * @param orientationDegrees 0 (the frame itself, its pixels shared), 90, 180 or 270.
 * @throws std::invalid_argument for any other angle.
 */
Frame turnedForDelivery(const Frame& upright, int orientationDegrees, FramePool& pool);

} // namespace camera::video
