#pragma once

#include <string>

namespace camera::services {

class FaultSwitch;
class MetadataSocket;
class ServiceState;

/// The process' status as a JSON document on one line.
std::string statusDocument(const std::string& folder, const MetadataSocket& socket, const ServiceState& state,
                           const FaultSwitch& faults);

} // namespace camera::services
