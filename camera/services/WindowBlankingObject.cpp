#include "camera/services/WindowBlankingObject.h"

#include "camera/services/ServiceState.h"

namespace camera::services {

namespace {

constexpr const char* kSettingsChanged = "settingsChanged";

using Byte = std::uint8_t;

} // namespace

WindowBlankingObject::WindowBlankingObject(const ObjectContext& context, ServiceState& state)
    : ServiceObject(context, bus::service::kWindowBlanking), _state(state)
{
    registerQueries();
    registerChanges();
    object().registerSignal(kSettingsChanged).onInterface(interface()).withParameters<bool>("enabled");
    object().finishRegistration();
}

void WindowBlankingObject::registerQueries()
{
    object()
        .registerMethod("getRegionColor")
        .onInterface(interface())
        .withOutputParamNames("red", "green", "blue")
        .implementedAs([this](sdbus::Result<Byte, Byte, Byte>&& result) {
            respond(std::move(result), [this] {
                const Blanking& now = _state.blanking();
                return std::make_tuple(now.red, now.green, now.blue);
            });
        });
    object()
        .registerMethod("getEnable")
        .onInterface(interface())
        .withOutputParamNames("enable")
        .implementedAs([this](sdbus::Result<Byte>&& result) {
            respond(std::move(result), [this] { return static_cast<Byte>(_state.blanking().enabled ? 1 : 0); });
        });
}

void WindowBlankingObject::registerChanges()
{
    object()
        .registerMethod("setRegionColor")
        .onInterface(interface())
        .withInputParamNames("red", "green", "blue")
        .implementedAs([this](sdbus::Result<>&& result, Byte red, Byte green, Byte blue) {
            respond(std::move(result), [&] { setColor(red, green, blue); });
        });
    object()
        .registerMethod("setEnable")
        .onInterface(interface())
        .withInputParamNames("enable")
        .implementedAs(
            [this](sdbus::Result<>&& result, bool enable) { respond(std::move(result), [&] { setEnabled(enable); }); });
}

void WindowBlankingObject::setColor(Byte red, Byte green, Byte blue)
{
    set(Blanking{red, green, blue, _state.blanking().enabled});
}

void WindowBlankingObject::setEnabled(bool enabled)
{
    Blanking blanking = _state.blanking();
    blanking.enabled = enabled;
    set(blanking);
}

void WindowBlankingObject::set(const Blanking& blanking)
{
    _state.setBlanking(blanking);
    emit(kSettingsChanged, blanking.enabled);
}

} // namespace camera::services
