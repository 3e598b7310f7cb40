#pragma once

#include "camera/ptz/PositioningUnit.h"

#include <atomic>
#include <string>

namespace camera::serviceapi {
class ServiceApi;
}

namespace camera::pipeline {

/// Keeps presets, tours and the place of a PTZ camera in the settings. A command that changes presets or tours is
/// refused when it cannot be stored; a place that cannot be stored is logged and tried again. Thread-safe; both parts
/// are borrowed and outlive it.
class KeptPositions {
public:
    KeptPositions(serviceapi::ServiceApi& serviceApi, ptz::PositioningUnit& unit);

    /// Gives the unit what is kept, and keeps each change from now on. Once, before the unit is used.
    void begin();

    void store();

private:
    void load();
    std::string storeLists(const std::string& document);

    serviceapi::ServiceApi& _serviceApi;
    ptz::PositioningUnit& _unit;
    std::atomic<bool> _storePending{false};
};

} // namespace camera::pipeline
