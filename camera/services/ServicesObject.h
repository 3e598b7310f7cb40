#pragma once

#include "camera/bus/services_server.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace camera::services {

class FaultSwitch;
class MetadataSocket;
class ServiceState;

/// What the process' own object tells of; all of it outlives the object.
struct ProcessParts {
    std::string folder; ///< of the state
    ServiceState& state;
    FaultSwitch& faults;
    MetadataSocket& socket;
};

/// The process itself on the bus: the faults of its services, and how it does. Has no fault of its own.
class ServicesObject final : public bus::ServicesServer {
public:
    /// @param faultChanged  puts a service's new fault into effect.
    ServicesObject(sdbus::IConnection& connection, const ProcessParts& parts,
                   std::function<void(const std::string& service)> faultChanged);

private:
    using SubscriberRow = sdbus::Struct<std::uint64_t, std::uint64_t, std::uint64_t>;
    using FaultRow = sdbus::Struct<std::string, std::string, double>;

    void setFault(const std::string& service, const std::string& fault, double seconds) override;
    std::map<std::string, std::string> faults() override;

    std::uint32_t pid() override;
    std::string state() override { return _parts.folder; }
    bool moving() override;
    std::uint32_t orientation() override;
    bool rotationServed() override;
    bool blanking() override;
    std::vector<SubscriberRow> subscribers() override;
    std::vector<FaultRow> faultSettings() override;

    const ProcessParts _parts;
    const std::function<void(const std::string& service)> _faultChanged;
};

} // namespace camera::services
