#pragma once

#include "camera/bus/gateway_server.h"

#include <cstdint>
#include <string>
#include <unistd.h>
#include <utility>

namespace camera::gateway {

/// The process itself on the bus.
class GatewayObject final : public bus::GatewayServer {
public:
    /// Takes the bus name last. @throws sdbus::Error
    GatewayObject(sdbus::IConnection& connection, std::string address)
        : GatewayServer(connection), _address(std::move(address))
    {
        takeName();
    }

private:
    void setLogLevel(const std::string& level) override { bus::setLogLevel(level); }
    std::uint32_t pid() override { return static_cast<std::uint32_t>(::getpid()); }
    std::string address() override { return _address; }

    const std::string _address;
};

} // namespace camera::gateway
