#include "camera/supervisor/SupervisorObject.h"

#include "camera/bus/Answer.h"
#include "camera/bus/Names.h"

#include <utility>

namespace camera::supervisor {

namespace {

constexpr const char* kBus = "org.freedesktop.DBus";

} // namespace

SupervisorObject::SupervisorObject(const std::shared_ptr<bus::Session>& session, Operations operations)
    : _object(sdbus::createObject(session->connection(), bus::objectPath(bus::service::kSupervisor)))
{
    const std::string interface = bus::interfaceName(bus::service::kSupervisor);
    _object->registerMethod("status").onInterface(interface).withOutputParamNames("json").implementedAs(
        [status = std::move(operations.status)](sdbus::Result<std::string>&& result) {
            bus::answer(result, [&] { return base::sendable(status()); });
        });
    _object->registerMethod("stop").onInterface(interface).implementedAs(
        [stop = std::move(operations.stop)](sdbus::Result<>&& result) { bus::answer(result, stop); });
    _object->registerMethod("restartPipeline")
        .onInterface(interface)
        .implementedAs([restart = std::move(operations.restartPipeline)](sdbus::Result<>&& result) {
            bus::answer(result, restart);
        });
    _object->finishRegistration();
    session->connection().requestName(bus::busName(bus::service::kSupervisor));
}

NameWatch::NameWatch(const std::shared_ptr<bus::Session>& session, const std::string& name, std::function<void()> owned)
    : _proxy(sdbus::createProxy(session->connection(), kBus, "/org/freedesktop/DBus"))
{
    _proxy->uponSignal("NameOwnerChanged")
        .onInterface(kBus)
        .call([name, owned](const std::string& changed, const std::string&, const std::string& owner) {
            if (changed == name && !owner.empty()) {
                owned();
            }
        });
    _proxy->finishRegistration();
    // Asked after the signal is subscribed to, so that none falls between.
    _proxy->callMethodAsync("NameHasOwner")
        .onInterface(kBus)
        .withArguments(name)
        .uponReplyInvoke([owned](const sdbus::Error* error, bool has) {
            if (error == nullptr && has) {
                owned();
            }
        });
}

} // namespace camera::supervisor
