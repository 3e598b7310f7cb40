#pragma once

#include "ravel/status.h"

#include <cstdint>
#include <string>

namespace camera::serviceapi {

/// An opaque colour as the window blanking service has it.
struct RegionColor {
    std::uint8_t red = 128;
    std::uint8_t green = 128;
    std::uint8_t blue = 128;
};

/**
 * Asks the device's services when they live in another process.
 *
 * Each query waits for its answer, no longer than a bound of the implementation, and writes its output
 * only with status 0. Thread: the control thread, which the answer must not need.
 */
class RemoteServices {
public:
    RemoteServices() = default;
    virtual ~RemoteServices() = default;
    RemoteServices(const RemoteServices&) = delete;
    RemoteServices& operator=(const RemoteServices&) = delete;

    /// Begins to keep the registry and to bring events; returns when every service was looked up, within a bound.
    virtual void watch() = 0;

    /// Brings and asks nothing any more. Idempotent.
    virtual void unwatch() = 0;

    virtual ravel_core_status regionColor(const std::string& targetId, RegionColor& color) = 0;
    virtual ravel_core_status blankingEnabled(const std::string& targetId, bool& enabled) = 0;
    virtual ravel_core_status rotationAngle(const std::string& targetId, std::uint32_t& angleDegrees) = 0;
    virtual ravel_core_status configurationValue(const std::string& key, int& value) = 0;
};

} // namespace camera::serviceapi
