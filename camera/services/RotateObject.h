#pragma once

#include "camera/services/ServiceObject.h"

#include <cstdint>

namespace camera::services {

class ServiceState;

/// The rotation service: by how many degrees the picture is turned, in quarter turns. Setting it is an event.
class RotateObject : public ServiceObject {
public:
    RotateObject(const ObjectContext& context, ServiceState& state);

private:
    void registerMethods();
    void setAngle(std::uint32_t degrees);

    ServiceState& _state;
};

} // namespace camera::services
