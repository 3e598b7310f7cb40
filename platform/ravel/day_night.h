#pragma once

#include "ravel/status.h"

#pragma GCC visibility push(default)

extern "C" {

/// movement: the day/night filter starts (true) or has finished (false) moving.
typedef void (*ravel_api_day_night_movement_change_handler)(bool movement, const char* targetId, void* context);

/// Connects to the day/night service and writes the connection's handle.
ravel_core_status ravel_api_day_night_initiator_init(void* loop, void* logHandle, void** cookie, int version,
                                                     void* options);
void ravel_api_day_night_initiator_deinit(void* cookie);

/// Handlers run on the control thread.
ravel_core_status ravel_api_day_night_movement_change_register_event_handler(
    void* cookie, ravel_api_day_night_movement_change_handler handler, void* context);
ravel_core_status
ravel_api_day_night_movement_change_unregister_event_handler(void* cookie,
                                                             ravel_api_day_night_movement_change_handler handler);
}

#pragma GCC visibility pop
