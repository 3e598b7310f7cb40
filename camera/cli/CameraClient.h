#pragma once

#include "camera/base/Event.h"
#include "camera/bus/Connection.h"
#include "camera/bus/analytics_client.h"
#include "camera/bus/configuration_client.h"
#include "camera/bus/day_night_client.h"
#include "camera/bus/gateway_client.h"
#include "camera/bus/onvif_analytic_service_client.h"
#include "camera/bus/onvif_metadata_streamer_client.h"
#include "camera/bus/pipeline_client.h"
#include "camera/bus/positioning_client.h"
#include "camera/bus/rotate_client.h"
#include "camera/bus/services_client.h"
#include "camera/bus/supervisor_client.h"
#include "camera/bus/window_blanking_client.h"

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>

namespace camera::cli {

/// Why a running camera did not do what was asked, in one sentence.
class CameraError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A running camera, called over its bus. No call waits longer than its patience. Thread-bound.
class CameraClient {
public:
    /// @param patience  for connecting, and for each call.
    CameraClient(const std::string& address, std::chrono::milliseconds patience);

    /// Gets the camera's analytics events, with the preset at which it stands meanwhile, empty at none.
    using Hear = std::function<void(const base::Event&, const std::string& preset)>;

    /// Before connect(). The function is called on a thread of this object.
    void onEvent(Hear hear);

    /// @throws CameraError when the bus does not answer.
    void connect();

    /// False while there is no bus; when the bus is started again, the connection is made again.
    bool connected() const { return _connection.connected(); }

    /// Asks one of the camera's services: a method or a property of its proxy, and what the method takes.
    /// @throws CameraError
    template <class Proxy, class Result, class... In, class... Given>
    Result ask(Result (Proxy::*method)(In...), const Given&... given)
    {
        return askWithin(_patience, method, given...);
    }

    /// As ask(), with a patience of its own.
    template <class Proxy, class Result, class... In, class... Given>
    Result askWithin(std::chrono::milliseconds patience, Result (Proxy::*method)(In...), const Given&... given)
    {
        using Client = decltype(bus::clientOf(std::declval<Proxy>()));
        const std::shared_ptr<Clients> clients = _clients->get();
        if (!clients) {
            throw CameraError("the camera's bus has gone; camera status shows what runs");
        }
        Client& client = *std::get<std::unique_ptr<Client>>(*clients);
        client.proxy().setPatience(patience);
        try {
            return (client.*method)(given...);
        } catch (const sdbus::Error& error) {
            throw CameraError(sentence(client.service(), error, patience));
        }
    }

private:
    template <class... Client>
    using ListOf = std::tuple<std::unique_ptr<Client>...>;
    using Clients = ListOf<bus::AnalyticsClient, bus::ConfigurationClient, bus::DayNightClient, bus::GatewayClient,
                           bus::OnvifAnalyticServiceClient, bus::OnvifMetadataStreamerClient, bus::PipelineClient,
                           bus::PositioningClient, bus::RotateClient, bus::ServicesClient, bus::SupervisorClient,
                           bus::WindowBlankingClient>;

    std::shared_ptr<Clients> makeClients(sdbus::IConnection& connection);
    void hear(const base::Event& event);
    void presetIs(const std::string& preset, bool beforeSignals = false);
    static std::string sentence(const std::string& service, const sdbus::Error& error,
                                std::chrono::milliseconds patience);

    std::chrono::milliseconds _patience;
    Hear _hear;
    std::mutex _mutex;                  ///< of the preset
    std::optional<std::string> _preset; ///< as the camera said last, for events
    bus::Connection _connection;
    std::shared_ptr<bus::CurrentObject<Clients>> _clients;
};

} // namespace camera::cli
