#pragma once

#include "camera/ravel/Configuration.h"
#include "camera/ravel/ControlThread.h"
#include "camera/ravel/Current.h"
#include "camera/ravel/DayNight.h"
#include "camera/ravel/EventBus.h"
#include "camera/ravel/MetadataStreamer.h"
#include "camera/ravel/Rotation.h"
#include "camera/ravel/ServedTargets.h"
#include "camera/ravel/ServiceFaults.h"
#include "camera/ravel/SettingsStore.h"
#include "camera/ravel/TargetRegistry.h"
#include "camera/ravel/WindowBlanking.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>

namespace camera::ravel {

/**
 * Everything that the service API's process-wide functions work on: bound with
 * CurrentEnvironment::Binding for as long as a device lives. Without one, calls answer "service not
 * available" and do nothing.
 *
 * Each member is thread-safe.
 */
class Environment {
public:
    struct Options {
        std::filesystem::path stateDir;
        std::filesystem::path metadataFile;
        std::uint32_t orientationDegrees = 0;
        bool rotationService = false;
        ServiceFaults faults;
    };

    /// @throws std::runtime_error with one sentence when the settings or the metadata file cannot be opened.
    explicit Environment(const Options& options);

    /// Stops the control thread first.
    ~Environment();
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

    /**
     * The device's services live in another process from now on: look-ups are answered from the registry, which
     * whoever watches that process keeps, and queries go to remote for as long as it lives. Before the plug-in.
     */
    void useServicesElsewhere(const std::shared_ptr<RemoteServices>& remote);

    /// Device services post no event from now on.
    void quiesce();

    /// Forgets every handler and connection still registered; returns how many handlers there were.
    std::size_t discardRegistrations();

    SettingsStore settings;
    Configuration configuration;
    TargetRegistry targets;
    ServedTargets analyticsTargets;
    EventBus events;
    ControlThread control;
    DayNight dayNight;
    WindowBlanking windowBlanking;
    Rotation rotation;
    MetadataStreamer metadataStreamer;
};

using CurrentEnvironment = Current<Environment>;

} // namespace camera::ravel
