#pragma once

#include "camera/services/ServiceObject.h"

namespace camera::services {

class ServiceState;

/// The day/night service: its filter rests until it is told that a movement begins. Each begin and end is an event.
class DayNightObject : public ServiceObject {
public:
    DayNightObject(const ObjectContext& context, ServiceState& state);

private:
    void registerMethods();
    void move(bool moving);

    ServiceState& _state;
};

} // namespace camera::services
