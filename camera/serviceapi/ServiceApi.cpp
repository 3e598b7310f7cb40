#include "camera/serviceapi/ServiceApi.h"

namespace camera::serviceapi {

ServiceApi::ServiceApi(const ServiceApiOptions& options)
    : settings(options.stateDir, options.copyInterval),
      services(options.services),
      metadataStreamer(*services, options.metadataFile, options.metadataGoesOn)
{
}

ServiceApi::~ServiceApi()
{
    services->stop();
    control.stop(); // queued callbacks use the connections, which are destroyed before the thread
}

void ServiceApi::discardRegistrations()
{
    metadataStreamer.discard();
    dayNight.discard();
    windowBlanking.discard();
    rotation.discard();
}

} // namespace camera::serviceapi
