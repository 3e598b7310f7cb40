#include "camera/pipeline/ServiceProxies.h"

#include <pugixml.hpp>

#include <algorithm>
#include <utility>

namespace camera::pipeline {

namespace {

constexpr const char* kBusName = "org.freedesktop.DBus";
constexpr const char* kIntrospectable = "org.freedesktop.DBus.Introspectable";

// The target ids: names of the objects right below the service's own.
std::vector<std::string> targetsIn(const std::string& introspection)
{
    std::vector<std::string> ids;
    pugi::xml_document document;
    document.load_string(introspection.c_str());
    for (const pugi::xml_node& node : document.child("node").children("node")) {
        ids.emplace_back(node.attribute("name").value());
    }
    return ids;
}

} // namespace

const std::vector<std::string>& ServiceProxies::watched()
{
    static const std::vector<std::string> services{bus::service::kDayNight, bus::service::kWindowBlanking,
                                                   bus::service::kRotate, bus::service::kMetadataStreamer,
                                                   bus::service::kConfiguration};
    return services;
}

ServiceProxies::ServiceProxies(const std::shared_ptr<bus::Session>& session, ServiceNews news) : _news(std::move(news))
{
    sdbus::IConnection& connection = session->connection();
    for (const std::string& service : watched()) {
        _services[service] = sdbus::createProxy(connection, bus::busName(service), bus::objectPath(service));
        _trees[service] = sdbus::createProxy(connection, bus::busName(service), "/ravel/" + service);
        _trees[service]->finishRegistration();
    }
    listen();
    for (const auto& entry : _services) {
        entry.second->finishRegistration();
    }
    watchOwners(connection); // before the look-ups: whoever comes in between is not missed
    for (const std::string& service : watched()) {
        lookUp(service);
    }
}

void ServiceProxies::listen()
{
    // The names are passed on within one expression: the library keeps references to them until its end.
    const auto on = [this](const char* service, const std::string& signal, auto handler) {
        _services.at(service)->uponSignal(signal).onInterface(bus::interfaceName(service)).call(handler);
    };
    on(bus::service::kDayNight, "movementChange", [this](const bool& moving) { _news.dayNight(moving); });
    on(bus::service::kWindowBlanking, "settingsChanged",
       [this](const bool& enabled) { _news.windowBlanking(enabled); });
    on(bus::service::kRotate, "orientationChanged", [this](const std::uint32_t& angle) { _news.rotation(angle); });
}

void ServiceProxies::watchOwners(sdbus::IConnection& connection)
{
    _bus = sdbus::createProxy(connection, kBusName, "/org/freedesktop/DBus");
    _bus->uponSignal("NameOwnerChanged")
        .onInterface(kBusName)
        .call([this](const std::string& name, const std::string& /*before*/, const std::string& now) {
            const auto& services = watched();
            const auto service = std::find_if(services.begin(), services.end(),
                                              [&](const std::string& each) { return bus::busName(each) == name; });
            if (service == services.end()) {
                return;
            }
            now.empty() ? _news.gone(*service) : lookUp(*service);
        });
    _bus->finishRegistration();
}

void ServiceProxies::lookUp(const std::string& service)
{
    _trees.at(service)
        ->callMethodAsync("Introspect")
        .onInterface(kIntrospectable)
        .withTimeout(bus::kDefaultPatience)
        .uponReplyInvoke([this, service](const sdbus::Error* error, const std::string& introspection) {
            error != nullptr ? _news.gone(service) : _news.present(service, targetsIn(introspection));
        });
}

} // namespace camera::pipeline
