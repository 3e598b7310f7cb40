#include "camera/services/RotateObject.h"

#include "camera/base/Orientation.h"
#include "camera/services/ServiceState.h"

namespace camera::services {

RotateObject::RotateObject(const ObjectContext& context, ServiceState& state)
    : RotateServer(context.connection, withFaults(context, bus::service::kRotate)), _state(state)
{
}

std::uint32_t RotateObject::getAngle()
{
    return _state.rotation().angleDegrees;
}

void RotateObject::setAngle(std::uint32_t degrees)
{
    if (!base::isOrientation(degrees)) {
        throw bus::Refusal(std::string("the angle is ") + base::kOrientations + " degrees, not " +
                           std::to_string(degrees));
    }
    Rotation rotation = _state.rotation();
    rotation.angleDegrees = degrees;
    _state.setRotation(rotation);
    emitOrientationChanged(degrees);
}

} // namespace camera::services
