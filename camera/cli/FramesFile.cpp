#include "camera/cli/FramesFile.h"

#include "camera/cli/CameraClient.h"

#include <algorithm>

namespace camera::cli {

namespace fs = std::filesystem;

std::string framesFile(const fs::path& stateDir, const std::string& framesDir, const std::string& name)
{
    std::error_code error;
    const fs::path wanted = framesDir.empty() ? stateDir / "frames" : fs::absolute(framesDir);
    fs::create_directories(wanted, error);
    const fs::path folder = fs::canonical(wanted, error);
    if (error || !fs::is_directory(folder)) {
        throw CameraError("the folder '" + wanted.string() +
                          "' for frames cannot be used: " + (error ? error.message() : "it is no folder"));
    }
    const fs::path file = fs::weakly_canonical(folder / name, error);
    const auto [end, rest] = std::mismatch(folder.begin(), folder.end(), file.begin(), file.end());
    if (error || end != folder.end() || rest == file.end() || !file.has_filename()) {
        throw CameraError("the file '" + name + "' does not lie in '" + folder.string() +
                          "'; name one there, or another folder with --frames-dir DIR");
    }
    return file.string();
}

} // namespace camera::cli
