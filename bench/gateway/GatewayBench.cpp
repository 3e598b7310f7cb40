#include "bench/JsonLines.h"
#include "bench/Pairs.h"
#include "camera/bus/Names.h"
#include "camera/onvif/AnalyticsState.h"
#include "camera/onvif/Times.h"
#include "unit/camera_onvif/Credentials.h"

#include <boost/asio/connect.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <json/json.h>
#include <sdbus-c++/sdbus-c++.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using asio::ip::tcp;

constexpr const char* kUser = "bench";
constexpr const char* kPassword = "bench-password";

/// Wall-clock seconds of one call of work: what is measured happens in other processes.
template <class Work>
bench::Measurement waited(Work work)
{
    return [work = std::move(work), calls = 1L]() mutable {
        constexpr double kEnough = 0.02;
        for (;; calls *= 2) {
            const auto begin = std::chrono::steady_clock::now();
            for (long call = 0; call < calls; ++call) {
                work();
            }
            const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
            if (seconds >= kEnough) {
                return seconds / static_cast<double>(calls);
            }
        }
    };
}

/// One connection that stays, as clients have it.
class HttpConnection {
public:
    /// @param from  where it comes from, an address of this computer
    explicit HttpConnection(std::uint16_t port, const std::string& from = "127.0.0.1") : _socket(_context)
    {
        _socket.open(tcp::v4());
        _socket.bind({asio::ip::make_address(from), 0});
        _socket.connect({asio::ip::address_v4::loopback(), port});
        _socket.set_option(tcp::no_delay(true));
    }

    std::string post(const std::string& body)
    {
        http::request<http::string_body> request(http::verb::post, "/onvif/device_service", 11);
        request.set(http::field::host, "127.0.0.1");
        request.body() = body;
        request.prepare_payload();
        http::write(_socket, request);
        http::response<http::string_body> response;
        http::read(_socket, _buffer, response);
        if (response.result() != http::status::ok) {
            throw std::runtime_error("the server answers: " + response.body());
        }
        return response.body();
    }

private:
    asio::io_context _context;
    tcp::socket _socket;
    beast::flat_buffer _buffer;
};

/// The smallest server that the library makes: it reads a request and answers the same every time.
class BareServer {
public:
    explicit BareServer(std::string answer)
        : _acceptor(_context, {asio::ip::address_v4::loopback(), 0}), _thread([this, answer] { serve(answer); })
    {
    }
    ~BareServer()
    {
        _thread.join(); // its one client has gone
    }
    BareServer(const BareServer&) = delete;
    BareServer& operator=(const BareServer&) = delete;

    std::uint16_t port() const { return _acceptor.local_endpoint().port(); }

private:
    void serve(const std::string& answer)
    {
        tcp::socket socket = _acceptor.accept();
        socket.set_option(tcp::no_delay(true));
        beast::flat_buffer buffer;
        for (beast::error_code error; !error;) {
            http::request<http::string_body> request;
            http::read(socket, buffer, request, error);
            http::response<http::string_body> response(http::status::ok, 11);
            response.body() = answer;
            response.prepare_payload();
            if (!error) {
                http::write(socket, response, error);
            }
        }
    }

    asio::io_context _context;
    tcp::acceptor _acceptor;
    std::thread _thread;
};

/// A camera that runs until the end of this object.
class Camera {
public:
    Camera()
    {
        char folder[] = "/tmp/bench-gateway-XXXXXX";
        if (::mkdtemp(folder) == nullptr) {
            throw std::runtime_error("cannot make a folder in /tmp");
        }
        _folder = folder;
        const std::string user = std::string(kUser) + ":" + kPassword + ":administrator";
        _pid = ::fork();
        if (_pid == 0) {
            std::freopen("/dev/null", "w", stdout);
            ::execl(CAMERA_PROGRAM, "camera", "run", "scene:size=320x240,objects=0,fps=1", "--ptz", "--place",
                    "Gate=10,0,1", "--no-factory", "--quiet", "--http", "0", "--user", user.c_str(), "--state",
                    _folder.c_str(), nullptr);
            std::_Exit(127);
        }
    }
    ~Camera()
    {
        ::kill(_pid, SIGINT);
        ::waitpid(_pid, nullptr, 0);
        std::system(("rm -rf " + _folder).c_str());
    }
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;

    /// What a part tells of itself, when the camera is ready.
    Json::Value status(const std::string& part) const
    {
        const std::string command = std::string(CAMERA_PROGRAM) + " status --wait 60 --json --camera " + _folder;
        for (const Json::Value& object : bench::jsonLinesOf(command)) {
            if (object["part"] == part) {
                return object;
            }
        }
        throw std::runtime_error("the camera does not run");
    }

private:
    std::string _folder;
    pid_t _pid = -1;
};

std::string envelope(const std::string& header, const std::string& request)
{
    return "<env:Envelope><env:Header>" + header + "</env:Header><env:Body>" + request + "</env:Body></env:Envelope>";
}

/// An operation of the analytics service by a user who logs in with a new token, as clients do.
std::string analytics(const std::string& operation, const std::string& content = "")
{
    static int nonces = 0;
    const auto token = camera::onvif::tokenOf(kUser, kPassword, "nonce " + std::to_string(++nonces),
                                              camera::onvif::dateTimeText(std::chrono::system_clock::now()));
    return envelope(camera::onvif::elementOf(token),
                    "<tan:" + operation + "><tan:ConfigurationToken>AnalyticsConfiguration_1</tan:ConfigurationToken>" +
                        content + "</tan:" + operation + ">");
}

std::string nameOf(int number)
{
    return "Rule " + std::to_string(number);
}

/// Rules at the preset of the camera. @param element  "tan:Rule"; @param preset  how the parameter is called
std::string rules(const char* element, const char* preset, int from, int to)
{
    std::string all;
    for (int number = from; number < to; ++number) {
        all += std::string("<") + element + " Name=\"" + nameOf(number) +
               "\" Type=\"tt:MotionRegionDetector\"><tt:Parameters><tt:SimpleItem Name=\"" + preset +
               "\" Value=\"Gate\"/></tt:Parameters></" + element + ">";
    }
    return all;
}

std::string deletion(int from, int to)
{
    std::string names;
    for (int number = from; number < to; ++number) {
        names += "<tan:RuleName>" + nameOf(number) + "</tan:RuleName>";
    }
    return analytics("DeleteRules", names);
}

/// Seconds of one call.
template <class Work>
double secondsOf(const Work& work)
{
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

/// The services of the camera, called over its bus.
class Bus {
public:
    explicit Bus(const std::string& address)
        : _connection(sdbus::createSessionBusConnectionWithAddress(address)),
          _plugin(sdbus::createProxy(*_connection, camera::bus::busName(camera::bus::service::kOnvifAnalyticService),
                                     camera::bus::objectPath(camera::bus::service::kOnvifAnalyticService)))
    {
        _connection->enterEventLoopAsync();
    }

    void ping() { _plugin->callMethod("Ping").onInterface("org.freedesktop.DBus.Peer"); }

    std::size_t countRules()
    {
        std::vector<std::string> all;
        _plugin->callMethod("getCurrentRules").onInterface(interface()).storeResultsTo(all);
        return all.size();
    }

    /// The rules from 0 to before that number are those of the preset.
    void setRules(int to)
    {
        const std::string document =
            "<tt:VideoAnalyticsConfiguration xmlns:tt=\"http://www.onvif.org/ver10/schema\" token=\"a\"><tt:Name/>"
            "<tt:UseCount>1</tt:UseCount><tt:AnalyticsEngineConfiguration/><tt:RuleEngineConfiguration>" +
            rules("tt:Rule", camera::onvif::kInsidePreset, 0, to) +
            "</tt:RuleEngineConfiguration></tt:VideoAnalyticsConfiguration>";
        std::int32_t result = -1;
        std::uint8_t failed = 1;
        _plugin->callMethod("setConfiguration")
            .onInterface(interface())
            .withArguments(document)
            .storeResultsTo(result, failed);
        if (result != 0 || failed != 0) {
            throw std::runtime_error("the plug-in refuses its rules");
        }
    }

private:
    static std::string interface() { return camera::bus::interfaceName(camera::bus::service::kOnvifAnalyticService); }

    std::unique_ptr<sdbus::IConnection> _connection;
    std::unique_ptr<sdbus::IProxy> _plugin;
};

/// Memory that a process alone has, in MiB.
double megabytesOf(const std::string& process)
{
    std::ifstream in("/proc/" + process + "/smaps_rollup");
    for (std::string word; in >> word;) {
        if (double kilobytes = 0; (word == "Pss:") && in >> kilobytes) {
            return kilobytes / 1024;
        }
    }
    throw std::runtime_error("the memory of process " + process + " cannot be read");
}

/// Prints a sentence for scripts/bench: what as many clients as the gateway takes cost it.
void tellMemory(const std::string& process, std::uint16_t port, const std::string& request)
{
    constexpr int kConnections = 64; // 16 from one address at most, and one is open
    const double atRest = megabytesOf(process);
    std::vector<std::unique_ptr<HttpConnection>> connections;
    while (connections.size() + 1 < kConnections) {
        const std::string from = "127.0.0." + std::to_string(2 + connections.size() % 4);
        connections.push_back(std::make_unique<HttpConnection>(port, from));
        connections.back()->post(request);
    }
    std::printf(
        "note\tThe gateway takes %.1f MiB of memory (its share of what others use too) with one connection, and "
        "%.1f MiB with %d.\n",
        atRest, megabytesOf(process), kConnections);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv)
{
    const bench::Pairs pairs(argc, argv);
    const Camera camera;
    const Json::Value status = camera.status("supervisor");
    const std::string onvif = status["onvif"].asString();
    const auto port = static_cast<std::uint16_t>(std::stoi(onvif.substr(onvif.find(':', 6) + 1)));
    HttpConnection client(port);
    Bus bus(status["bus"].asString());
    const std::string getServices =
        envelope("", "<tds:GetServices><tds:IncludeCapability>false</tds:IncludeCapability></tds:GetServices>");
    tellMemory(camera.status("gateway")["pid"].asString(), port, getServices);
    const BareServer bare(client.post(getServices));
    HttpConnection bareClient(bare.port());
    pairs.compare("bare HTTP server with an answer as large", waited([&] { bareClient.post(getServices); }),
                  "ONVIF GetServices", waited([&] { client.post(getServices); }), bench::atLeast(0.6));

    client.post(analytics("CreateRules", rules("tan:Rule", "PresetToken", 0, 1)));
    const auto getRules = waited([&] { client.post(analytics("GetRules")); });
    // What it has made is taken away again, which is not measured.
    const auto create = [&](int count) {
        return [&client, count] {
            const std::string request = analytics("CreateRules", rules("tan:Rule", "PresetToken", 1, count + 1));
            const double seconds = secondsOf([&] { client.post(request); });
            client.post(deletion(1, count + 1));
            return seconds;
        };
    };
    const auto setAll = [&](int count) {
        return [&bus, count] {
            const double seconds = secondsOf([&] { bus.setRules(count + 1); });
            bus.setRules(1);
            return seconds;
        };
    };
    pairs.compare("ONVIF CreateRules, one rule", create(1), "the same document given to the plug-in", setAll(1));
    pairs.compare("ONVIF CreateRules, 1,000 rules in one list", create(999), "the same document given to the plug-in",
                  setAll(999), bench::atMost(3));
    bus.setRules(2);
    pairs.compare("ONVIF GetRules, 2 rules", getRules, "empty call over the bus", waited([&] { bus.ping(); }));
    bus.setRules(1000);
    pairs.compare("ONVIF GetRules, 1,000 rules", getRules, "the plug-in's list over the bus",
                  waited([&] { bus.countRules(); }));
}
