#include "camera/supervisor/SupervisorObject.h"

#include <utility>

namespace camera::supervisor {

namespace {

constexpr const char* kBus = "org.freedesktop.DBus";

} // namespace

SupervisorObject::SupervisorObject(const std::shared_ptr<bus::Session>& session, Operations operations)
    : SupervisorServer(session->connection()), _operations(std::move(operations))
{
    takeName();
}

std::vector<SupervisorObject::ProcessRow> SupervisorObject::processes()
{
    std::vector<ProcessRow> rows;
    for (const PartStatus& part : _operations.status().processes) {
        rows.emplace_back(part.name, static_cast<std::uint32_t>(part.pid), part.restarts, part.since, part.lastExit);
    }
    return rows;
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
