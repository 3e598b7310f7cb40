#pragma once

#include "camera/ptz/PositioningUnit.h"

#include <atomic>
#include <mutex>

namespace camera::serviceapi {
class ServiceApi;
}

namespace camera::pipeline {

/// Keeps presets, tours and the place of a PTZ camera in the settings. What cannot be read or stored is logged.
/// Thread-safe; both parts are borrowed and outlive it.
class KeptPositions {
public:
    KeptPositions(serviceapi::ServiceApi& serviceApi, ptz::PositioningUnit& unit);

    /// Gives the unit what is kept, and keeps each change from now on. Once, before the unit is used.
    void begin();

    void store();

private:
    void load();
    void changed(ptz::PositioningUnit::Change change);

    serviceapi::ServiceApi& _serviceApi;
    ptz::PositioningUnit& _unit;
    std::mutex _storeMutex; // a later state is never overwritten by an earlier one
    std::atomic<bool> _storePending{false};
};

} // namespace camera::pipeline
