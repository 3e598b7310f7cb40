#pragma once

#include <filesystem>
#include <string>

namespace camera::cli {

/**
 * The plug-in to load: the one given, else libdetection.so beside the program, in ../lib, or where the build
 * tree has it.
 * @throws std::runtime_error with one sentence when there is none.
 */
std::filesystem::path pluginPath(const std::string& given, const std::filesystem::path& programFolder);

/// The folder of the running program.
std::filesystem::path programFolder();

} // namespace camera::cli
