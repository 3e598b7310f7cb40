#include "camera/bus/NameWatch.h"

#include <algorithm>
#include <utility>

namespace camera::bus {

namespace {

constexpr const char* kBus = "org.freedesktop.DBus";

} // namespace

NameWatch::NameWatch(sdbus::IConnection& connection, std::vector<std::string> names, Changed changed)
    : _names(std::move(names)),
      _changed(std::move(changed)),
      _proxy(sdbus::createProxy(connection, kBus, "/org/freedesktop/DBus"))
{
    _proxy->uponSignal("NameOwnerChanged")
        .onInterface(kBus)
        .call([this](const std::string& name, const std::string& /*before*/, const std::string& owner) {
            if (std::find(_names.begin(), _names.end(), name) != _names.end()) {
                _changed(name, !owner.empty());
            }
        });
    _proxy->finishRegistration();
    // Asked after the subscription, so that a change in between is not missed.
    for (const std::string& name : _names) {
        _proxy->callMethodAsync("NameHasOwner")
            .onInterface(kBus)
            .withArguments(name)
            .uponReplyInvoke(
                [this, &name](const sdbus::Error* error, bool has) { _changed(name, error == nullptr && has); });
    }
}

} // namespace camera::bus
