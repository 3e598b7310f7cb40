#pragma once

#include "camera/base/Console.h"
#include "camera/base/RunOptions.h"
#include "camera/pipeline/Device.h"

#include <filesystem>
#include <memory>
#include <string>

namespace camera::pipeline {

/// The device's options that follow from the command line.
/// @throws std::runtime_error as base::pluginPath().
DeviceOptions deviceOptions(const base::CameraOptions& options, const std::filesystem::path& stateDir);

/// Builds the device and prints what it has to say about its settings.
/// @throws std::runtime_error with one sentence.
std::unique_ptr<Device> buildCamera(const DeviceOptions& deviceOptions, base::Console& console);

/**
 * Hands one configuration to the camera.
 * @param origin the file's name, for the sentence.
 * @return whether it is active at the place where the camera stands.
 * @throws std::runtime_error with one sentence when the camera refuses it or cannot keep it.
 */
bool configure(Device& device, const std::string& xml, const std::string& origin);

} // namespace camera::pipeline
