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

namespace pipeline_test {

using namespace std::chrono_literals;
namespace service = camera::bus::service;
namespace error = camera::bus::error;

inline std::chrono::steady_clock::time_point soon()
{
    return std::chrono::steady_clock::now() + 60s;
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

/// What was heard, in order, on whatever thread.
class Journal {
public:
    void add(const std::string& line)
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _lines.push_back(line);
        _changed.notify_all();
    }

    std::vector<std::string> lines() const
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        return _lines;
    }

    /// Waits until there are as many lines as that.
    std::vector<std::string> lines(std::size_t count) const
    {
        std::unique_lock<std::mutex> lock(_mutex);
        _changed.wait_until(lock, soon(), [&] { return _lines.size() >= count; });
        return _lines;
    }

    void clear()
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _lines.clear();
    }

private:
    mutable std::mutex _mutex;
    mutable std::condition_variable _changed;
    std::vector<std::string> _lines;
};

/// A gate that a thread is held at until the test opens it, at the latest when the test ends.
class Gate {
public:
    ~Gate() { open(); }

    void pass()
    {
        std::unique_lock<std::mutex> lock(_mutex);
        _reached = true;
        _changed.notify_all();
        _changed.wait(lock, [this] { return _open; });
    }

    bool waitUntilReached()
    {
        std::unique_lock<std::mutex> lock(_mutex);
        return _changed.wait_until(lock, soon(), [this] { return _reached; });
    }

    void open()
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _open = true;
        _changed.notify_all();
    }

private:
    std::mutex _mutex;
    std::condition_variable _changed;
    bool _reached = false;
    bool _open = false;
};

/// Proxies of what the pipeline process serves, for one session.
class PipelineProxies {
public:
    PipelineProxies(const std::shared_ptr<camera::bus::Session>& session, Journal& journal)
    {
        for (const char* name : {service::kOnvifAnalyticService, service::kPositioning, service::kPipeline}) {
            _proxies[name] =
                sdbus::createProxy(session->connection(), camera::bus::busName(name), camera::bus::objectPath(name));
        }
        using Text = std::string;
        hear(service::kOnvifAnalyticService, "analyticsEvent",
             [&journal](const Text& topic, const Text& source, const Text& data) {
                 journal.add("event " + topic + "|" + source + "|" + data);
             });
        hear(service::kPositioning, "motionState",
             [&journal](const bool& moving, const std::uint32_t&, const std::int32_t&, const std::uint32_t&) {
                 journal.add(moving ? "motion started" : "motion stopped");
             });
        hear(service::kPositioning, "commandPriority",
             [&journal](const bool& panTilt, const bool& zoom, const std::uint32_t& priority) {
                 journal.add("priority " + std::to_string(priority) + (panTilt && zoom ? "" : "?"));
             });
        hear(service::kPositioning, "presetState",
             [&journal](const std::int32_t& state, const Text& preset, const bool&, const Text&) {
                 journal.add("state " + std::to_string(state) + " " + preset);
             });
        hear(service::kPositioning, "presetModified",
             [&journal](const Text& name, const bool& created, const bool& changed, const bool& removed) {
                 journal.add(name + (created ? " created" : "") + (changed ? " changed" : "") +
                             (removed ? " removed" : ""));
             });
        hear(service::kPositioning, "tourState",
             [&journal](const std::int32_t& state, const Text& tour, const std::uint32_t& stop, const std::int32_t&) {
                 journal.add("tour " + std::to_string(state) + " " + tour + " " + std::to_string(stop));
             });
        for (const auto& [name, proxy] : _proxies) {
            proxy->finishRegistration();
        }
        _daemon = sdbus::createProxy(session->connection(), "org.freedesktop.DBus", "/org/freedesktop/DBus");
        _daemon->finishRegistration();
    }

    sdbus::IProxy& of(const std::string& name) { return *_proxies.at(name); }
    sdbus::IProxy& daemon() { return *_daemon; }

private:
    template <class Handler>
    void hear(const char* name, const std::string& signal, Handler handler)
    {
        _proxies[name]->uponSignal(signal).onInterface(camera::bus::interfaceName(name)).call(std::move(handler));
    }

    std::map<std::string, std::unique_ptr<sdbus::IProxy>> _proxies;
    std::unique_ptr<sdbus::IProxy> _daemon;
};

/// Another process' view of the pipeline process.
class BusClient {
public:
    explicit BusClient(const std::string& address)
        : connection(address, "the test"),
          proxies(connection.add<PipelineProxies>([this](const std::shared_ptr<camera::bus::Session>& session) {
              return std::make_shared<PipelineProxies>(session, journal);
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
        const auto now = proxies->get();
        if (!now) {
            throw sdbus::Error("no.Session", "the bus is away");
        }
        return test_support::call<Out...>(now->of(name), camera::bus::interfaceName(name), method, 60s, arguments...);
    }

    template <class Out, class... In>
    Out one(const std::string& name, const std::string& method, const In&... arguments)
    {
        return std::get<0>(ask<Out>(name, method, arguments...));
    }

    /// "name|text" of the error, or "answered".
    template <class... Out, class... In>
    std::string refusal(const std::string& name, const std::string& method, const In&... arguments)
    {
        try {
            ask<Out...>(name, method, arguments...);
            return "answered";
        } catch (const sdbus::Error& refused) {
            return refused.getName() + "|" + refused.getMessage();
        }
    }

    std::map<std::string, sdbus::Variant> properties(const std::string& name)
    {
        return test_support::properties(proxies->get()->of(name), camera::bus::interfaceName(name), 60s);
    }

    bool isServed(const std::string& name)
    {
        const auto now = proxies->get();
        try {
            return now && std::get<0>(test_support::call<bool>(now->daemon(), "org.freedesktop.DBus", "NameHasOwner",
                                                               60s, camera::bus::busName(name)));
        } catch (const sdbus::Error&) {
            return false; // the session ended meanwhile
        }
    }

    Journal journal;
    camera::bus::Connection connection;
    std::shared_ptr<camera::bus::CurrentObject<PipelineProxies>> proxies;
};

} // namespace pipeline_test
