#include "plugin/DetectionPlugin.h"

#include "plugin/analytics/factory.h"
#include "ptz/PtzShim.h"
#include "ravel/RavelApiAnalyticsTargetRun.h"
#include "ravel/logging.h"
#include "ravel/onvif_metadata_streamer.h"
#include "target/OnvifTarget.h"

#include <boost/make_shared.hpp>
#include <libxml/parser.h>

namespace korva::meridan {

DetectionPlugin::DetectionPlugin(MeridanEnv* /*env*/, const IPluginConfiguration& config) : BasicFilterPlugin(config)
{
    ravel_core_logging_init("DETECTION", &_logHandle);
    // What the engines keep of the shim is all that keeps it alive later.
    const auto shim = std::make_shared<PtzShim>();
    _analyticsLibs = analytics_lib::GetSupportedAnalyticsLibs(_logHandle, shim);
    _onvifTarget = boost::make_shared<OnvifTarget>(_logHandle, _analyticsLibs);
    _analyticsTargetRun =
        std::make_shared<RavelApiAnalyticsTargetRun>("onvif_analytic_service", _logHandle, _onvifTarget);
    ravel_core_logging_log(_logHandle, RAVEL_CORE_LOG_DEBUG, "DetectionPlugin::DetectionPlugin");
}

// The log closes before the members go: what they still log while they are destroyed is dropped.
DetectionPlugin::~DetectionPlugin()
{
    ravel_core_logging_log(_logHandle, RAVEL_CORE_LOG_DEBUG, "DetectionPlugin::~DetectionPlugin");
    ravel_api_onvif_metadata_streamer_initiator_deinit(_metadataTargetIpcCookie);
    ravel_core_logging_deinit(_logHandle);
    xmlCleanupParser();
}

PipelinePlugin* createDetectionPlugin(MeridanEnv* env, const IPluginConfiguration& config)
{
    return new DetectionPlugin(env, config);
}

} // namespace korva::meridan
