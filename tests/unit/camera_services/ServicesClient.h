#pragma once

#include "camera/bus/Connection.h"
#include "camera/bus/Names.h"
#include "support/BusCall.h"

#include <sdbus-c++/sdbus-c++.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace services_test {

using namespace std::chrono_literals;
namespace service = camera::bus::service;
namespace error = camera::bus::error;

inline std::chrono::steady_clock::time_point soon()
{
    return std::chrono::steady_clock::now() + 30s;
}

/// Whether a condition comes true before the deadline.
template <class Condition>
bool eventually(Condition&& condition)
{
    const auto deadline = soon();
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

/// The signals that were heard, in order: "movementChange 1".
class Journal {
public:
    void add(const std::string& line)
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _lines.push_back(line);
        _changed.notify_all();
    }

    /// Waits until there are as many lines as that.
    std::vector<std::string> lines(std::size_t count)
    {
        std::unique_lock<std::mutex> lock(_mutex);
        _changed.wait_until(lock, soon(), [&] { return _lines.size() >= count; });
        return _lines;
    }

private:
    std::mutex _mutex;
    std::condition_variable _changed;
    std::vector<std::string> _lines;
};

/// Proxies of all the services for one session.
class Proxies {
public:
    Proxies(const std::shared_ptr<camera::bus::Session>& session, Journal& journal)
    {
        for (const char* name : {service::kServices, service::kDayNight, service::kWindowBlanking, service::kRotate,
                                 service::kConfiguration, service::kOnvifMetadataStreamer}) {
            _proxies[name] =
                sdbus::createProxy(session->connection(), camera::bus::busName(name), camera::bus::objectPath(name));
        }
        // The same object, also when another process owns the service's own name.
        _hidden = sdbus::createProxy(session->connection(), camera::bus::busName(service::kServices),
                                     camera::bus::objectPath(service::kDayNight));
        hear<bool>(service::kDayNight, "movementChange", journal);
        hear<bool>(service::kWindowBlanking, "settingsChanged", journal);
        hear<std::uint32_t>(service::kRotate, "orientationChanged", journal);
        for (const auto& [name, proxy] : _proxies) {
            proxy->finishRegistration();
        }
        _hidden->finishRegistration();
        _daemon = sdbus::createProxy(session->connection(), "org.freedesktop.DBus", "/org/freedesktop/DBus");
        _daemon->finishRegistration();
    }

    sdbus::IProxy& of(const std::string& name) { return *_proxies.at(name); }
    sdbus::IProxy& dayNightByAnotherName() { return *_hidden; }
    sdbus::IProxy& daemon() { return *_daemon; }

private:
    template <class Value>
    void hear(const char* name, const std::string& signal, Journal& journal)
    {
        _proxies[name]
            ->uponSignal(signal)
            .onInterface(camera::bus::interfaceName(name))
            .call([signal, &journal](const Value& value) { journal.add(signal + " " + std::to_string(value)); });
    }

    std::map<std::string, std::unique_ptr<sdbus::IProxy>> _proxies;
    std::unique_ptr<sdbus::IProxy> _hidden;
    std::unique_ptr<sdbus::IProxy> _daemon;
};

/// Another process' view of the services.
class ServicesClient {
public:
    explicit ServicesClient(const std::string& address)
        : connection(address, "the test"),
          proxies(connection.add<Proxies>([this](const std::shared_ptr<camera::bus::Session>& session) {
              return std::make_shared<Proxies>(session, journal);
          }))
    {
        connection.start();
    }

    bool waitForSession(std::uint64_t number)
    {
        return eventually([&] { return connection.sessions() >= number && connection.connected(); });
    }

    template <class... Out, class... In>
    std::tuple<Out...> ask(const std::string& name, const std::string& method, const In&... arguments)
    {
        return askWithin<Out...>(5min, name, method, arguments...);
    }

    template <class... Out, class... In>
    std::tuple<Out...> askWithin(std::chrono::milliseconds patience, const std::string& name, const std::string& method,
                                 const In&... arguments)
    {
        const auto now = proxies->get();
        if (!now) {
            throw sdbus::Error("no.Session", "the bus is away");
        }
        return test_support::call<Out...>(now->of(name), camera::bus::interfaceName(name), method, patience,
                                          arguments...);
    }

    template <class Out, class... In>
    Out one(const std::string& name, const std::string& method, const In&... arguments)
    {
        return std::get<0>(ask<Out>(name, method, arguments...));
    }

    /// "name|text" of the error, or "answered".
    template <class... In>
    std::string refusal(const std::string& name, const std::string& method, const In&... arguments)
    {
        try {
            ask<>(name, method, arguments...);
            return "answered";
        } catch (const sdbus::Error& refused) {
            return refused.getName() + "|" + refused.getMessage();
        }
    }

    std::map<std::string, sdbus::Variant> properties(const std::string& name)
    {
        const auto now = proxies->get();
        if (!now) {
            throw sdbus::Error("no.Session", "the bus is away");
        }
        return test_support::properties(now->of(name), camera::bus::interfaceName(name), 30s);
    }

    void setFault(const std::string& name, const std::string& fault, double seconds = 0)
    {
        ask<>(service::kServices, "setFault", name, fault, seconds);
    }

    bool isServed(const std::string& name)
    {
        const auto now = proxies->get();
        return now && std::get<0>(test_support::call<bool>(now->daemon(), "org.freedesktop.DBus", "NameHasOwner", 30s,
                                                           camera::bus::busName(name)));
    }

    Journal journal;
    camera::bus::Connection connection;
    std::shared_ptr<camera::bus::CurrentObject<Proxies>> proxies;
};

} // namespace services_test
