#include "Client.h"

#include <json/reader.h>

#include <sstream>

namespace camera::fault_tests {

namespace {

constexpr const char* kDaemon = "org.freedesktop.DBus";

} // namespace

Json::Value parsedJson(const std::string& text)
{
    Json::Value value;
    std::string problem;
    std::istringstream in(text);
    const bool read = Json::parseFromStream(Json::CharReaderBuilder(), in, &value, &problem);
    return read && value.isObject() ? value : Json::Value();
}

Proxies::Proxies(const std::shared_ptr<bus::Session>& session, std::atomic<std::uint64_t>& events)
{
    for (const char* name : {service::kAnalytics, service::kPositioning, service::kPipeline, service::kServices,
                             service::kSupervisor, service::kDayNight, service::kWindowBlanking, service::kRotate,
                             service::kMetadataStreamer, service::kConfiguration}) {
        _proxies[name] = sdbus::createProxy(session->connection(), bus::busName(name), bus::objectPath(name));
    }
    _proxies[service::kAnalytics]
        ->uponSignal("analyticsEvent")
        .onInterface(bus::interfaceName(service::kAnalytics))
        .call([&events](const std::string&, const std::string&, const std::string&) { ++events; });
    _proxies[kDaemon] = sdbus::createProxy(session->connection(), kDaemon, "/org/freedesktop/DBus");
    for (const auto& entry : _proxies) {
        entry.second->finishRegistration();
    }
}

Client::Client(const std::string& address)
    : _connection(address, "the test"),
      _proxies(_connection.add<Proxies>(
          [this](const std::shared_ptr<bus::Session>& session) { return std::make_shared<Proxies>(session, _events); }))
{
    _connection.start();
}

Json::Value Client::status()
{
    try {
        return parsedJson(std::get<0>(ask<std::string>(service::kPipeline, "status")));
    } catch (const sdbus::Error&) {
        return {};
    }
}

std::uint64_t Client::documentsReceived()
{
    try {
        return std::get<0>(
            ask<std::uint64_t, std::uint64_t, std::uint64_t, std::uint32_t>(service::kMetadataStreamer, "getCounters"));
    } catch (const sdbus::Error&) {
        return 0;
    }
}

bool Client::isServed(const std::string& name)
{
    try {
        const std::shared_ptr<Proxies> proxies = _proxies->get();
        return proxies && std::get<0>(bus::call<bool>(proxies->of(kDaemon), kDaemon, "NameHasOwner", kPatience,
                                                      bus::busName(name)));
    } catch (const sdbus::Error&) {
        return false;
    }
}

} // namespace camera::fault_tests
