#pragma once

#include "camera/bus/Connection.h"
#include "camera/bus/Names.h"
#include "kit/LineJournal.h"

#include <sdbus-c++/sdbus-c++.h>

#include <functional>
#include <future>
#include <map>
#include <memory>
#include <tuple>

namespace kit {

namespace service = camera::bus::service;
namespace error = camera::bus::error;
using namespace std::chrono_literals;

/// Proxies of objects on the camera's bus, and of the bus itself, for one session.
class BusProxies {
public:
    BusProxies(sdbus::IConnection& connection, const std::vector<std::string>& services);

    /// One more object, under a name that is the test's own.
    void add(const std::string& name, const std::string& busName, const std::string& path);
    sdbus::IProxy& of(const std::string& name) { return *_proxies.at(name); }

    /// Before the client has the proxies. @param heard  takes the signal's values as constant references.
    template <class Handler>
    void hear(const std::string& name, const std::string& signal, Handler heard)
    {
        of(name).uponSignal(signal).onInterface(camera::bus::interfaceName(name)).call(std::move(heard));
    }

    void finish();

private:
    sdbus::IConnection& _connection;
    std::map<std::string, std::unique_ptr<sdbus::IProxy>> _proxies;
};

/// Another process' view of the camera's services; connects again when the bus comes back.
class BusClient {
public:
    /// @param prepare  called for each session: hears signals, adds objects.
    BusClient(const std::string& address, std::vector<std::string> services,
              std::function<void(BusProxies&, LineJournal&)> prepare = {});
    ~BusClient() { connection.stop(); }
    BusClient(const BusClient&) = delete;
    BusClient& operator=(const BusClient&) = delete;

    bool waitForSession(std::uint64_t number);

    /// @throws sdbus::Error while the bus is away.
    std::shared_ptr<BusProxies> proxies() const;

    /**
     * Calls a method and waits for its answer, never longer than patience, also when the bus dies meanwhile.
     * Out are the types of the method's results.
     *
     * @throws sdbus::Error with the name and text that the other side gave; error::kNoReply when no answer came in
     * time, error::kUnavailable while the bus is away.
     */
    template <class... Out, class... In>
    std::tuple<Out...> askWithin(std::chrono::milliseconds patience, const std::string& name, const std::string& method,
                                 const In&... arguments) const
    {
        return call<Out...>(proxies()->of(name), camera::bus::interfaceName(name), method, patience, arguments...);
    }

    template <class... Out, class... In>
    std::tuple<Out...> ask(const std::string& name, const std::string& method, const In&... arguments) const
    {
        return askWithin<Out...>(5min, name, method, arguments...); // an instrumented process is slow
    }

    template <class Out, class... In>
    Out one(const std::string& name, const std::string& method, const In&... arguments) const
    {
        return std::get<0>(ask<Out>(name, method, arguments...));
    }

    /// "name|text" of the error, or "answered".
    template <class... Out, class... In>
    std::string refusal(const std::string& name, const std::string& method, const In&... arguments) const
    {
        try {
            ask<Out...>(name, method, arguments...);
            return "answered";
        } catch (const sdbus::Error& refused) {
            return refused.getName() + "|" + refused.getMessage();
        }
    }

    std::map<std::string, sdbus::Variant> properties(const std::string& name) const;

    /// Whether a process owns the service's bus name; false while the bus is away.
    bool isServed(const std::string& name) const;

    template <class... Out, class... In>
    static std::tuple<Out...> call(sdbus::IProxy& proxy, const std::string& interface, const std::string& method,
                                   std::chrono::milliseconds patience, const In&... arguments)
    {
        auto promise = std::make_shared<std::promise<std::tuple<Out...>>>();
        std::future<std::tuple<Out...>> answer = promise->get_future();
        proxy.callMethodAsync(method)
            .onInterface(interface)
            .withTimeout(patience)
            .withArguments(arguments...)
            .uponReplyInvoke([promise = std::move(promise)](const sdbus::Error* failed, Out... results) {
                if (failed != nullptr) {
                    promise->set_exception(std::make_exception_ptr(*failed));
                } else {
                    promise->set_value(std::make_tuple(std::move(results)...));
                }
            });
        // The library's own time-out is noticed by the bus thread, which may have ended: hence a second one.
        if (answer.wait_for(patience + 100ms) != std::future_status::ready) {
            throw sdbus::Error(error::kNoReply, interface + " does not answer");
        }
        try {
            return answer.get();
        } catch (const std::future_error&) {
            throw sdbus::Error(error::kUnavailable, "the bus has gone");
        }
    }

    LineJournal journal; ///< what prepare() notes
    camera::bus::Connection connection;

private:
    std::shared_ptr<camera::bus::CurrentObject<BusProxies>> _proxies;
};

} // namespace kit
