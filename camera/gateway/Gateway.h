#pragma once

#include "camera/base/FileDescriptor.h"
#include "camera/bus/Connection.h"
#include "camera/gateway/AnswerCheck.h"
#include "camera/gateway/CameraLink.h"
#include "camera/gateway/DiscoverySocket.h"
#include "camera/gateway/EventLink.h"
#include "camera/gateway/GatewayState.h"
#include "camera/gateway/HttpServer.h"
#include "camera/gateway/NotifySender.h"
#include "camera/onvif/AnalyticsService.h"
#include "camera/onvif/DeviceService.h"
#include "camera/onvif/EventService.h"
#include "camera/onvif/ImagingService.h"
#include "camera/onvif/MediaService.h"
#include "camera/onvif/Operations.h"
#include "camera/onvif/PtzService.h"
#include "camera/onvif/ServiceDirectory.h"
#include "camera/onvif/SoapService.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/steady_timer.hpp>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace camera::gateway {

/// What the gateway is told.
struct GatewayOptions {
    std::string bus;             ///< its address
    std::filesystem::path state; ///< of the camera
    base::FileDescriptor http;   ///< a TCP socket that listens; none: no HTTP
    base::FileDescriptor https;  ///< the same with TLS
    GatewayState::Wanted wanted;
    bool discovery = true;      ///< others find the camera, where it is not bound to an address of this computer only
    std::string advertisedHost; ///< by which they are told to reach it; empty: the address of their link
    std::function<std::string()> log; ///< its newest lines
    std::filesystem::path check;      ///< each answer is checked against the schemas in this folder; empty: none is
};

/**
 * The camera as an ONVIF device on the network, from its construction to its end.
 *
 * It comes up without the bus and the other processes of the camera, and answers what it can without them. One thread
 * has HTTP and everything that the services do; it waits neither for the bus nor for the disk.
 */
class Gateway {
public:
    /// @throws std::runtime_error with one sentence: the state or the certificate cannot be used.
    explicit Gateway(GatewayOptions options);
    ~Gateway();
    Gateway(const Gateway&) = delete;
    Gateway& operator=(const Gateway&) = delete;

    /// Where a client begins: "http://127.0.0.1:8080/onvif/device_service"
    const std::string& address() const { return _address; }

    /// One sentence that says how to log in. @param confidential  whether it may hold the password: that of the first
    /// administrator, where this start has made it.
    std::string login(bool confidential) const;

private:
    onvif::DeviceFacts facts() const;
    onvif::DeviceActions deviceActions(std::function<std::string()> log);
    onvif::MediaActions mediaActions();
    onvif::EventActions eventActions();
    EventLink::Hooks eventHooks();
    void addServices();
    onvif::DiscoveryFacts discoveryFacts();
    std::vector<std::string> addressesOf(const std::string& host) const;
    void beFound(const std::string& bound, const std::string& advertised);
    void endRequests();
    void checkAnswer(const std::string& message) const;
    void run();
    void listen(base::FileDescriptor http, base::FileDescriptor https, const std::filesystem::path& state);

    boost::asio::io_context _context{1};
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> _work = make_work_guard(_context);
    const std::string _host; ///< the numeric address that others reach it by
    const std::string _ipv4; ///< the same of that family
    std::vector<std::pair<std::string, int>> _protocols;
    std::string _address;
    DiskThread _disk;
    GatewayState _state;
    const std::string _administrator; ///< a name at the start
    bus::Connection _bus;
    CameraLink _link;
    EventLink _eventLink;
    NotifySender _notifySender;
    boost::asio::steady_timer _eventTimer;
    onvif::Operations _operations;
    onvif::ServiceDirectory _directory;
    onvif::DeviceService _deviceService;
    onvif::AnalyticsService _analyticsService;
    onvif::MediaService _mediaService;
    onvif::ImagingService _imagingService;
    onvif::PtzService _ptzService;
    onvif::EventService _eventService;
    onvif::SoapService _soap;
    std::optional<AnswerCheck> _check;
    std::optional<boost::asio::ssl::context> _tls;
    std::optional<HttpServer> _http;
    std::optional<DiscoverySocket> _discovery;
    std::thread _thread; // uses everything above
};

} // namespace camera::gateway
