#pragma once

#include "camera/video/RgbPicture.h"

#include <string>

namespace camera::video {

/// Writes the picture as a PNG file, replacing what is there.
/// @throws std::runtime_error with one sentence naming the file; an incomplete file is removed.
void writePng(const RgbPicture& picture, const std::string& path);

} // namespace camera::video
