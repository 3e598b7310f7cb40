#include "camera/pipeline/DeviceServicesClient.h"

#include "camera/base/Log.h"
#include "camera/base/Orientation.h"
#include "camera/base/Utf8.h"
#include "camera/serviceapi/Status.h"

#include <limits>
#include <utility>

namespace camera::pipeline {

namespace {

constexpr const char* kServicesLog = "services";
constexpr const char* kOrientationKey = "default_analytics_rotation";
constexpr std::chrono::seconds kRest(1);

// What the plug-in reads as a status, by the error that the other side answered with.
ravel_core_status statusOf(const sdbus::Error& error)
{
    const std::string& name = error.getName();
    if (name == bus::error::kFailed) {
        return serviceapi::kFailed;
    }
    if (name == bus::error::kRefused) {
        return serviceapi::kNotFound;
    }
    return serviceapi::kUnavailable;
}

} // namespace

DeviceServicesClient::DeviceServicesClient(std::string address, std::chrono::milliseconds patience)
    : _patience(patience), _connection(std::move(address), "the pipeline's client")
{
    _proxies = _connection.add<ServiceProxies>([this](const std::shared_ptr<bus::Session>& session) {
        return std::make_shared<ServiceProxies>(session, news(), _patience);
    });
    // Without a bus no service can be asked. What the plug-in has opened stays open, because it never opens it again.
    _connection.whenLost([this] { forgetTargets(); });
}

DeviceServicesClient::~DeviceServicesClient()
{
    stop();
}

void DeviceServicesClient::start(Listener& listener)
{
    _listener = &listener;
    _connection.start();
    std::unique_lock<std::mutex> lock(_mutex);
    _settled.wait_for(lock, _patience, [this] { return _targets.size() == ServiceProxies::watched().size(); });
    lock.unlock();
    // Known before the first frame, which is already turned by it.
    std::uint32_t angle = 0;
    int value = 0;
    if (orientation(angle) != serviceapi::kOk && configurationValue(kOrientationKey, value) == serviceapi::kOk &&
        value > 0) {
        setOrientation(static_cast<std::uint32_t>(value));
    }
}

void DeviceServicesClient::stop()
{
    _connection.stop();
}

ServiceNews DeviceServicesClient::news()
{
    ServiceNews news;
    news.present = [this](const std::string& service, std::vector<std::string> targets) {
        lookedUp(service, std::move(targets));
    };
    news.gone = [this](const std::string& service) { lookedUp(service, std::nullopt); };
    news.dayNight = [this](bool moving) { _listener->dayNightMoves(moving); };
    news.windowBlanking = [this](bool enabled) { _listener->blankingChanged(enabled); };
    news.rotation = [this](std::uint32_t degrees) {
        setOrientation(degrees);
        _listener->orientationChanged(degrees);
    };
    return news;
}

void DeviceServicesClient::lookedUp(const std::string& service, std::optional<std::vector<std::string>> targets)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    _targets[service] = std::move(targets);
    _settled.notify_all();
}

void DeviceServicesClient::forgetTargets()
{
    const std::lock_guard<std::mutex> lock(_mutex);
    for (auto& [service, targets] : _targets) {
        targets.reset();
    }
}

std::optional<std::vector<std::string>> DeviceServicesClient::targetIds(const std::string& service) const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    const auto found = _targets.find(service);
    return found == _targets.end() ? std::nullopt : found->second;
}

// The plug-in hears any angle; a camera can only be mounted at four of them.
void DeviceServicesClient::setOrientation(std::uint32_t degrees)
{
    if (base::isOrientation(degrees)) {
        _orientation = degrees;
    }
}

// Asks through the proxies. An error is logged and becomes the status.
ravel_core_status DeviceServicesClient::ask(const char* service, const char* what,
                                            const std::function<void(ServiceProxies&)>& question)
{
    const std::shared_ptr<ServiceProxies> proxies = _proxies->get();
    if (!proxies || !targetIds(service)) {
        return serviceapi::kUnavailable;
    }
    try {
        question(*proxies);
        return serviceapi::kOk;
    } catch (const sdbus::Error& error) {
        base::Log::instance().write(base::LogLevel::info, kServicesLog,
                                    std::string(service) + " did not answer " + what + ": " + error.getMessage());
        return statusOf(error);
    }
}

ravel_core_status DeviceServicesClient::regionColor(serviceapi::RegionColor& color)
{
    return ask(bus::service::kWindowBlanking, "getRegionColor", [&color](ServiceProxies& proxies) {
        std::tie(color.red, color.green, color.blue) = proxies.windowBlanking.getRegionColor();
    });
}

ravel_core_status DeviceServicesClient::blankingEnabled(bool& enabled)
{
    return ask(bus::service::kWindowBlanking, "getEnable",
               [&enabled](ServiceProxies& proxies) { enabled = proxies.windowBlanking.getEnable() != 0; });
}

ravel_core_status DeviceServicesClient::orientation(std::uint32_t& degrees)
{
    return ask(bus::service::kRotate, "getAngle", [this, &degrees](ServiceProxies& proxies) {
        degrees = proxies.rotate.getAngle();
        setOrientation(degrees);
    });
}

ravel_core_status DeviceServicesClient::configurationValue(const std::string& key, int& value)
{
    return ask(bus::service::kConfiguration, "getIntValue", [&key, &value](ServiceProxies& proxies) {
        value = proxies.configuration.getIntValue(base::sendable(key));
    });
}

void DeviceServicesClient::sendMetadata(const std::string& document)
{
    const std::shared_ptr<ServiceProxies> proxies = _proxies->get();
    const auto now = Clock::now();
    if (!proxies || now < _streamerRestsUntil || now > _lastSending.load() ||
        !targetIds(bus::service::kOnvifMetadataStreamer)) {
        ++_documentsLost;
        return;
    }
    try {
        proxies->metadataStreamer.sendOnvifAnalyticsMetadataXml(base::sendable(document), 1);
        ++_documentsTaken;
    } catch (const sdbus::Error& error) {
        ++_documentsLost;
        _streamerRestsUntil = Clock::now() + kRest;
        base::Log::instance().write(base::LogLevel::info, kServicesLog,
                                    "a metadata document was lost: " + error.getMessage());
    }
}

} // namespace camera::pipeline
