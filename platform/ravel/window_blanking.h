#pragma once

#include "ravel/status.h"

#include <cstdint>

#pragma GCC visibility push(default)

extern "C" {

typedef void (*ravel_api_window_blanking_settings_changed_handler)(bool enabled, const char* targetId, void* context);

/// Connects to the window blanking service and writes the connection's handle.
ravel_core_status ravel_api_window_blanking_initiator_init(void* loop, void* logHandle, void** cookie, int version,
                                                           void* options);
void ravel_api_window_blanking_initiator_deinit(void* cookie);

/// Handlers run on the control thread.
ravel_core_status ravel_api_window_blanking_settings_changed_register_event_handler(
    void* cookie, ravel_api_window_blanking_settings_changed_handler handler, void* context);
ravel_core_status ravel_api_window_blanking_settings_changed_unregister_event_handler(
    void* cookie, ravel_api_window_blanking_settings_changed_handler handler);

/// Synchronous queries of one target.
ravel_core_status ravel_api_window_blanking_get_region_color_send(void* cookie, const char* targetId, std::uint8_t* red,
                                                                  std::uint8_t* green, std::uint8_t* blue);
ravel_core_status ravel_api_window_blanking_get_enable_send(void* cookie, const char* targetId, std::uint8_t* enable);
}

#pragma GCC visibility pop
