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
    for (const ProcessStatus& process : _operations.status().processes) {
        rows.emplace_back(process.name, static_cast<std::uint32_t>(process.pid), process.restarts, process.since,
                          process.lastExit);
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
    // Asked after the subscription, so that a name that is taken in between is not missed.
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
