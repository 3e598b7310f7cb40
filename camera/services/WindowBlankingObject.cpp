#include "camera/services/WindowBlankingObject.h"

#include "camera/services/ServiceState.h"

namespace camera::services {

WindowBlankingObject::WindowBlankingObject(const ObjectContext& context, ServiceState& state)
    : WindowBlankingServer(context.connection, withFaults(context, bus::service::kWindowBlanking)), _state(state)
{
}

std::uint8_t WindowBlankingObject::getEnable()
{
    return _state.blanking().enabled ? 1 : 0;
}

std::tuple<std::uint8_t, std::uint8_t, std::uint8_t> WindowBlankingObject::getRegionColor()
{
    const Blanking& now = _state.blanking();
    return {now.red, now.green, now.blue};
}

void WindowBlankingObject::setEnable(bool enable)
{
    Blanking blanking = _state.blanking();
    blanking.enabled = enable;
    set(blanking);
}

void WindowBlankingObject::setRegionColor(std::uint8_t red, std::uint8_t green, std::uint8_t blue)
{
    set(Blanking{red, green, blue, _state.blanking().enabled});
}

void WindowBlankingObject::set(const Blanking& blanking)
{
    _state.setBlanking(blanking);
    emitSettingsChanged(blanking.enabled);
}

} // namespace camera::services
