#pragma once

#include "ravel/status.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace camera::serviceapi {

/// An opaque colour as the window blanking service has it.
struct RegionColor {
    std::uint8_t red = 128;
    std::uint8_t green = 128;
    std::uint8_t blue = 128;
};

/**
 * The services of the device that the plug-in uses: day/night, window blanking, rotation, the metadata
 * streamer and the configuration values. No operation throws.
 *
 * A query waits for its answer, no longer than a bound of the implementation; its output counts only with status 0.
 * Queries come from the control thread, which the answer must not need.
 */
class DeviceServices {
public:
    /// Gets the events of the services, on a thread of the implementation. Each operation returns at once.
    class Listener {
    public:
        virtual void dayNightMoves(bool moving) = 0; ///< the filter begins or ends to move
        virtual void blankingChanged(bool enabled) = 0;
        virtual void orientationChanged(std::uint32_t degrees) = 0;

    protected:
        ~Listener() = default;
    };

    DeviceServices() = default;
    virtual ~DeviceServices() = default;
    DeviceServices(const DeviceServices&) = delete;
    DeviceServices& operator=(const DeviceServices&) = delete;

    /// Begins to watch the services; returns when each was looked up once, within a bound. The listener lives until
    /// stop() has returned.
    virtual void start(Listener& listener) = 0;

    /// From now on the listener is not called and the services are not asked. Idempotent.
    virtual void stop() = 0;

    /// The ids of a service's targets; nothing when no process serves it. Answered from memory. Thread-safe.
    virtual std::optional<std::vector<std::string>> targetIds(const std::string& service) const = 0;

    virtual ravel_core_status regionColor(RegionColor& color) = 0;
    virtual ravel_core_status blankingEnabled(bool& enabled) = 0;
    virtual ravel_core_status orientation(std::uint32_t& degrees) = 0;
    virtual ravel_core_status configurationValue(const std::string& key, int& value) = 0;

    /// Hands a document to the metadata streamer; one that it does not take is lost. Thread: the metadata writer's.
    virtual void sendMetadata(const std::string& document) = 0;
};

} // namespace camera::serviceapi
