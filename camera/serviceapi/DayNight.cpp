#include "camera/serviceapi/DayNight.h"

#include "camera/serviceapi/Environment.h"

namespace camera::serviceapi {

void DayNight::movement(bool moving)
{
    notify([moving](auto handler, const char* id, void* context) { handler(moving, id, context); });
}

} // namespace camera::serviceapi

using camera::serviceapi::CurrentEnvironment;

ravel_core_status ravel_api_day_night_initiator_init(void* /*loop*/, void* /*logHandle*/, void** cookie, int version,
                                                     void* /*options*/)
{
    const auto environment = CurrentEnvironment::get();
    return environment ? environment->dayNight.init(cookie, version) : camera::serviceapi::kUnavailable;
}

void ravel_api_day_night_initiator_deinit(void* cookie)
{
    if (const auto environment = CurrentEnvironment::get()) {
        environment->dayNight.deinit(cookie);
    }
}

ravel_core_status ravel_api_day_night_movement_change_register_event_handler(
    void* cookie, ravel_api_day_night_movement_change_handler handler, void* context)
{
    const auto environment = CurrentEnvironment::get();
    return environment ? environment->dayNight.addHandler(cookie, handler, context) : camera::serviceapi::kUnavailable;
}

ravel_core_status
ravel_api_day_night_movement_change_unregister_event_handler(void* cookie,
                                                             ravel_api_day_night_movement_change_handler handler)
{
    const auto environment = CurrentEnvironment::get();
    return environment ? environment->dayNight.removeHandler(cookie, handler) : camera::serviceapi::kUnavailable;
}
