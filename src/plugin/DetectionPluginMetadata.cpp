// The metadata stream.

#include "plugin/DetectionPlugin.h"
#include "ravel/logging.h"
#include "ravel/onvif_metadata_streamer.h"
#include "ravel/target_ids.h"
#include "target/ServiceCall.h"

namespace korva::meridan {

// Until the stream is open every frame tries again; afterwards nothing checks it.
void DetectionPlugin::sendMetadata(const std::string& xml)
{
    if (_metadataTargetIpcCookie == 0) {
        InitializeMetadataStream();
    }
    if (_metadataTargetIpcCookie != 0 && !xml.empty()) {
        ravel_api_onvif_metadata_streamer_send_onvif_analytics_metadata_xml_send(
            _metadataTargetIpcCookie, _metadataTargetId.c_str(), xml.c_str(), 1);
    }
}

void DetectionPlugin::InitializeMetadataStream()
{
    try {
        std::vector<std::string> ids;
        if (!ravel::core::getTargetIds("onvif_metadata_streamer", ids) || ids.empty()) {
            return;
        }
        _metadataTargetId = ids.front();
        throwOnFailure(
            ravel_api_onvif_metadata_streamer_initiator_init(nullptr, nullptr, &_metadataTargetIpcCookie, 1, nullptr),
            "ravel_api_onvif_metadata_streamer_initiator_init(nullptr, nullptr, &_metadataTargetIpcCookie, 1, "
            "nullptr)");
    } catch (const std::exception& error) {
        ravel_core_logging_log(_logHandle, RAVEL_CORE_LOG_ERROR, "failed to open metadata stream: %s", error.what());
    }
}

} // namespace korva::meridan
