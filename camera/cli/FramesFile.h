#pragma once

#include <filesystem>
#include <string>

namespace camera::cli {

/**
 * The absolute path of a file of frames, in the folder where the camera may write such files: framesDir when it is
 * not empty, else "frames" in the state folder. The folder is made. A relative name counts from there.
 *
 * @throws CameraError when the file would lie elsewhere, also by a link or "..".
 */
std::string framesFile(const std::filesystem::path& stateDir, const std::string& framesDir, const std::string& name);

} // namespace camera::cli
