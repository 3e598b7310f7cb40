#include "camera/services/DayNightObject.h"

#include "camera/services/ServiceState.h"

namespace camera::services {

namespace {

constexpr const char* kMovementChange = "movementChange";

} // namespace

DayNightObject::DayNightObject(const ObjectContext& context, ServiceState& state)
    : ServiceObject(context, bus::service::kDayNight), _state(state)
{
    registerMethods();
    object().registerSignal(kMovementChange).onInterface(interface()).withParameters<bool>("movement");
    object().finishRegistration();
}

void DayNightObject::registerMethods()
{
    object().registerMethod("begin").onInterface(interface()).implementedAs([this](sdbus::Result<>&& result) {
        respond(std::move(result), [this] { move(true); });
    });
    object().registerMethod("end").onInterface(interface()).implementedAs([this](sdbus::Result<>&& result) {
        respond(std::move(result), [this] { move(false); });
    });
    object()
        .registerMethod("isMoving")
        .onInterface(interface())
        .withOutputParamNames("moving")
        .implementedAs(
            [this](sdbus::Result<bool>&& result) { respond(std::move(result), [this] { return _state.moving(); }); });
}

void DayNightObject::move(bool moving)
{
    _state.setMoving(moving);
    emit(kMovementChange, moving);
}

} // namespace camera::services
