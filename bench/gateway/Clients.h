#pragma once

#include "bench/JsonLines.h"
#include "bench/Pairs.h"
#include "camera/bus/Names.h"
#include "camera/onvif/HttpExchange.h"
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
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sched.h>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

// What the benches of the gateway share: a camera that runs, and what speaks to it.
namespace bench {

constexpr const char* kUser = "bench";
constexpr const char* kPassword = "bench-password";

/// For this process and those that it starts. Between two processors most of a round trip is the time until the system
/// wakes the other one, which may be ten times as long as in the next moment.
inline void stayOnOneProcessor()
{
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(static_cast<std::size_t>(std::max(0, ::sched_getcpu())), &one);
    if (::sched_setaffinity(0, sizeof one, &one) != 0) {
        std::fprintf(stderr, "bench: all processors are used; the round trips vary more than they should\n");
    }
}

/// Wall-clock seconds of one call of work: what is measured happens in other processes.
template <class Work>
Measurement waited(Work work)
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

/// Seconds of one call.
template <class Work>
double secondsOf(const Work& work)
{
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

/// One connection that stays, as clients have it.
class HttpConnection {
public:
    /// @param from  where it comes from, an address of this computer
    explicit HttpConnection(std::uint16_t port, const std::string& from = "127.0.0.1") : _socket(_context)
    {
        _socket.open(boost::asio::ip::tcp::v4());
        _socket.bind({boost::asio::ip::make_address(from), 0});
        _socket.connect({boost::asio::ip::address_v4::loopback(), port});
        _socket.set_option(boost::asio::ip::tcp::no_delay(true));
    }

    void send(const std::string& body, const std::string& path = camera::onvif::kDeviceServicePath)
    {
        boost::beast::http::request<boost::beast::http::string_body> request(boost::beast::http::verb::post, path, 11);
        request.set(boost::beast::http::field::host, "127.0.0.1");
        request.body() = body;
        request.prepare_payload();
        boost::beast::http::write(_socket, request);
    }

    /// @throws std::runtime_error when the server refuses the request.
    std::string answer()
    {
        boost::beast::http::response<boost::beast::http::string_body> response;
        boost::beast::http::read(_socket, _buffer, response);
        if (response.result() != boost::beast::http::status::ok) {
            throw std::runtime_error("the server answers: " + response.body());
        }
        return std::move(response.body());
    }

    std::string post(const std::string& body, const std::string& path = camera::onvif::kDeviceServicePath)
    {
        send(body, path);
        return answer();
    }

private:
    boost::asio::io_context _context;
    boost::asio::ip::tcp::socket _socket;
    boost::beast::flat_buffer _buffer;
};

/// A camera that runs until the end of this object.
class Camera {
public:
    /// @param arguments  further ones of its command line
    explicit Camera(const std::vector<std::string>& arguments = {})
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
            std::vector<std::string> all = {"camera",
                                            "run",
                                            "scene:size=320x240,objects=0,fps=1",
                                            "--ptz",
                                            "--place",
                                            "Gate=10,0,1",
                                            "--no-factory",
                                            "--quiet",
                                            "--http",
                                            "0",
                                            "--user",
                                            user,
                                            "--state",
                                            _folder};
            all.insert(all.end(), arguments.begin(), arguments.end());
            std::vector<char*> pointers;
            for (std::string& argument : all) {
                pointers.push_back(argument.data());
            }
            pointers.push_back(nullptr);
            ::execv(CAMERA_PROGRAM, pointers.data());
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
        for (const Json::Value& object : jsonLinesOf(command)) {
            if (object["part"] == part) {
                return object;
            }
        }
        throw std::runtime_error("the camera does not run");
    }

    /// Of its gateway.
    std::uint16_t port() const
    {
        const std::string onvif = status("supervisor")["onvif"].asString();
        return static_cast<std::uint16_t>(std::stoi(onvif.substr(onvif.find(':', 6) + 1)));
    }

    /// The address of its bus.
    std::string bus() const { return status("supervisor")["bus"].asString(); }

private:
    std::string _folder;
    pid_t _pid = -1;
};

inline std::string envelope(const std::string& header, const std::string& request)
{
    return "<env:Envelope><env:Header>" + header + "</env:Header><env:Body>" + request + "</env:Body></env:Envelope>";
}

/// A request of a user who logs in with a new token, as clients do.
inline std::string withLogin(const std::string& request)
{
    static int nonces = 0;
    const auto token = camera::onvif::tokenOf(kUser, kPassword, "nonce " + std::to_string(++nonces),
                                              camera::onvif::dateTimeText(std::chrono::system_clock::now()));
    return envelope(camera::onvif::elementOf(token), request);
}

/// A connection to the camera's bus.
class Bus {
public:
    explicit Bus(const std::string& address)
        : _connection(sdbus::createSessionBusConnectionWithAddress(address)),
          _plugin(sdbus::createProxy(*_connection, camera::bus::busName(camera::bus::service::kOnvifAnalyticService),
                                     camera::bus::objectPath(camera::bus::service::kOnvifAnalyticService)))
    {
        _connection->enterEventLoopAsync();
    }

    /// The plug-in's service.
    sdbus::IProxy& plugin() { return *_plugin; }

    void ping() { _plugin->callMethod("Ping").onInterface("org.freedesktop.DBus.Peer"); }

private:
    std::unique_ptr<sdbus::IConnection> _connection;
    std::unique_ptr<sdbus::IProxy> _plugin;
};

} // namespace bench
