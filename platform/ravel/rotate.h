#pragma once

#include "ravel/status.h"

#include <cstdint>

#pragma GCC visibility push(default)

extern "C" {

/// orientation: degrees by which engines see the delivered picture turned clockwise.
typedef void (*ravel_api_rotate_orientation_changed_handler)(unsigned int orientation, const char* targetId,
                                                             void* context);

/// Connects to the rotation service and writes the connection's handle.
ravel_core_status ravel_api_rotate_initiator_init(void* loop, void* logHandle, void** cookie, int version,
                                                  void* options);
void ravel_api_rotate_initiator_deinit(void* cookie);

/// Handlers run on the control thread.
ravel_core_status ravel_api_rotate_orientation_changed_register_event_handler(
    void* cookie, ravel_api_rotate_orientation_changed_handler handler, void* context);
ravel_core_status
ravel_api_rotate_orientation_changed_unregister_event_handler(void* cookie,
                                                              ravel_api_rotate_orientation_changed_handler handler);

/// Synchronous query of one target; angle in degrees.
ravel_core_status ravel_api_rotate_get_angle_send(void* cookie, const char* targetId, std::uint32_t* angle);
}

#pragma GCC visibility pop
