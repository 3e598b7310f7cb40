#pragma once

#include "camera/bus/Connection.h"
#include "camera/pipeline/ServiceProxies.h"
#include "camera/serviceapi/DeviceServices.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace camera::pipeline {

/**
 * The device's services over the bus: keeps the local picture of who is there, passes their events on, asks them
 * with a bounded wait, and hands metadata documents over.
 *
 * It has a connection of its own, whose thread needs neither the control thread nor the frame thread.
 */
class DeviceServicesClient final : public serviceapi::DeviceServices {
public:
    /// @param patience  the longest wait for one answer
    explicit DeviceServicesClient(std::string address, std::chrono::milliseconds patience = bus::kDefaultPatience);
    ~DeviceServicesClient() override;

    /// Connects and returns when every service was looked up once, or after the patience.
    void start(Listener& listener) override;
    void stop() override;

    std::optional<std::vector<std::string>> targetIds(const std::string& service) const override;
    ravel_core_status regionColor(serviceapi::RegionColor& color) override;
    ravel_core_status blankingEnabled(bool& enabled) override;
    ravel_core_status orientation(std::uint32_t& degrees) override;
    ravel_core_status configurationValue(const std::string& key, int& value) override;

    /// How the camera is mounted at the moment, as far as it was heard: 0, 90, 180 or 270 degrees. Any thread; no round
    /// trip.
    std::uint32_t orientation() const { return _orientation; }

    /// Hands a document to the metadata streamer and waits for it to be taken. One that cannot be handed over is
    /// counted; for a while after a time-out no other one is tried, so that a stopped streamer costs little.
    void sendMetadata(const std::string& document) override;

    /// Documents that come later than this are lost at once: the camera ends.
    void finishBy(std::chrono::steady_clock::time_point time) { _lastSending = time; }

    std::uint64_t documentsTaken() const { return _documentsTaken; }
    std::uint64_t documentsLost() const { return _documentsLost; }
    bool connected() const { return _connection.connected(); }
    std::uint64_t sessions() const { return _connection.sessions(); }

private:
    using Clock = std::chrono::steady_clock;

    ServiceNews news();
    void lookedUp(const std::string& service, std::optional<std::vector<std::string>> targets);
    void forgetTargets();
    void setOrientation(std::uint32_t degrees);

    ravel_core_status ask(const char* service, const char* what, const std::function<void(ServiceProxies&)>& question);

    const std::chrono::milliseconds _patience;
    Listener* _listener = nullptr;
    mutable std::mutex _mutex;
    std::condition_variable _settled;
    std::map<std::string, std::optional<std::vector<std::string>>> _targets; ///< of each service that was looked up
    std::atomic<std::uint32_t> _orientation{0};
    std::atomic<std::uint64_t> _documentsTaken{0};
    std::atomic<std::uint64_t> _documentsLost{0};
    Clock::time_point _streamerRestsUntil;
    std::atomic<Clock::time_point> _lastSending{Clock::time_point::max()};
    bus::Connection _connection;
    std::shared_ptr<bus::CurrentObject<ServiceProxies>> _proxies;
};

} // namespace camera::pipeline
