#include "camera/services/ServicesObject.h"

#include "camera/bus/Answer.h"
#include "camera/bus/Names.h"

#include <map>
#include <utility>

namespace camera::services {

namespace {

const std::string kInterface = bus::interfaceName(bus::service::kServices);

} // namespace

ServicesObject::ServicesObject(sdbus::IConnection& connection, FaultSwitch& faults, Hooks hooks)
    : _connection(connection),
      _faults(faults),
      _hooks(std::move(hooks)),
      _object(sdbus::createObject(connection, bus::objectPath(bus::service::kServices)))
{
    registerFaults();
    registerStatus();
    _object->finishRegistration();
}

void ServicesObject::takeName()
{
    _connection.requestName(bus::busName(bus::service::kServices));
}

void ServicesObject::registerFaults()
{
    _object->registerMethod("setFault")
        .onInterface(kInterface)
        .withInputParamNames("service", "fault", "seconds")
        .implementedAs(
            [this](sdbus::Result<>&& result, const std::string& service, const std::string& fault, double seconds) {
                bus::answer(result, [&] {
                    _faults.set(service, fault, seconds);
                    _hooks.faultChanged(service);
                });
            });
    using Words = std::map<std::string, std::string>;
    _object->registerMethod("faults")
        .onInterface(kInterface)
        .withOutputParamNames("faults")
        .implementedAs([this](sdbus::Result<Words>&& result) {
            bus::answer(result, [this] {
                Words words;
                for (const std::string& service : FaultSwitch::services()) {
                    words[service] = word(_faults.of(service).fault);
                }
                return words;
            });
        });
}

void ServicesObject::registerStatus()
{
    _object->registerMethod("status")
        .onInterface(kInterface)
        .withOutputParamNames("status")
        .implementedAs([this](sdbus::Result<std::string>&& result) {
            bus::answer(result, [this] { return base::sendable(_hooks.status()); });
        });
}

} // namespace camera::services
