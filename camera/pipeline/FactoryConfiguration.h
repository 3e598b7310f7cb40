#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace camera::pipeline {

class Device;

/**
 * Gives each engine for which nothing is stored its factory configuration: the file factory/ENGINE.xml that belongs to
 * the programs, given like any other configuration. An engine without such a file begins empty. For a camera that moves
 * it is stored for the place where the camera stands; "Simple" has one configuration for all places.
 * @return one sentence for each file that cannot be read, or that the camera refuses or cannot keep.
 */
std::vector<std::string> giveFactoryConfiguration(Device& device, bool moves,
                                                  const std::filesystem::path& programFolder);

} // namespace camera::pipeline
