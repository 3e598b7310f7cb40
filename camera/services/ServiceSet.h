#pragma once

#include "camera/bus/Connection.h"
#include "camera/services/DelayedAnswers.h"
#include "camera/services/ServiceObjects.h"
#include "camera/services/ServicesObject.h"

#include <map>
#include <memory>
#include <string>

namespace camera::services {

/// All that the process has on the bus for one session: each service that is to be there, and the process itself.
/// Thread-bound: the bus thread's.
class ServiceSet {
public:
    /// @throws sdbus::Error when an object cannot be registered or a name cannot be taken.
    ServiceSet(const std::shared_ptr<bus::Session>& session, const ProcessContext& process);
    ServiceSet(const ServiceSet&) = delete;
    ServiceSet& operator=(const ServiceSet&) = delete;

private:
    /// Adds or removes a service, as its fault and the kind of the camera want it.
    void update(const std::string& service);
    bool isWanted(const std::string& service) const;

    DelayedAnswers _answers;
    const ObjectContext _context;
    std::map<std::string, std::unique_ptr<bus::Server>> _objects; ///< those that are on the bus
    ServicesObject _self;
};

} // namespace camera::services
