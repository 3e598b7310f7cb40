#include "camera/services/DayNightObject.h"

#include "camera/services/ServiceState.h"

namespace camera::services {

DayNightObject::DayNightObject(const ObjectContext& context, ServiceState& state)
    : DayNightServer(context.connection, withFaults(context, bus::service::kDayNight)), _state(state)
{
}

bool DayNightObject::isMoving()
{
    return _state.moving();
}

void DayNightObject::move(bool moving)
{
    _state.setMoving(moving);
    emitMovementChange(moving);
}

} // namespace camera::services
