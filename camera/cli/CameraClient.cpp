#include "camera/cli/CameraClient.h"

#include "camera/base/Text.h"

#include <type_traits>
#include <utility>

namespace camera::cli {

namespace {

constexpr std::int32_t kPresetReached = 2; // of the signal presetState

} // namespace

CameraClient::CameraClient(const std::string& address, std::chrono::milliseconds patience)
    : _patience(patience), _connection(address, "the command line")
{
    _clients = _connection.add<Clients>(
        [this](const std::shared_ptr<bus::Session>& session) { return makeClients(session->connection()); });
}

void CameraClient::onEvent(Hear hear)
{
    _hear = std::move(hear);
}

void CameraClient::connect()
{
    _connection.start();
    if (!_connection.waitUntilConnected(std::chrono::steady_clock::now() + _patience)) {
        throw CameraError("the camera's bus '" + base::printable(_connection.address()) +
                          "' does not answer: " + _connection.reason());
    }
    if (_hear) {
        try {
            presetIs(std::get<5>(ask(&bus::PositioningClient::getPosition)), true);
        } catch (const CameraError&) { // it is at none until it says so
        }
    }
}

void CameraClient::presetIs(const std::string& preset, bool beforeSignals)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    if (!beforeSignals || !_preset) {
        _preset = preset;
    }
}

void CameraClient::hear(const base::Event& event)
{
    std::unique_lock<std::mutex> lock(_mutex);
    const std::string preset = _preset.value_or("");
    lock.unlock();
    _hear(event, preset);
}

std::shared_ptr<CameraClient::Clients> CameraClient::makeClients(sdbus::IConnection& connection)
{
    const auto make = [&](auto& client) {
        using Client = typename std::decay_t<decltype(client)>::element_type;
        if constexpr (std::is_same_v<Client, bus::OnvifAnalyticServiceClient>) {
            bus::OnvifAnalyticServiceSignals signals;
            if (_hear) {
                signals.analyticsEvent = [this](const std::string& topic, const std::string& source,
                                                const std::string& data) {
                    hear({topic, source, data});
                };
            }
            client = std::make_unique<Client>(connection, _patience, std::move(signals));
        } else if constexpr (std::is_same_v<Client, bus::PositioningClient>) {
            bus::PositioningSignals signals;
            if (_hear) {
                signals.presetState = [this](std::int32_t state, const std::string& preset, bool /*byTour*/,
                                             const std::string& /*user*/) {
                    presetIs(state == kPresetReached ? preset : std::string());
                };
            }
            client = std::make_unique<Client>(connection, _patience, std::move(signals));
        } else {
            client = std::make_unique<Client>(connection, _patience);
        }
    };
    auto clients = std::make_shared<Clients>();
    std::apply([&make](auto&... client) { (make(client), ...); }, *clients);
    return clients;
}

std::string CameraClient::sentence(const std::string& service, const sdbus::Error& error,
                                   std::chrono::milliseconds patience)
{
    if (bus::isAbsence(error)) {
        return "nobody serves the camera's " + service + " now; camera status shows what runs";
    }
    if (error.getName() == bus::error::kNoReply && error.getMessage().find("disconnected") != std::string::npos) {
        return "the camera's " + service + " ended before it answered; camera status shows what runs";
    }
    if (bus::isSilence(error)) {
        return "the camera's " + service + " does not answer within " + std::to_string(patience.count() / 1000) +
               " s; --timeout S waits longer";
    }
    return error.getMessage().empty() ? "the camera's " + service + " fails: " + error.getName() : error.getMessage();
}

} // namespace camera::cli
