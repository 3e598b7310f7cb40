#pragma once

#include "camera/base/Console.h"
#include "camera/base/RunOptions.h"
#include "camera/pipeline/DeviceOptions.h"

#include <filesystem>
#include <vector>

namespace camera::pipeline {

// What camera a state folder belongs to: the file camera.json in it keeps whether the camera moves, its model, its
// engine modules, and whether they are still to get their factory configuration. (Its orientation is kept by the
// process camera-services.)

/// What a camera on this folder is made of: what the options do not say is what the folder remembers.
/// A file that cannot be read is reported in one line.
base::CameraOptions rememberedCamera(base::CameraOptions options, const std::filesystem::path& stateDir,
                                     base::Console& console);

/// Keeps it; the caller holds the folder's lock. A file that could not be read is set aside.
/// @throws std::exception with one sentence when it cannot be written.
void rememberCamera(const base::CameraOptions& options, const std::filesystem::path& stateDir);

/// Loads the engine modules for a device. Of remembered modules those that cannot be loaded are reported in one line
/// each.
/// @return these, by path. @throws std::runtime_error with one sentence for a module that the options name.
std::vector<std::string> loadEngineModules(const base::CameraOptions& options, DeviceOptions& device,
                                           base::Console& console);

} // namespace camera::pipeline
