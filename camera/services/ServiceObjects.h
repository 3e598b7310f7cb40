#pragma once

#include "camera/bus/Server.h"
#include "camera/services/DelayedAnswers.h"
#include "camera/services/FaultSwitch.h"

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>

namespace camera::services {

class MetadataSocket;
class ServiceState;

constexpr std::size_t kLargestDocumentBytes = base::kLargestMessage; ///< of metadata, in one call

/// What the process has in every session of the bus. Borrowed.
struct ProcessContext {
    const std::filesystem::path& folder; ///< of the state
    ServiceState& state;
    FaultSwitch& faults;
    MetadataSocket& socket;
};

/// What an object of one session is made with; all of it outlives the object.
struct ObjectContext {
    sdbus::IConnection& connection;
    ProcessContext process;
    DelayedAnswers& answers;
};

/**
 * The object of one of FaultSwitch::services(), without its bus name.
 *
 * It answers as the service's fault wants it. An operation that is not made to fail is performed at once, also when its
 * answer waits.
 */
std::unique_ptr<bus::Server> makeServiceObject(const std::string& service, const ObjectContext& context);

} // namespace camera::services
