#pragma once

#include "camera/onvif/Operations.h"

#include <pugixml.hpp>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace camera::onvif {

/// One ONVIF service, as the device tells of it.
struct ServiceEntry {
    std::string prefix; ///< of its namespace: "tan"
    std::string path;   ///< "/onvif/analytics_service"
    int major = 0;      ///< of the interface's version
    int minor = 0;

    /// Fills its Capabilities element. @param capabilities  empty, with its name.
    std::function<void(pugi::xml_node capabilities)> capabilities;

    /// Its name in the answer to GetCapabilities, and what stands there behind its address; empty: not told there.
    std::string category = {};
    std::function<void(pugi::xml_node)> categoryContent = {};

    /// Why the device does not have the service now; nothing: it has. Empty: it always has.
    std::function<std::optional<Fault>()> missing = {};

    bool isThere() const { return !missing || !missing(); }
};

/// The services that this device has. Services enter themselves before the first request.
class ServiceDirectory {
public:
    /// Adds a service, and its operation GetServiceCapabilities to the operations.
    void add(ServiceEntry entry, Operations& operations);

    /// Also those that the device does not have now.
    const std::vector<ServiceEntry>& all() const { return _all; }

    /// Those that the device has now. Valid as long as the directory, once all are entered.
    std::vector<const ServiceEntry*> present() const;

    /// Null when the device has none.
    const ServiceEntry* find(const std::string& category) const;

private:
    std::vector<ServiceEntry> _all;
};

} // namespace camera::onvif
