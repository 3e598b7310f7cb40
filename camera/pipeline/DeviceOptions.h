#pragma once

#include "camera/base/LogLevel.h"
#include "camera/ptz/CameraDescription.h"
#include "camera/serviceapi/ServiceFaults.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace camera::serviceapi {
class Environment;
class RemoteServices;
} // namespace camera::serviceapi

namespace camera::pipeline {

/// A named place of a camera that can be positioned.
struct PresetOption {
    std::string name;
    unsigned int pan = 0;    ///< thousandths of a degree, below 360000
    int tilt = 0;            ///< thousandths of a degree, -90000 to 90000
    unsigned int zoom = 100; ///< magnification in hundredths
};

/// A PTZ camera. Its time passes with Device::positioning().advance().
struct PtzOption {
    std::vector<PresetOption> presets;

    /// The preset that the camera stands at from the start, reported as reached once the plug-in is built;
    /// empty: where it was left, else home. A name that is no preset's becomes one, at a place of its own.
    std::string arriveAt;

    ptz::CameraDescription description = {}; ///< the model

    /// Keep presets, tours and the place in the settings, and start with what is kept there. What is kept
    /// counts more than the presets above; of those, names that are not kept are added.
    bool keepState = false;
};

/// What a device is made of.
struct Options {
    std::filesystem::path pluginPath;   ///< the plug-in to load, libdetection.so
    std::filesystem::path stateDir;     ///< created when absent; one process at a time
    int orientation = 0;                ///< degrees, 0, 90, 180 or 270
    std::optional<PtzOption> ptz;       ///< without: a fixed camera
    std::filesystem::path metadataFile; ///< empty: metadata documents are only counted

    std::size_t engineCount = 1;             ///< engines that share one drawing buffer, 1 or more
    std::uint32_t metadataBytes = 64 * 1024; ///< what one engine may write for a frame, a multiple of 64

    base::LogLevel logLevel = base::LogLevel::error;
    serviceapi::ServiceFaults faults; ///< services switched off or made to fail, for tests
    bool rotationService = false;     ///< serve "rotate" with the orientation; otherwise it is a configuration value

    /// Given: the device's services live in another process. Called once, before the plug-in is built; what it
    /// returns answers the queries and lives until the plug-in is gone.
    std::function<std::shared_ptr<serviceapi::RemoteServices>(serviceapi::Environment&)> servicesElsewhere;

    bool lendMetadataBuffers = true; ///< false: the transmitter lends nothing, as on a device that is short of memory
};

} // namespace camera::pipeline
