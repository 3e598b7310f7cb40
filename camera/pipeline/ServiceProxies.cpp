// How the pipeline knows which of the device's services there are. The bus tells who owns their names. A service that
// takes its name is looked up: the names of the objects below it are its targets. Each look-up has a number, so that an
// answer which comes after the owner has changed is ignored. A service that owns its name and does not answer counts as
// absent and is looked up again until it answers.
#include "camera/pipeline/ServiceProxies.h"

#include <pugixml.hpp>

#include <algorithm>
#include <utility>

namespace camera::pipeline {

namespace {

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
                                                   bus::service::kRotate, bus::service::kOnvifMetadataStreamer,
                                                   bus::service::kConfiguration};
    return services;
}

ServiceProxies::ServiceProxies(const std::shared_ptr<bus::Session>& session, ServiceNews news,
                               std::chrono::milliseconds patience)
    : _news(std::move(news)),
      dayNight(session->connection(), patience, {[this](bool moving) { _news.dayNight(moving); }}),
      windowBlanking(session->connection(), patience, {[this](bool enabled) { _news.windowBlanking(enabled); }}),
      rotate(session->connection(), patience, {[this](std::uint32_t angle) { _news.rotation(angle); }}),
      configuration(session->connection(), patience),
      metadataStreamer(session->connection(), patience),
      _patience(patience)
{
    sdbus::IConnection& connection = session->connection();
    for (const std::string& service : watched()) {
        _trees[service] = sdbus::createProxy(connection, bus::busName(service), "/ravel/" + service);
        _trees[service]->finishRegistration();
    }
    std::vector<std::string> names;
    std::transform(watched().begin(), watched().end(), std::back_inserter(names), bus::busName);
    _owners = std::make_unique<bus::NameWatch>(connection, names, [this](const std::string& name, bool owned) {
        const auto service = std::find_if(watched().begin(), watched().end(),
                                          [&](const std::string& each) { return bus::busName(each) == name; });
        if (owned) {
            lookUp(*service);
        } else {
            lost(*service);
        }
    });
}

void ServiceProxies::lookUp(const std::string& service)
{
    const std::uint64_t number = ++_lookUps[service];
    _trees.at(service)
        ->callMethodAsync("Introspect")
        .onInterface(kIntrospectable)
        .withTimeout(_patience)
        .uponReplyInvoke([this, service, number](const sdbus::Error* error, const std::string& introspection) {
            if (_lookUps.at(service) != number) {
                return; // about an owner of the name that has gone
            }
            if (error == nullptr) {
                _news.present(service, targetsIn(introspection));
                return;
            }
            _news.gone(service);
            if (bus::isSilence(*error)) {
                lookUp(service); // it still owns its name, so no signal tells when it answers again
            }
        });
}

void ServiceProxies::lost(const std::string& service)
{
    ++_lookUps[service];
    _news.gone(service);
}

} // namespace camera::pipeline
