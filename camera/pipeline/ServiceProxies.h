#pragma once

#include "camera/bus/Connection.h"
#include "camera/bus/NameWatch.h"
#include "camera/bus/configuration_client.h"
#include "camera/bus/day_night_client.h"
#include "camera/bus/onvif_metadata_streamer_client.h"
#include "camera/bus/rotate_client.h"
#include "camera/bus/window_blanking_client.h"

#include <sdbus-c++/sdbus-c++.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace camera::pipeline {

/// What is heard from the device's services. Called on the bus thread; each returns at once.
struct ServiceNews {
    std::function<void(const std::string& service, std::vector<std::string> targets)> present;
    std::function<void(const std::string& service)> gone;
    std::function<void(bool moving)> dayNight;
    std::function<void(bool enabled)> windowBlanking;
    std::function<void(std::uint32_t degrees)> rotation;
};

/// The device's services as this process sees them during one session of the bus: who is there, what they
/// say, and how to ask them.
class ServiceProxies {
public:
    /// Begins to watch and to look up each service. A look-up that is not answered within patience counts as the
    /// service being away, and is repeated until there is an answer. Thread: the bus thread.
    ServiceProxies(const std::shared_ptr<bus::Session>& session, ServiceNews news, std::chrono::milliseconds patience);

    static const std::vector<std::string>& watched();

private:
    const ServiceNews _news; // before those that call it

public:
    // Any thread but the bus thread may ask them.
    bus::DayNightClient dayNight;
    bus::WindowBlankingClient windowBlanking;
    bus::RotateClient rotate;
    bus::ConfigurationClient configuration;
    bus::OnvifMetadataStreamerClient metadataStreamer;

private:
    void lookUp(const std::string& service);
    void lost(const std::string& service);

    const std::chrono::milliseconds _patience;
    std::map<std::string, std::uint64_t> _lookUps; ///< the number of each service's last one; older answers say nothing
    std::map<std::string, std::unique_ptr<sdbus::IProxy>> _trees; ///< the object above its targets
    std::unique_ptr<bus::NameWatch> _owners;
};

} // namespace camera::pipeline
