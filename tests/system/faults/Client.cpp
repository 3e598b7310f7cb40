#include "Client.h"

#include <cctype>

namespace camera::fault_tests {

namespace {

constexpr const char* kDaemon = "org.freedesktop.DBus";

} // namespace

Proxies::Proxies(const std::shared_ptr<bus::Session>& session, std::atomic<std::uint64_t>& events)
{
    for (const char* name : {service::kOnvifAnalyticService, service::kPositioning, service::kPipeline,
                             service::kServices, service::kSupervisor, service::kDayNight, service::kWindowBlanking,
                             service::kRotate, service::kOnvifMetadataStreamer, service::kConfiguration}) {
        _proxies[name] = sdbus::createProxy(session->connection(), bus::busName(name), bus::objectPath(name));
    }
    _proxies[service::kOnvifAnalyticService]
        ->uponSignal("analyticsEvent")
        .onInterface(bus::interfaceName(service::kOnvifAnalyticService))
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
    const std::shared_ptr<Proxies> proxies = _proxies->get();
    Json::Value status;
    if (!proxies) {
        return status;
    }
    try {
        const auto all = test_support::properties(proxies->of(service::kPipeline),
                                                  bus::interfaceName(service::kPipeline), kPatience);
        for (const auto& [property, value] : all) {
            Json::Value& member = status[static_cast<char>(std::tolower(property[0])) + property.substr(1)];
            if (value.containsValueOfType<std::uint64_t>()) {
                member = Json::UInt64(value.get<std::uint64_t>());
            } else if (value.containsValueOfType<std::uint32_t>()) {
                member = value.get<std::uint32_t>();
            } else if (value.containsValueOfType<double>()) {
                member = value.get<double>();
            }
        }
    } catch (const sdbus::Error&) {
        return {};
    }
    return status;
}

std::uint64_t Client::documentsReceived()
{
    try {
        return std::get<0>(ask<std::uint64_t, std::uint64_t, std::uint64_t, std::uint32_t>(
            service::kOnvifMetadataStreamer, "getCounters"));
    } catch (const sdbus::Error&) {
        return 0;
    }
}

bool Client::isServed(const std::string& name)
{
    try {
        const std::shared_ptr<Proxies> proxies = _proxies->get();
        return proxies && std::get<0>(test_support::call<bool>(proxies->of(kDaemon), kDaemon, "NameHasOwner", kPatience,
                                                               bus::busName(name)));
    } catch (const sdbus::Error&) {
        return false;
    }
}

} // namespace camera::fault_tests
