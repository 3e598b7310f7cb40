#pragma once

#include <filesystem>
#include <string>

namespace camera::base {

/**
 * The plug-in to load: path when it is not empty, else libdetection.so beside the program or in ../lib, where an
 * installation and the build tree have it.
 * @throws std::runtime_error with one sentence when there is none.
 */
std::filesystem::path pluginPath(const std::string& path, const std::filesystem::path& programFolder);

/// The folder of the running program.
std::filesystem::path programFolder();

} // namespace camera::base
