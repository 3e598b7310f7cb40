#pragma once

#include "camera/video/RgbPicture.h"

#include <string>

namespace camera::video {

/// Writes the picture as a file, replacing what is there: JPEG where the name ends in .jpg or .jpeg, else PNG.
/// @param descriptor  not negative: the file, which is empty; it is not opened by its name.
/// @throws std::runtime_error with one sentence naming the file; an incomplete file is removed, or emptied.
void writePicture(const RgbPicture& picture, const std::string& path, int descriptor = -1);

} // namespace camera::video
