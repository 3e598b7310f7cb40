#pragma once

#include <filesystem>
#include <string>

namespace camera::base {

/**
 * The plug-in to load: path when it is not empty, else libdetection.so beside the program, in ../lib, where the
 * build tree has it, or where an installation has it.
 * @throws std::runtime_error with one sentence when there is none.
 */
std::filesystem::path pluginPath(const std::string& path, const std::filesystem::path& programFolder);

/// A file that belongs to the programs, "cameras/fixed.json" for instance: beside them, where an installation or where
/// the build tree has it. Empty when there is none.
std::filesystem::path sharedFile(const std::filesystem::path& file, const std::filesystem::path& programFolder);

/// The folder of the running program.
std::filesystem::path programFolder();

} // namespace camera::base
