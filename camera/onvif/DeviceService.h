#pragma once

#include "camera/onvif/DeviceSettings.h"
#include "camera/onvif/Kept.h"
#include "camera/onvif/Operations.h"
#include "camera/onvif/ServiceDirectory.h"
#include "camera/onvif/SoapService.h"
#include "camera/onvif/Users.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace camera::onvif {

/// What a device tells of itself, which never changes.
struct DeviceFacts {
    std::string manufacturer;
    std::string model;
    std::string firmware;
    std::string serial;
    std::string hardware;
    std::string uuid; ///< without "urn:uuid:"
};

/// What the device service asks of the device around it. Each is called on the thread of the service.
struct DeviceActions {
    using Done = onvif::Done;

    std::function<void(Done)> reboot;
    std::function<void(bool hard, Done)> factoryDefault;
    std::function<std::string()> log; ///< its newest lines
    std::function<std::vector<std::string>()> fixedScopes;
    /// Names and ports of what is served now: {"HTTP", 8080}
    std::function<std::vector<std::pair<std::string, int>>()> protocols;
    std::function<std::string()> address; ///< the IPv4 address that it is bound to
};

/// The ONVIF device service (namespace tds). Borrows what it is given.
class DeviceService {
public:
    DeviceService(DeviceFacts facts, Kept<Users>& users, Kept<DeviceSettings>& settings, DeviceActions actions,
                  Clocks clocks);

    /// Adds its operations, and itself to the directory, which it also tells of.
    void addTo(Operations& operations, ServiceDirectory& directory);

private:
    void addSystem(Operations& operations);
    void addScopes(Operations& operations);
    void addUsers(Operations& operations);
    void addNetwork(Operations& operations);
    void addDirectory(Operations& operations, const ServiceDirectory& directory);

    const DeviceFacts _facts;
    Kept<Users>& _users;
    Kept<DeviceSettings>& _settings;
    const DeviceActions _actions;
    const Clocks _clocks;
};

} // namespace camera::onvif
