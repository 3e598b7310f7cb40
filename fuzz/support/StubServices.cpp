// The device services: each answers one target, keeps nothing and never fails.

#include "support/StubPlatform.h"

#include "ravel/configuration.h"
#include "ravel/day_night.h"
#include "ravel/rotate.h"
#include "ravel/target_ids.h"
#include "ravel/window_blanking.h"

namespace {

char connection;

ravel_core_status open(void** cookie)
{
    *cookie = &connection;
    return 0;
}

} // namespace

bool ravel::core::getTargetIds(const char* /*service*/, std::vector<std::string>& ids)
{
    ids = {"1"};
    return fuzz::platform().hasServices;
}

ravel_core_status ravel_core_configuration_get_int_value(const char* /*key*/, int* value)
{
    *value = 90;
    return 0;
}

ravel_core_status ravel_api_day_night_initiator_init(void* /*loop*/, void* /*logHandle*/, void** cookie,
                                                     int /*version*/, void* /*options*/)
{
    return open(cookie);
}

void ravel_api_day_night_initiator_deinit(void* /*cookie*/)
{
}

ravel_core_status ravel_api_day_night_movement_change_register_event_handler(
    void* /*cookie*/, ravel_api_day_night_movement_change_handler /*handler*/, void* /*context*/)
{
    return 0;
}

ravel_core_status
ravel_api_day_night_movement_change_unregister_event_handler(void* /*cookie*/,
                                                             ravel_api_day_night_movement_change_handler /*handler*/)
{
    return 0;
}

ravel_core_status ravel_api_window_blanking_initiator_init(void* /*loop*/, void* /*logHandle*/, void** cookie,
                                                           int /*version*/, void* /*options*/)
{
    return open(cookie);
}

void ravel_api_window_blanking_initiator_deinit(void* /*cookie*/)
{
}

ravel_core_status ravel_api_window_blanking_settings_changed_register_event_handler(
    void* /*cookie*/, ravel_api_window_blanking_settings_changed_handler /*handler*/, void* /*context*/)
{
    return 0;
}

ravel_core_status ravel_api_window_blanking_settings_changed_unregister_event_handler(
    void* /*cookie*/, ravel_api_window_blanking_settings_changed_handler /*handler*/)
{
    return 0;
}

ravel_core_status ravel_api_window_blanking_get_region_color_send(void* /*cookie*/, const char* /*targetId*/,
                                                                  std::uint8_t* red, std::uint8_t* green,
                                                                  std::uint8_t* blue)
{
    *red = 255;
    *green = 128;
    *blue = 0;
    return 0;
}

ravel_core_status ravel_api_window_blanking_get_enable_send(void* /*cookie*/, const char* /*targetId*/,
                                                            std::uint8_t* enable)
{
    *enable = 1;
    return 0;
}

ravel_core_status ravel_api_rotate_initiator_init(void* /*loop*/, void* /*logHandle*/, void** cookie, int /*version*/,
                                                  void* /*options*/)
{
    return open(cookie);
}

ravel_core_status ravel_api_rotate_orientation_changed_register_event_handler(
    void* /*cookie*/, ravel_api_rotate_orientation_changed_handler /*handler*/, void* /*context*/)
{
    return 0;
}

ravel_core_status ravel_api_rotate_get_angle_send(void* /*cookie*/, const char* /*targetId*/, std::uint32_t* angle)
{
    *angle = 180;
    return 0;
}
