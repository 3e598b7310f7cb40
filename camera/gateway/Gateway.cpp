#include "camera/gateway/Gateway.h"

#include "camera/base/ListeningSocket.h"
#include "camera/base/Log.h"
#include "camera/base/Text.h"
#include "camera/gateway/AnalyticsLink.h"
#include "camera/gateway/CameraActions.h"
#include "camera/gateway/Certificate.h"
#include "camera/gateway/GatewayObject.h"
#include "camera/gateway/PtzLink.h"
#include "camera/onvif/DeviceIo.h"

#include <boost/asio/ip/host_name.hpp>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <future>
#include <memory>
#include <sys/socket.h>
#include <utility>

namespace camera::gateway {

namespace {

constexpr const char* kProcess = "camera-gateway";
constexpr const char* kRealm = "camera";

int listenerOf(const GatewayOptions& options)
{
    return (options.http ? options.http : options.https).get();
}

std::vector<std::pair<std::string, int>> protocolsOf(const GatewayOptions& options)
{
    std::vector<std::pair<std::string, int>> protocols;
    for (const auto& [name, listener] : {std::pair("HTTP", &options.http), std::pair("HTTPS", &options.https)}) {
        if (*listener) {
            protocols.emplace_back(name, base::portOf(listener->get()));
        }
    }
    return protocols;
}

bool isIpv4(const std::string& address)
{
    return address.find(':') == std::string::npos;
}

/// What a camera says of itself that no client changes.
std::vector<std::string> fixedScopes()
{
    return {"onvif://www.onvif.org/type/Network_Video_Transmitter", "onvif://www.onvif.org/hardware/Virtual"};
}

std::vector<std::string> namesForCertificate(const std::string& host, const std::string& ipv4)
{
    std::vector<std::string> names = {"localhost", "127.0.0.1"};
    boost::system::error_code error;
    for (const std::string& name : {host, ipv4, boost::asio::ip::host_name(error)}) {
        if (!name.empty() && std::find(names.begin(), names.end(), name) == names.end()) {
            names.push_back(name);
        }
    }
    return names;
}

} // namespace

Gateway::Gateway(GatewayOptions options)
    : _host(base::reachableAddress(listenerOf(options))),
      _ipv4(isIpv4(_host) ? _host : base::outwardAddress(AF_INET, "127.0.0.1")),
      _protocols(protocolsOf(options)),
      _address(base::baseAddress(options.http ? "http" : "https", listenerOf(options)) + onvif::kDeviceServicePath),
      _state(options.state, options.wanted, _disk, _context),
      _administrator(_state.firstAdministrator()),
      _bus(options.bus, kProcess),
      _link(_bus, _context),
      _eventLink(_bus, _link, _context, eventHooks()),
      _notifySender(_context),
      _eventTimer(_context),
      _deviceService(facts(), _state.users(), _state.device(), deviceActions(options.log), {}),
      _analyticsService(analyticsActions(_link), _state.intended()),
      _mediaService(_state.media(), mediaActions()),
      _imagingService(imagingActions(_link, _state.filter())),
      _ptzService(_state.media(), _state.ptz(), ptzActions(_link), {}),
      _eventService(eventActions()),
      _soap(_operations, _state.users().value(), onvif::DigestAccess(kRealm))
{
    if (!options.check.empty()) {
        _check.emplace(options.check);
    }
    addServices();
    const std::string bound = base::addressOf(listenerOf(options));
    _state.whenMediaChanged([this](const onvif::MediaSettings& before, const onvif::MediaSettings& after) {
        for (const onvif::Notification& event : onvif::mediaEvents(before, after)) {
            _eventLink.tell(event);
        }
    });
    listen(std::move(options.http), std::move(options.https), options.state);
    if (options.discovery && !base::isOfThisComputer(bound)) {
        beFound(bound, options.advertisedHost);
    }
    _bus.add<GatewayObject>([this](const std::shared_ptr<bus::Session>& session) {
        return std::make_shared<GatewayObject>(session->connection(), _address);
    });
    _bus.start();
    _thread = std::thread([this] { run(); });
}

void Gateway::run()
{
    for (;;) {
        try {
            _context.run();
            return;
        } catch (const std::exception& error) { // of one client's request; the others are answered all the same
            base::Log::instance().write(base::LogLevel::error, kProcess, error.what());
        }
    }
}

Gateway::~Gateway()
{
    endRequests();
    _disk.stop();
    _bus.stop();
    _context.stop();
    _thread.join();
}

// The client that asked for what ends this process, a factory default for instance, gets its answer.
void Gateway::endRequests()
{
    const auto ended = std::make_shared<std::promise<void>>();
    boost::asio::post(_context, [this, ended] {
        if (_discovery) {
            _discovery->end();
        }
        _eventService.end();
        _http->end([ended] { ended->set_value(); });
    });
    ended->get_future().wait_for(CameraLink::kLimit); // by then the bus answers all
}

onvif::DeviceFacts Gateway::facts() const
{
    onvif::DeviceFacts facts;
    facts.manufacturer = "Virtual camera";
    facts.model = "Virtual camera";
    facts.firmware = DETECTION_VERSION;
    facts.serial = _state.uuid().substr(0, 8);
    facts.hardware = "Virtual";
    facts.uuid = _state.uuid();
    return facts;
}

onvif::DeviceActions Gateway::deviceActions(std::function<std::string()> log)
{
    onvif::DeviceActions actions;
    actions.log = std::move(log);
    actions.fixedScopes = fixedScopes;
    actions.protocols = [this] { return _protocols; };
    actions.address = [this] { return _ipv4; };
    actions.reboot = [this](const onvif::Done& done) { _link.perform(bus::service::kSupervisor, "restart", done); };
    actions.factoryDefault = [this](bool hard, const onvif::Done& done) {
        // Of a hard one the supervisor does everything: it takes the folder from a gateway that has ended.
        const auto reset = [this, hard, done](const std::optional<onvif::Fault>& failure) {
            if (failure || hard) {
                done(failure);
            } else {
                _state.reset(done);
            }
        };
        _link.perform(bus::service::kSupervisor, "factoryDefault", reset, hard);
    };
    return actions;
}

onvif::DiscoveryFacts Gateway::discoveryFacts()
{
    const onvif::DeviceSettings& settings = _state.device().value();
    onvif::DiscoveryFacts facts{fixedScopes(), settings.discoverable};
    facts.scopes.insert(facts.scopes.end(), settings.scopes.begin(), settings.scopes.end());
    return facts;
}

std::vector<std::string> Gateway::addressesOf(const std::string& host) const
{
    std::vector<std::string> addresses;
    for (const auto& [name, port] : _protocols) {
        addresses.push_back(base::baseAddress(base::inSmallLetters(name), host, port) + onvif::kDeviceServicePath);
    }
    return addresses;
}

/// On the links of the address that it is bound to.
void Gateway::beFound(const std::string& bound, const std::string& advertised)
{
    DiscoverySocket::Place place;
    place.links = [bound] { return linksOf(bound); };
    place.addresses = [this, advertised](const std::string& host) {
        return addressesOf(advertised.empty() ? host : advertised);
    };
    const auto started = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    _discovery.emplace(_context, onvif::Discovery(_state.uuid(), static_cast<std::uint32_t>(started), discoveryFacts()),
                       place);
    _state.whenDeviceChanged([this] { _discovery->tell(discoveryFacts()); });
}

onvif::MediaActions Gateway::mediaActions()
{
    onvif::MediaActions actions = gateway::mediaActions(_link);
    actions.analytics = [this](const auto& then) { _analyticsService.content(then); };
    actions.setAnalytics = [this](const pugi::xml_node& configuration, const onvif::Done& done) {
        _analyticsService.replace(configuration, done);
    };
    return actions;
}

EventLink::Hooks Gateway::eventHooks()
{
    EventLink::Hooks hooks;
    hooks.tell = [this](const onvif::Notification& event) { _eventService.tell(event); };
    hooks.nameOfPreset = [this](const std::string& token) {
        const auto& names = _state.ptz().value().presetNames;
        const auto found = names.find(token);
        return found != names.end() ? found->second : token;
    };
    return hooks;
}

onvif::EventActions Gateway::eventActions()
{
    onvif::EventActions actions;
    actions.live = [this](const auto& then) { then(_eventLink.live()); };
    actions.view = analyticsActions(_link).view;
    actions.push = [this](const onvif::PushMessage& message, const onvif::Done& done) {
        _notifySender.post(message, done);
    };
    actions.wakeAt = [this](std::chrono::steady_clock::time_point time) {
        _eventTimer.expires_at(time);
        _eventTimer.async_wait([this](boost::system::error_code replaced) {
            if (!replaced) {
                _eventService.wake();
            }
        });
    };
    actions.log = [](const std::string& line) { base::Log::instance().write(base::LogLevel::info, kProcess, line); };
    return actions;
}

/// Each service of the device adds itself here.
void Gateway::addServices()
{
    _deviceService.addTo(_operations, _directory);
    _mediaService.addTo(_operations, _directory);
    _analyticsService.addTo(_operations, _directory);
    _imagingService.addTo(_operations, _directory);
    _ptzService.addTo(_operations, _directory);
    _eventService.addTo(_operations, _directory);
    onvif::addDeviceIo(_operations, _directory);
}

void Gateway::listen(base::FileDescriptor http, base::FileDescriptor https, const std::filesystem::path& state)
{
    const auto handle = [this](const onvif::HttpRequest& request, const HttpServer::Reply& reply) {
        _soap.handle(request, [this, reply, who = request.peer + " " + request.method](onvif::HttpAnswer answer) {
            const std::string line = who + " " + std::to_string(answer.status);
            base::Log::instance().write(base::LogLevel::debug, kProcess, line);
            checkAnswer(answer.body);
            reply(std::move(answer));
        });
    };
    _http.emplace(_context, handle, HttpServer::Limits());
    if (http) {
        _http->listen(std::move(http));
    }
    if (https) {
        _tls.emplace(boost::asio::ssl::context::tls_server);
        use(*_tls, keptCertificate(state / "gateway" / "certificate.pem", namesForCertificate(_host, _ipv4)));
        _http->listen(std::move(https), &*_tls);
    }
}

void Gateway::checkAnswer(const std::string& message) const
{
    const std::string faults = _check ? _check->faultsOf(message) : "";
    if (!faults.empty()) {
        base::Log::instance().write(base::LogLevel::error, kProcess, "an answer is not valid: " + faults);
    }
}

std::string Gateway::login(bool confidential) const
{
    const std::string file = _state.usersFile().string();
    const std::string begin = "Log in as \"" + _administrator + "\" with the password ";
    if (confidential && !_state.firstPassword().empty()) {
        return begin + "\"" + _state.firstPassword() + "\", which " + file + " keeps.";
    }
    return begin + "in " + file + ".";
}

} // namespace camera::gateway
