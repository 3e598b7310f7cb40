#include "camera/services/Presence.h"

#include "camera/services/ConfigurationObject.h"
#include "camera/services/DayNightObject.h"
#include "camera/services/MetadataObject.h"
#include "camera/services/RotateObject.h"
#include "camera/services/ServiceState.h"
#include "camera/services/WindowBlankingObject.h"

namespace camera::services {

Presence::Presence(const std::shared_ptr<bus::Session>& session, const Process& process)
    : _process(process),
      _context{session->connection(), process.parts.faults, process.timer,
               std::shared_ptr<DelayedAnswers>(session, &_answers)},
      _self(session->connection(), process.parts, [this](const std::string& service) { arrange(service); })
{
    for (const std::string& service : FaultSwitch::services()) {
        arrange(service);
    }
    // Last: a client that finds the process must find its services, too.
    _self.takeName();
}

void Presence::arrange(const std::string& service)
{
    const auto there = _objects.find(service);
    const bool wanted = isWanted(service);
    if (wanted && there == _objects.end()) {
        auto object = make(service);
        object->takeName();
        _objects[service] = std::move(object);
    } else if (!wanted && there != _objects.end()) {
        there->second->releaseName();
        _objects.erase(there);
    }
}

bool Presence::isWanted(const std::string& service) const
{
    if (service == bus::service::kRotate && !_process.parts.state.rotation().served) {
        return false;
    }
    return _process.parts.faults.of(service).fault != Fault::absent;
}

std::unique_ptr<bus::Server> Presence::make(const std::string& service) const
{
    if (service == bus::service::kDayNight) {
        return std::make_unique<DayNightObject>(_context, _process.parts.state);
    }
    if (service == bus::service::kWindowBlanking) {
        return std::make_unique<WindowBlankingObject>(_context, _process.parts.state);
    }
    if (service == bus::service::kRotate) {
        return std::make_unique<RotateObject>(_context, _process.parts.state);
    }
    if (service == bus::service::kConfiguration) {
        return std::make_unique<ConfigurationObject>(_context, _process.parts.state);
    }
    return std::make_unique<MetadataObject>(_context, _process.parts.socket);
}

} // namespace camera::services
