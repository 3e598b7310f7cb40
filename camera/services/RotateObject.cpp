#include "camera/services/RotateObject.h"

#include "camera/base/Orientation.h"
#include "camera/services/ServiceState.h"

namespace camera::services {

namespace {

constexpr const char* kOrientationChanged = "orientationChanged";

} // namespace

RotateObject::RotateObject(const ObjectContext& context, ServiceState& state)
    : ServiceObject(context, bus::service::kRotate), _state(state)
{
    registerMethods();
    object().registerSignal(kOrientationChanged).onInterface(interface()).withParameters<std::uint32_t>("orientation");
    object().finishRegistration();
}

void RotateObject::registerMethods()
{
    object()
        .registerMethod("getAngle")
        .onInterface(interface())
        .withOutputParamNames("angle")
        .implementedAs([this](sdbus::Result<std::uint32_t>&& result) {
            respond(std::move(result), [this] { return _state.rotation().angleDegrees; });
        });
    object()
        .registerMethod("setAngle")
        .onInterface(interface())
        .withInputParamNames("angle")
        .implementedAs([this](sdbus::Result<>&& result, std::uint32_t angle) {
            respond(std::move(result), [&] { setAngle(angle); });
        });
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
    emit(kOrientationChanged, degrees);
}

} // namespace camera::services
