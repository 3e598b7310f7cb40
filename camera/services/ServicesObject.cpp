#include "camera/services/ServicesObject.h"

#include "camera/services/FaultSwitch.h"
#include "camera/services/MetadataSocket.h"
#include "camera/services/ServiceState.h"

#include <unistd.h>
#include <utility>

namespace camera::services {

ServicesObject::ServicesObject(sdbus::IConnection& connection, const ProcessParts& parts,
                               std::function<void(const std::string& service)> faultChanged)
    : ServicesServer(connection), _parts(parts), _faultChanged(std::move(faultChanged))
{
}

void ServicesObject::setFault(const std::string& service, const std::string& fault, double seconds)
{
    _parts.faults.set(service, fault, seconds);
    _faultChanged(service);
}

std::map<std::string, std::string> ServicesObject::faults()
{
    std::map<std::string, std::string> words;
    for (const std::string& service : FaultSwitch::services()) {
        words[service] = word(_parts.faults.of(service).fault);
    }
    return words;
}

std::uint32_t ServicesObject::pid()
{
    return static_cast<std::uint32_t>(::getpid());
}

bool ServicesObject::moving()
{
    return _parts.state.moving();
}

std::uint32_t ServicesObject::orientation()
{
    return _parts.state.rotation().angleDegrees;
}

bool ServicesObject::rotationServed()
{
    return _parts.state.rotation().served;
}

bool ServicesObject::blanking()
{
    return _parts.state.blanking().enabled;
}

std::vector<ServicesObject::SubscriberRow> ServicesObject::subscribers()
{
    std::vector<SubscriberRow> rows;
    for (const MetadataSocket::SubscriberCounters& each : _parts.socket.counters().subscribers) {
        rows.emplace_back(each.delivered, each.lost, each.queuedBytes);
    }
    return rows;
}

std::vector<ServicesObject::FaultRow> ServicesObject::faultSettings()
{
    std::vector<FaultRow> rows;
    for (const std::string& service : FaultSwitch::services()) {
        const FaultSwitch::Setting setting = _parts.faults.of(service);
        rows.emplace_back(service, word(setting.fault), setting.delay.count());
    }
    return rows;
}

} // namespace camera::services
