#pragma once

namespace camera::serviceapi {

/// How a service of the device behaves.
enum class ServiceFault {
    none,        ///< answers
    absent,      ///< unknown: no target is found under its name
    noTargets,   ///< known, but it serves no target
    failsInit,   ///< its connection cannot be opened
    failsEvents, ///< handlers cannot be registered
    failsQuery,  ///< synchronous queries, and sends, fail
};

/// The services of one device that are switched off or made to fail.
struct ServiceFaults {
    ServiceFault dayNight = ServiceFault::none;
    ServiceFault windowBlanking = ServiceFault::none;
    ServiceFault rotation = ServiceFault::none;
    ServiceFault metadataStreamer = ServiceFault::none;
    bool configurationFails = false; ///< configuration values cannot be read
};

} // namespace camera::serviceapi
