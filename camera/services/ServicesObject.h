#pragma once

#include "camera/bus/services_server.h"
#include "camera/services/ServiceObjects.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace camera::services {

/// The process itself on the bus: the faults of its services, and its status. It has no fault of its own.
class ServicesObject final : public bus::ServicesServer {
public:
    /// @param faultChanged  puts a service's new fault into effect.
    ServicesObject(sdbus::IConnection& connection, const ProcessContext& process,
                   std::function<void(const std::string& service)> faultChanged);

private:
    using SubscriberRow = sdbus::Struct<std::uint64_t, std::uint64_t, std::uint64_t>;
    using FaultRow = sdbus::Struct<std::string, std::string, double>;

    void setFault(const std::string& service, const std::string& fault, double seconds) override;
    std::map<std::string, std::string> faults() override;
    void setLogLevel(const std::string& level) override { bus::setLogLevel(level); }

    std::uint32_t pid() override;
    std::string state() override { return _process.folder; }
    bool moving() override;
    std::uint32_t orientation() override;
    bool rotationServed() override;
    bool blanking() override;
    std::vector<SubscriberRow> subscribers() override;
    std::vector<FaultRow> faultSettings() override;

    const ProcessContext _process;
    const std::function<void(const std::string& service)> _faultChanged;
};

} // namespace camera::services
