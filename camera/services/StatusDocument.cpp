#include "camera/services/StatusDocument.h"

#include "camera/base/OneLineJson.h"
#include "camera/base/Utf8.h"
#include "camera/services/FaultSwitch.h"
#include "camera/services/MetadataSocket.h"
#include "camera/services/ServiceState.h"

#include <json/json.h>
#include <unistd.h>

namespace camera::services {

namespace {

Json::Value number(std::uint64_t count)
{
    return Json::Value(static_cast<Json::UInt64>(count));
}

Json::Value metadata(const MetadataSocket& socket)
{
    const MetadataSocket::Counters now = socket.counters();
    Json::Value object;
    object["socket"] = base::sendable(socket.path());
    object["received"] = number(now.received);
    object["delivered"] = number(now.delivered);
    object["lost"] = number(now.lost);
    object["subscribers"] = Json::Value(Json::arrayValue);
    for (const MetadataSocket::SubscriberCounters& each : now.subscribers) {
        Json::Value subscriber;
        subscriber["delivered"] = number(each.delivered);
        subscriber["lost"] = number(each.lost);
        subscriber["queuedBytes"] = number(each.queuedBytes);
        object["subscribers"].append(std::move(subscriber));
    }
    return object;
}

Json::Value faultsOf(const FaultSwitch& faults)
{
    Json::Value object(Json::objectValue);
    for (const std::string& service : FaultSwitch::services()) {
        const FaultSwitch::Setting setting = faults.of(service);
        object[service]["fault"] = word(setting.fault);
        object[service]["seconds"] = setting.delay.count();
    }
    return object;
}

} // namespace

std::string statusDocument(const std::string& folder, const MetadataSocket& socket, const ServiceState& state,
                           const FaultSwitch& faults)
{
    Json::Value object;
    object["pid"] = static_cast<Json::Int64>(::getpid());
    object["state"] = base::sendable(folder);
    object["moving"] = state.moving();
    object["angle"] = state.rotation().angleDegrees;
    object["rotationServed"] = state.rotation().served;
    object["blanking"] = state.blanking().enabled;
    object["metadata"] = metadata(socket);
    object["faults"] = faultsOf(faults);
    return base::oneLineJson(object);
}

} // namespace camera::services
