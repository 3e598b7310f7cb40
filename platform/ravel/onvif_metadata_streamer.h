#pragma once

#include "ravel/status.h"

#include <cstdint>

#pragma GCC visibility push(default)

extern "C" {

/// Opens the initiator side of the metadata streamer; the cookie is 0 while nothing is open.
/// Answered from local state: callable from the frame thread.
ravel_core_status ravel_api_onvif_metadata_streamer_initiator_init(void* loop, void* logHandle, std::uint64_t* cookie,
                                                                   int version, void* options);

/// Sends one ONVIF metadata document to a target; never blocks the frame thread.
ravel_core_status ravel_api_onvif_metadata_streamer_send_onvif_analytics_metadata_xml_send(std::uint64_t cookie,
                                                                                           const char* targetId,
                                                                                           const char* xml, int flag);

/// Closes the initiator; a cookie of 0 is accepted.
void ravel_api_onvif_metadata_streamer_initiator_deinit(std::uint64_t cookie);
}

#pragma GCC visibility pop
