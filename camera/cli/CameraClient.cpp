#include "camera/cli/CameraClient.h"

#include <utility>

namespace camera::cli {

namespace {

constexpr const char* kServices[] = {
    bus::service::kAnalytics,      bus::service::kMetadataStreamer, bus::service::kDayNight,
    bus::service::kWindowBlanking, bus::service::kRotate,           bus::service::kConfiguration,
    bus::service::kPositioning,    bus::service::kPipeline,         bus::service::kServices,
    bus::service::kSupervisor,
};

} // namespace

CameraClient::CameraClient(const std::string& address, std::chrono::milliseconds patience)
    : _patience(patience), _connection(address, "the command line")
{
    _proxies =
        _connection.add<Proxies>([this](const std::shared_ptr<bus::Session>& session) { return makeProxies(session); });
}

void CameraClient::onEvent(std::function<void(const base::Event&)> hear)
{
    _hear = std::move(hear);
}

void CameraClient::connect()
{
    _connection.start();
    if (!_connection.waitUntilConnected(std::chrono::steady_clock::now() + _patience)) {
        throw CameraError("the camera's bus '" + _connection.address() + "' does not answer: " + _connection.reason());
    }
}

std::shared_ptr<CameraClient::Proxies> CameraClient::makeProxies(const std::shared_ptr<bus::Session>& session) const
{
    auto proxies = std::make_shared<Proxies>();
    for (const char* service : kServices) {
        auto proxy = sdbus::createProxy(session->connection(), bus::busName(service), bus::objectPath(service));
        if (_hear && service == bus::service::kAnalytics) {
            proxy->uponSignal("analyticsEvent")
                .onInterface(bus::interfaceName(service))
                .call([hear = _hear](const std::string& topic, const std::string& source, const std::string& data) {
                    hear({topic, source, data});
                });
        }
        proxy->finishRegistration();
        proxies->of.emplace(service, std::move(proxy));
    }
    return proxies;
}

std::string CameraClient::sentence(const std::string& service, const sdbus::Error& error,
                                   std::chrono::milliseconds patience)
{
    const std::string& name = error.getName();
    if (name == "org.freedesktop.DBus.Error.ServiceUnknown" || name == "org.freedesktop.DBus.Error.NameHasNoOwner") {
        return "nobody serves the camera's " + service + " now; camera status shows what runs";
    }
    const bool ours = error.getMessage() == bus::interfaceName(service) + " does not answer";
    if (ours || name == "org.freedesktop.DBus.Error.NoReply" || name == "org.freedesktop.DBus.Error.Timeout") {
        return "the camera's " + service + " does not answer within " + std::to_string(patience.count() / 1000) +
               " s; --timeout S waits longer";
    }
    return error.getMessage().empty() ? "the camera's " + service + " fails: " + name : error.getMessage();
}

} // namespace camera::cli
