#pragma once

#include "plugin/analytics/YuvFrame.h"

#pragma GCC visibility push(default)

namespace analytics_lib::frame_utils {

/**
 * Turn an NV12 image clockwise into newly allocated memory.
 *
 * @param source       Borrowed; width and height even, in pixels.
 * @param destination  Arrives as a copy of source; data, width, height and bytesPerRow are set.
 *                     The caller releases destination.data with std::free.
 * @throws std::bad_alloc when the image cannot be allocated; destination is then untouched.
 *
 * Thread: any; reentrant.
 */
void YUV420SemiPlanar_Rotate90(const YuvFrame& source, YuvFrame& destination);
void YUV420SemiPlanar_Rotate180(const YuvFrame& source, YuvFrame& destination);
void YUV420SemiPlanar_Rotate270(const YuvFrame& source, YuvFrame& destination);

} // namespace analytics_lib::frame_utils

#pragma GCC visibility pop
