#pragma once

#include "camera/bus/Connection.h"
#include "camera/bus/Names.h"
#include "tests/support/BusCall.h"

#include <json/value.h>
#include <sdbus-c++/sdbus-c++.h>

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

namespace camera::fault_tests {

namespace service = bus::service;

/// Proxies of everything that a camera serves, for one session of the bus.
class Proxies {
public:
    Proxies(const std::shared_ptr<bus::Session>& session, std::atomic<std::uint64_t>& events);

    sdbus::IProxy& of(const std::string& name) { return *_proxies.at(name); }

private:
    std::map<std::string, std::unique_ptr<sdbus::IProxy>> _proxies;
};

/// Somebody who uses the camera's bus, connects again when it comes back, and counts the events that reach them.
class Client {
public:
    static constexpr std::chrono::seconds kPatience{30};

    explicit Client(const std::string& address);
    ~Client() { _connection.stop(); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    /// Calls a method. @throws sdbus::Error also when the bus is away.
    template <class... Out, class... In>
    std::tuple<Out...> ask(const std::string& name, const std::string& method, const In&... arguments)
    {
        const std::shared_ptr<Proxies> proxies = _proxies->get();
        if (!proxies) {
            throw sdbus::Error(bus::error::kUnavailable, "the bus is away");
        }
        return test_support::call<Out...>(proxies->of(name), bus::interfaceName(name), method, kPatience, arguments...);
    }

    /// Whether the call was answered.
    template <class... In>
    bool tell(const std::string& name, const std::string& method, const In&... arguments)
    {
        try {
            ask<>(name, method, arguments...);
            return true;
        } catch (const sdbus::Error&) {
            return false;
        }
    }

    /// The properties of the pipeline, their names beginning with a small letter; null while nobody answers.
    Json::Value status();
    /// What the supervisor runs, a row each; empty while it does not answer.
    template <class Row>
    std::vector<Row> processes()
    {
        const std::shared_ptr<Proxies> proxies = _proxies->get();
        try {
            return proxies ? test_support::properties(proxies->of(service::kSupervisor),
                                                      bus::interfaceName(service::kSupervisor), kPatience)
                                 .at("Processes")
                                 .template get<std::vector<Row>>()
                           : std::vector<Row>();
        } catch (const sdbus::Error&) {
            return {};
        }
    }

    std::uint64_t frames() { return status()["frames"].asUInt64(); }

    /// Documents that the services' metadata streamer has received; 0 while it does not answer.
    std::uint64_t documentsReceived();

    /// Whether somebody owns the bus name.
    bool isServed(const std::string& name);

    std::uint64_t events() const { return _events; }
    std::uint64_t sessions() const { return _connection.sessions(); }

private:
    std::atomic<std::uint64_t> _events{0};
    bus::Connection _connection;
    std::shared_ptr<bus::CurrentObject<Proxies>> _proxies;
};

} // namespace camera::fault_tests
