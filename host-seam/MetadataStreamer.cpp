#include "host-seam/Journal.h"
#include "host-seam/Platform.h"

#include "ravel/onvif_metadata_streamer.h"

using host_seam::journal;
using host_seam::Part;
using host_seam::platform;

namespace {

const char* nullOrNot(const void* pointer)
{
    return pointer == nullptr ? "null" : "not null";
}

} // namespace

ravel_core_status ravel_api_onvif_metadata_streamer_initiator_init(void* loop, void* logHandle, std::uint64_t* cookie,
                                                                   int version, void* options)
{
    platform().reached("streamerInit");
    const host_seam::MetadataStreamer& streamer = platform().streamer;
    journal().add(Part::Service, "streamerInit(", nullOrNot(loop), ", ", nullOrNot(logHandle), ", ", version, ", ",
                  nullOrNot(options), ") -> ", streamer.initStatus);
    if (streamer.initStatus == 0 || streamer.failedInitWritesCookie) {
        *cookie = streamer.cookie;
    }
    return streamer.initStatus;
}

ravel_core_status ravel_api_onvif_metadata_streamer_send_onvif_analytics_metadata_xml_send(std::uint64_t cookie,
                                                                                           const char* targetId,
                                                                                           const char* xml, int flag)
{
    platform().reached("streamerSend");
    host_seam::MetadataStreamer& streamer = platform().streamer;
    journal().add(Part::Service, "streamerSend(", cookie, ", ", targetId, ", ", xml, ", ", flag, ")");
    if (journal().recording()) {
        streamer.sent.push_back({cookie, targetId, xml, flag});
    }
    return streamer.sendStatus;
}

void ravel_api_onvif_metadata_streamer_initiator_deinit(std::uint64_t cookie)
{
    platform().reached("streamerDeinit");
    journal().add(Part::Service, "streamerDeinit(", cookie, ")");
}
