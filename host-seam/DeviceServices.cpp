#include "host-seam/Journal.h"
#include "host-seam/LogHandles.h"
#include "host-seam/Platform.h"

#include "ravel/day_night.h"
#include "ravel/rotate.h"
#include "ravel/target_ids.h"
#include "ravel/window_blanking.h"

#include <algorithm>

using host_seam::journal;
using host_seam::Part;
using host_seam::platform;

namespace {

char dayNightCookie;
char windowBlankingCookie;
char rotationCookie;

const char* textOf(const void* pointer)
{
    if (pointer == nullptr) {
        return "null";
    }
    if (host_seam::logHandles().isOpen(pointer)) {
        return "log";
    }
    const bool cookie = pointer == &dayNightCookie || pointer == &windowBlankingCookie || pointer == &rotationCookie;
    return cookie ? "cookie" : "unknown";
}

template <typename Service>
ravel_core_status open(Service& service, const char* call, void* handle, const void* loop, const void* logHandle,
                       void** cookie, int version, const void* options)
{
    platform().reached(call);
    const ravel_core_status status = service.initStatus;
    journal().add(Part::Service, call, "(", textOf(loop), ", ", textOf(logHandle), ", ", version, ", ", textOf(options),
                  ") -> ", status);
    if (status == 0) {
        ++service.connections;
    }
    if (service.initWritesCookie) {
        *cookie = handle;
    }
    return status;
}

template <typename Service>
void close(Service& service, const char* call, const void* cookie)
{
    platform().reached(call);
    journal().add(Part::Service, call, "(", textOf(cookie), ")");
    --service.connections;
}

template <typename Service, typename Handler>
ravel_core_status add(Service& service, const char* call, const void* cookie, Handler handler, void* context)
{
    platform().reached(call);
    journal().add(Part::Service, call, "(", textOf(cookie), ") -> ", service.registerStatus);
    service.handlers.emplace_back(handler, context);
    return service.registerStatus;
}

template <typename Service, typename Handler>
ravel_core_status remove(Service& service, const char* call, const void* cookie, Handler handler)
{
    platform().reached(call);
    const auto entry = std::find_if(service.handlers.begin(), service.handlers.end(),
                                    [&](const auto& known) { return known.first == handler; });
    const bool known = entry != service.handlers.end();
    if (known) {
        service.handlers.erase(entry);
    }
    journal().add(Part::Service, call, "(", textOf(cookie), known ? ")" : ", unknown handler)");
    return 0;
}

} // namespace

bool ravel::core::getTargetIds(const char* service, std::vector<std::string>& ids)
{
    if (!platform().before.empty()) {
        platform().reached(std::string("getTargetIds ") + service);
    }
    const auto known = platform().targetIds.find(service);
    const bool listed = known != platform().targetIds.end();
    const bool found = listed && !platform().lookUpsFail;
    journal().add(Part::Service, "getTargetIds ", service, " -> ", found);
    if (listed) {
        ids.insert(ids.end(), known->second.begin(), known->second.end());
    }
    return found;
}

ravel_core_status ravel_api_day_night_initiator_init(void* loop, void* logHandle, void** cookie, int version,
                                                     void* options)
{
    return open(platform().dayNight, "dayNightInit", &dayNightCookie, loop, logHandle, cookie, version, options);
}

void ravel_api_day_night_initiator_deinit(void* cookie)
{
    close(platform().dayNight, "dayNightDeinit", cookie);
}

ravel_core_status ravel_api_day_night_movement_change_register_event_handler(
    void* cookie, ravel_api_day_night_movement_change_handler handler, void* context)
{
    return add(platform().dayNight, "dayNightRegister", cookie, handler, context);
}

ravel_core_status
ravel_api_day_night_movement_change_unregister_event_handler(void* cookie,
                                                             ravel_api_day_night_movement_change_handler handler)
{
    return remove(platform().dayNight, "dayNightUnregister", cookie, handler);
}

ravel_core_status ravel_api_window_blanking_initiator_init(void* loop, void* logHandle, void** cookie, int version,
                                                           void* options)
{
    return open(platform().windowBlanking, "windowBlankingInit", &windowBlankingCookie, loop, logHandle, cookie,
                version, options);
}

void ravel_api_window_blanking_initiator_deinit(void* cookie)
{
    close(platform().windowBlanking, "windowBlankingDeinit", cookie);
}

ravel_core_status ravel_api_window_blanking_settings_changed_register_event_handler(
    void* cookie, ravel_api_window_blanking_settings_changed_handler handler, void* context)
{
    return add(platform().windowBlanking, "windowBlankingRegister", cookie, handler, context);
}

ravel_core_status ravel_api_window_blanking_settings_changed_unregister_event_handler(
    void* cookie, ravel_api_window_blanking_settings_changed_handler handler)
{
    return remove(platform().windowBlanking, "windowBlankingUnregister", cookie, handler);
}

ravel_core_status ravel_api_window_blanking_get_region_color_send(void* cookie, const char* targetId, std::uint8_t* red,
                                                                  std::uint8_t* green, std::uint8_t* blue)
{
    platform().reached("windowBlankingGetColor");
    const host_seam::WindowBlanking& service = platform().windowBlanking;
    journal().add(Part::Service, "windowBlankingGetColor(", textOf(cookie), ", ", targetId, ") -> ",
                  service.queryStatus);
    *red = service.red;
    *green = service.green;
    *blue = service.blue;
    return service.queryStatus;
}

ravel_core_status ravel_api_window_blanking_get_enable_send(void* cookie, const char* targetId, std::uint8_t* enable)
{
    platform().reached("windowBlankingGetEnable");
    const host_seam::WindowBlanking& service = platform().windowBlanking;
    journal().add(Part::Service, "windowBlankingGetEnable(", textOf(cookie), ", ", targetId, ") -> ",
                  service.enableStatus);
    *enable = service.enable;
    return service.enableStatus;
}

ravel_core_status ravel_api_rotate_initiator_init(void* loop, void* logHandle, void** cookie, int version,
                                                  void* options)
{
    return open(platform().rotation, "rotateInit", &rotationCookie, loop, logHandle, cookie, version, options);
}

void ravel_api_rotate_initiator_deinit(void* cookie)
{
    close(platform().rotation, "rotateDeinit", cookie);
}

ravel_core_status ravel_api_rotate_orientation_changed_register_event_handler(
    void* cookie, ravel_api_rotate_orientation_changed_handler handler, void* context)
{
    return add(platform().rotation, "rotateRegister", cookie, handler, context);
}

ravel_core_status
ravel_api_rotate_orientation_changed_unregister_event_handler(void* cookie,
                                                              ravel_api_rotate_orientation_changed_handler handler)
{
    return remove(platform().rotation, "rotateUnregister", cookie, handler);
}

ravel_core_status ravel_api_rotate_get_angle_send(void* cookie, const char* targetId, std::uint32_t* angle)
{
    platform().reached("rotateGetAngle");
    const host_seam::Rotation& service = platform().rotation;
    journal().add(Part::Service, "rotateGetAngle(", textOf(cookie), ", ", targetId, ") -> ", service.queryStatus);
    *angle = service.angle;
    return service.queryStatus;
}
