#include "camera/services/ServicesObject.h"

#include "camera/services/MetadataSocket.h"
#include "camera/services/ServiceState.h"

#include <unistd.h>
#include <utility>

namespace camera::services {

ServicesObject::ServicesObject(sdbus::IConnection& connection, const ProcessContext& process,
                               std::function<void(const std::string& service)> faultChanged)
    : ServicesServer(connection), _process(process), _faultChanged(std::move(faultChanged))
{
}

void ServicesObject::setFault(const std::string& service, const std::string& fault, double seconds)
{
    _process.faults.set(service, fault, seconds);
    _faultChanged(service);
}

std::map<std::string, std::string> ServicesObject::faults()
{
    std::map<std::string, std::string> words;
    for (const std::string& service : FaultSwitch::services()) {
        words[service] = word(_process.faults.of(service).fault);
    }
    return words;
}

std::uint32_t ServicesObject::pid()
{
    return static_cast<std::uint32_t>(::getpid());
}

bool ServicesObject::moving()
{
    return _process.state.moving();
}

std::uint32_t ServicesObject::orientation()
{
    return _process.state.orientation().degrees;
}

bool ServicesObject::rotationServed()
{
    return _process.state.orientation().served;
}

bool ServicesObject::blanking()
{
    return _process.state.blanking().enabled;
}

std::vector<ServicesObject::SubscriberRow> ServicesObject::subscribers()
{
    std::vector<SubscriberRow> rows;
    for (const MetadataSocket::SubscriberCounters& each : _process.socket.counters().subscribers) {
        rows.emplace_back(each.delivered, each.lost, each.queuedBytes);
    }
    return rows;
}

std::vector<ServicesObject::FaultRow> ServicesObject::faultSettings()
{
    std::vector<FaultRow> rows;
    for (const std::string& service : FaultSwitch::services()) {
        const FaultSwitch::Setting setting = _process.faults.of(service);
        rows.emplace_back(service, word(setting.fault), setting.delay.count());
    }
    return rows;
}

} // namespace camera::services
