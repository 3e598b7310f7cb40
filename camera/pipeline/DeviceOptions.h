#pragma once

#include "camera/framework/EngineFactory.h"
#include "camera/pipeline/ActiveRules.h"
#include "camera/ptz/CameraDescription.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace camera::serviceapi {
class DeviceServices;
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
struct DeviceOptions {
    std::filesystem::path pluginPath;             ///< the plug-in to load, libdetection.so
    std::filesystem::path stateDir;               ///< created when absent; one process at a time
    std::optional<PtzOption> ptz;                 ///< without: a fixed camera
    std::filesystem::path metadataFile;           ///< empty: metadata documents are only counted
    bool metadataGoesOn = false;                  ///< the file is added to, not emptied
    std::chrono::milliseconds copyInterval{1000}; ///< the shortest time between two copies of the settings

    framework::EngineSource engines;                    ///< the program's own; without: none
    std::vector<framework::EngineModule> engineModules; ///< theirs come before the program's

    /// Given: told what every engine evaluates each time that this changed, after the task of the control thread that
    /// changed it, on that thread.
    std::function<void(const std::vector<ActiveRules>&)> activeRulesChanged;

    std::size_t engineCount = 1;             ///< engines that share one drawing buffer, 1 or more
    std::uint32_t metadataBytes = 64 * 1024; ///< what one engine may write for a frame, a multiple of 64

    std::shared_ptr<serviceapi::DeviceServices> services; ///< day/night, window blanking and so on; not null
};

} // namespace camera::pipeline
