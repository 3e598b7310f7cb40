#include "camera/serviceapi/WindowBlanking.h"

#include "camera/serviceapi/Environment.h"

namespace camera::serviceapi {

void WindowBlanking::ask(const std::shared_ptr<RemoteServices>& remote)
{
    liveElsewhere();
    const std::lock_guard<std::mutex> lock(_mutex);
    _remote = remote;
}

void WindowBlanking::setColor(Color color)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    _color = color;
}

void WindowBlanking::setEnabled(bool enabled)
{
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _enabled = enabled;
    }
    notify([enabled](auto handler, const char* id, void* context) { handler(enabled, id, context); });
}

ravel_core_status WindowBlanking::color(void* cookie, const char* targetId, Color& color) const
{
    const ravel_core_status status = queryStatus(cookie, targetId);
    if (status != kOk) {
        return status;
    }
    std::unique_lock<std::mutex> lock(_mutex);
    if (const auto remote = _remote.lock()) {
        lock.unlock(); // a round trip
        return remote->regionColor(targetId, color);
    }
    color = _color;
    return kOk;
}

ravel_core_status WindowBlanking::enabled(void* cookie, const char* targetId, bool& enabled) const
{
    const ravel_core_status status = queryStatus(cookie, targetId);
    if (status != kOk) {
        return status;
    }
    std::unique_lock<std::mutex> lock(_mutex);
    if (const auto remote = _remote.lock()) {
        lock.unlock();
        return remote->blankingEnabled(targetId, enabled);
    }
    enabled = _enabled;
    return kOk;
}

} // namespace camera::serviceapi

using camera::serviceapi::CurrentEnvironment;
using camera::serviceapi::WindowBlanking;

ravel_core_status ravel_api_window_blanking_initiator_init(void* /*loop*/, void* /*logHandle*/, void** cookie,
                                                           int version, void* /*options*/)
{
    const auto environment = CurrentEnvironment::get();
    return environment ? environment->windowBlanking.init(cookie, version) : camera::serviceapi::kUnavailable;
}

void ravel_api_window_blanking_initiator_deinit(void* cookie)
{
    if (const auto environment = CurrentEnvironment::get()) {
        environment->windowBlanking.deinit(cookie);
    }
}

ravel_core_status ravel_api_window_blanking_settings_changed_register_event_handler(
    void* cookie, ravel_api_window_blanking_settings_changed_handler handler, void* context)
{
    const auto environment = CurrentEnvironment::get();
    return environment ? environment->windowBlanking.addHandler(cookie, handler, context)
                       : camera::serviceapi::kUnavailable;
}

ravel_core_status ravel_api_window_blanking_settings_changed_unregister_event_handler(
    void* cookie, ravel_api_window_blanking_settings_changed_handler handler)
{
    const auto environment = CurrentEnvironment::get();
    return environment ? environment->windowBlanking.removeHandler(cookie, handler) : camera::serviceapi::kUnavailable;
}

ravel_core_status ravel_api_window_blanking_get_region_color_send(void* cookie, const char* targetId, std::uint8_t* red,
                                                                  std::uint8_t* green, std::uint8_t* blue)
{
    const auto environment = CurrentEnvironment::get();
    WindowBlanking::Color color;
    const ravel_core_status status =
        environment ? environment->windowBlanking.color(cookie, targetId, color) : camera::serviceapi::kUnavailable;
    if (status == camera::serviceapi::kOk) {
        *red = color.red;
        *green = color.green;
        *blue = color.blue;
    }
    return status;
}

ravel_core_status ravel_api_window_blanking_get_enable_send(void* cookie, const char* targetId, std::uint8_t* enable)
{
    const auto environment = CurrentEnvironment::get();
    bool enabled = false;
    const ravel_core_status status =
        environment ? environment->windowBlanking.enabled(cookie, targetId, enabled) : camera::serviceapi::kUnavailable;
    if (status == camera::serviceapi::kOk) {
        *enable = enabled ? 1 : 0;
    }
    return status;
}
