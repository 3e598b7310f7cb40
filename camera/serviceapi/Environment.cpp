#include "camera/serviceapi/Environment.h"

namespace camera::serviceapi {

Environment::Environment(const Options& options)
    : settings(store::SettingsStore::Options{options.stateDir}),
      dayNight(control, targets, options.faults.dayNight),
      windowBlanking(control, targets, options.faults.windowBlanking),
      rotation(control, targets, options.rotationService ? options.faults.rotation : ServiceFault::absent,
               options.orientationDegrees),
      metadataStreamer(targets, options.faults.metadataStreamer, options.metadataFile)
{
    configuration.set("default_analytics_rotation", static_cast<int>(options.orientationDegrees));
    configuration.fail(options.faults.configurationFails);
}

Environment::~Environment()
{
    control.stop(); // queued callbacks use the services, which are destroyed before the thread
}

void Environment::useServicesElsewhere(const std::shared_ptr<RemoteServices>& remote)
{
    dayNight.liveElsewhere();
    windowBlanking.ask(remote);
    rotation.ask(remote);
    metadataStreamer.liveElsewhere();
    configuration.ask(remote);
    remote->watch();
}

void Environment::quiesce()
{
    dayNight.quiesce();
    windowBlanking.quiesce();
    rotation.quiesce();
}

std::size_t Environment::discardRegistrations()
{
    metadataStreamer.discard();
    return dayNight.discard() + windowBlanking.discard() + rotation.discard();
}

} // namespace camera::serviceapi
