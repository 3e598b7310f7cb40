#pragma once

#include "camera/base/Current.h"
#include "camera/serviceapi/ControlThread.h"
#include "camera/serviceapi/DeviceServices.h"
#include "camera/serviceapi/EventBus.h"
#include "camera/serviceapi/MetadataStreamer.h"
#include "camera/serviceapi/ServedTargets.h"
#include "camera/serviceapi/ServiceConnections.h"
#include "camera/store/SettingsStore.h"

#include "ravel/day_night.h"
#include "ravel/rotate.h"
#include "ravel/window_blanking.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>

namespace camera::serviceapi {

struct ServiceApiOptions {
    std::filesystem::path stateDir;
    std::filesystem::path metadataFile;       ///< empty: documents go to the streamer only
    std::shared_ptr<DeviceServices> services; ///< not null
    bool metadataGoesOn = false;              ///< the file is added to, not emptied
    std::chrono::milliseconds copyInterval = store::SettingsStore::kCopyInterval;
};

/**
 * Everything that the service API's process-wide functions work on: bound with CurrentServiceApi::Binding for as
 * long as a device lives. Without one, calls answer "service not available" and do nothing.
 *
 * Each member is thread-safe.
 */
class ServiceApi final : private DeviceServices::Listener {
public:
    /// @throws std::runtime_error with one sentence when the settings or the metadata file cannot be opened.
    explicit ServiceApi(const ServiceApiOptions& options);

    /// Stops the device's services and the control thread first.
    ~ServiceApi();
    ServiceApi(const ServiceApi&) = delete;
    ServiceApi& operator=(const ServiceApi&) = delete;

    /// Begins to watch the device's services and to pass their events on; see DeviceServices::start().
    void startServices() { services->start(*this); }

    /// From now on no handler is called for an event.
    void quiesce() { _quiet = true; }

    /// Forgets every handler and connection still registered.
    void discardRegistrations();

    store::SettingsStore settings;
    const std::shared_ptr<DeviceServices> services;
    ServedTargets analyticsTargets;
    EventBus events;
    ControlThread control;
    ServiceConnections<ravel_api_day_night_movement_change_handler> dayNight;
    ServiceConnections<ravel_api_window_blanking_settings_changed_handler> windowBlanking;
    ServiceConnections<ravel_api_rotate_orientation_changed_handler> rotation;
    MetadataStreamer metadataStreamer;

private:
    void dayNightMoves(bool moving) override { post(dayNight, moving); }
    void blankingChanged(bool enabled) override { post(windowBlanking, enabled); }
    void orientationChanged(std::uint32_t degrees) override { post(rotation, degrees); }

    template <class Connections, class Value>
    void post(Connections& connections, Value value)
    {
        if (!_quiet) {
            connections.post(control, value);
        }
    }

    std::atomic<bool> _quiet{false};
};

using CurrentServiceApi = base::Current<ServiceApi>;

} // namespace camera::serviceapi
