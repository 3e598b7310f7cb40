#include "camera/services/ServiceSet.h"

#include "camera/services/ServiceState.h"

namespace camera::services {

ServiceSet::ServiceSet(const std::shared_ptr<bus::Session>& session, const ProcessContext& process)
    : _context{session->connection(), process, _answers},
      _self(session->connection(), process, [this](const std::string& service) { update(service); })
{
    for (const std::string& service : FaultSwitch::services()) {
        update(service);
    }
    // Last: a client that finds the process must find its services, too.
    _self.takeName();
}

void ServiceSet::update(const std::string& service)
{
    const auto object = _objects.find(service);
    const bool wanted = isWanted(service);
    if (wanted && object == _objects.end()) {
        auto made = makeServiceObject(service, _context);
        made->takeName();
        _objects[service] = std::move(made);
    } else if (!wanted && object != _objects.end()) {
        object->second->releaseName();
        _objects.erase(object);
    }
}

bool ServiceSet::isWanted(const std::string& service) const
{
    const bool served = service != bus::service::kRotate || _context.process.state.orientation().served;
    return served && _context.process.faults.of(service).fault != Fault::absent;
}

} // namespace camera::services
