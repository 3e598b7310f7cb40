#pragma once

#include <optional>
#include <string>
#include <vector>

namespace camera::onvif {

/// The answers about the network that clients gave, which are told again: the computer's own network stays as it is.
struct NetworkAnswers {
    struct NamedList {
        bool fromDhcp = false;
        std::vector<std::string> searchDomains; ///< of DNS
        std::vector<std::string> hosts;         ///< addresses, of NTP names too
    };
    struct Protocol {
        std::string name; ///< "HTTP"
        bool enabled = false;
        std::vector<int> ports;
    };

    std::string hostname = "virtual-camera";
    NamedList dns;
    NamedList ntp;
    std::vector<std::string> gateways; ///< addresses
    std::vector<Protocol> protocols;   ///< empty: those that are served
    bool interfaceEnabled = true;
    std::optional<std::string> interfaceAddress; ///< with its prefix length, "192.168.1.2/24"
    bool interfaceDhcp = false;
};

/// What the device service keeps.
struct DeviceSettings {
    NetworkAnswers network;
    std::vector<std::string> scopes = {"onvif://www.onvif.org/name/Virtual%20camera",
                                       "onvif://www.onvif.org/location/computer"};
    bool discoverable = true;
    std::string timeZone = "UTC0"; ///< as POSIX writes it
    bool daylightSavings = false;
};

/// As a JSON document and back. Nothing when it is none of this kind.
std::string format(const DeviceSettings& settings);
std::optional<DeviceSettings> parseDeviceSettings(const std::string& document);

} // namespace camera::onvif
