#pragma once

#include "camera/bus/rotate_server.h"
#include "camera/services/FaultyAnswers.h"

#include <cstdint>

namespace camera::services {

class ServiceState;

/// The rotation service: by how many degrees the picture is turned, in quarter turns. Setting it is an event.
class RotateObject final : public bus::RotateServer {
public:
    RotateObject(const ObjectContext& context, ServiceState& state);

private:
    std::uint32_t getAngle() override;
    void setAngle(std::uint32_t degrees) override;

    ServiceState& _state;
};

} // namespace camera::services
