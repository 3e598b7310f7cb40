#pragma once

#include "camera/base/Current.h"
#include "camera/serviceapi/Configuration.h"
#include "camera/serviceapi/ControlThread.h"
#include "camera/serviceapi/DayNight.h"
#include "camera/serviceapi/EventBus.h"
#include "camera/serviceapi/MetadataStreamer.h"
#include "camera/serviceapi/Rotation.h"
#include "camera/serviceapi/ServedTargets.h"
#include "camera/serviceapi/ServiceFaults.h"
#include "camera/serviceapi/TargetRegistry.h"
#include "camera/serviceapi/WindowBlanking.h"
#include "camera/store/SettingsStore.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>

namespace camera::serviceapi {

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

    store::SettingsStore settings;
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

using CurrentEnvironment = base::Current<Environment>;

} // namespace camera::serviceapi
