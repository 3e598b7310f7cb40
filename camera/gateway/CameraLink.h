#pragma once

#include "camera/bus/Client.h"
#include "camera/bus/Connection.h"
#include "camera/bus/NameWatch.h"
#include "camera/onvif/Operations.h"

#include <sdbus-c++/sdbus-c++.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <utility>

namespace camera::gateway {

/**
 * Asks the camera's other processes over its bus. It never waits: what they say is told later, or that they say nothing
 * within two seconds.
 *
 * Thread-bound: that of the io_context, on which answers are told too.
 */
class CameraLink {
public:
    static constexpr std::chrono::milliseconds kLimit = bus::kDefaultPatience;

    /// Takes an answer: a tuple of the values that a method answers with, or the value of a property.
    template <class Out>
    using Then = std::function<void(onvif::Outcome<Out>)>;

    /// Adds what it needs to the connection, which has not begun and outlives the io_context's run.
    CameraLink(bus::Connection& connection, boost::asio::io_context& context);
    CameraLink(const CameraLink&) = delete;
    CameraLink& operator=(const CameraLink&) = delete;

    /// Calls a method. @param service  one of bus::service
    template <class Out, class... In>
    void call(const char* service, const char* method, Then<Out> then, const In&... arguments)
    {
        send(service, bus::interfaceName(service), method, std::move(then), static_cast<Out*>(nullptr), arguments...);
    }

    /// Calls a method that answers with nothing.
    template <class... In>
    void perform(const char* service, const char* method, const onvif::Done& done, const In&... arguments)
    {
        const auto then = [done](const onvif::Outcome<std::tuple<>>& outcome) {
            const auto* const fault = std::get_if<onvif::Fault>(&outcome);
            done(fault == nullptr ? std::nullopt : std::optional(*fault));
        };
        call<std::tuple<>>(service, method, then, arguments...);
    }

    /// Asks for a property.
    template <class Value>
    void property(const char* service, const char* name, Then<Value> then)
    {
        using Out = std::tuple<sdbus::Variant>;
        const Then<Out> read = [then = std::move(then), service](const onvif::Outcome<Out>& outcome) {
            then(valueOf<Value>(service, outcome));
        };
        send(service, "org.freedesktop.DBus.Properties", "Get", read, static_cast<Out*>(nullptr),
             bus::interfaceName(service), std::string(name));
    }

    /// Whether the camera can move, as far as it is known.
    bool moves() const { return _moves; }

private:
    /// The other processes in one session. On the bus thread, except calls of the proxies.
    class Services {
    public:
        Services(const std::shared_ptr<bus::Session>& session, bus::NameWatch::Changed positioningChanged);

        sdbus::IProxy& of(const std::string& service) { return *_proxies.at(service); }

    private:
        std::map<std::string, std::unique_ptr<sdbus::IProxy>> _proxies;
        const bus::NameWatch _watch;
    };

    /// One question until it is answered or its time is over, on the thread of the io_context.
    template <class Out>
    struct Question {
        Question(boost::asio::io_context& context, Then<Out> then) : timer(context, kLimit), then(std::move(then)) {}

        // In place: a value of the bus can be made of anything, as far as the compiler knows.
        void fail(const onvif::Fault& fault) { end(onvif::Outcome<Out>(std::in_place_type<onvif::Fault>, fault)); }

        void end(onvif::Outcome<Out> outcome)
        {
            if (const auto told = std::exchange(then, {})) {
                timer.cancel();
                // The library keeps a call whose answer was quicker than its own note of it.
                call.cancel();
                services.reset();
                told(std::move(outcome));
            }
        }

        boost::asio::steady_timer timer;
        std::shared_ptr<Services> services; ///< as long as the call is known to them
        sdbus::PendingAsyncCall call;
        Then<Out> then; ///< empty: it was answered
    };

    template <class... Out, class... In>
    void send(const char* service, const std::string& interface, const char* method, Then<std::tuple<Out...>> then,
              const std::tuple<Out...>* /*type*/, const In&... arguments)
    {
        using Values = std::tuple<Out...>;
        const auto question = std::make_shared<Question<Values>>(_context, std::move(then));
        question->services = _services->get();
        if (!question->services) {
            tell(question, noBus());
            return;
        }
        question->timer.async_wait([question, service](boost::system::error_code cancelled) {
            if (!cancelled) {
                question->fail(silence(service));
            }
        });
        const auto answered = [this, asked = std::weak_ptr(question), service](const sdbus::Error* error,
                                                                               Out... values) {
            auto outcome = error == nullptr
                               ? onvif::Outcome<Values>(Values(std::move(values)...))
                               : onvif::Outcome<Values>(std::in_place_type<onvif::Fault>, faultOf(service, *error));
            boost::asio::post(_context, [asked, outcome = std::move(outcome)]() mutable {
                if (const auto still = asked.lock()) {
                    still->end(std::move(outcome));
                }
            });
        };
        try {
            question->call = question->services->of(service)
                                 .callMethodAsync(method)
                                 .onInterface(interface)
                                 .withTimeout(kLimit * 2) // for the library; the limit is the timer's
                                 .withArguments(arguments...)
                                 .uponReplyInvoke(answered);
        } catch (const sdbus::Error& error) {
            tell(question, faultOf(service, error));
        }
    }

    /// Later, as every answer.
    template <class Out>
    void tell(const std::shared_ptr<Question<Out>>& question, const onvif::Fault& fault)
    {
        boost::asio::post(_context, [question, fault] { question->fail(fault); });
    }

    template <class Value>
    static onvif::Outcome<Value> valueOf(const char* service, const onvif::Outcome<std::tuple<sdbus::Variant>>& outcome)
    {
        if (const auto* const fault = std::get_if<onvif::Fault>(&outcome)) {
            return *fault;
        }
        try {
            return std::get<0>(std::get<std::tuple<sdbus::Variant>>(outcome)).template get<Value>();
        } catch (const sdbus::Error& error) { // a value of another type
            return faultOf(service, error);
        }
    }

    static onvif::Fault noBus();
    static onvif::Fault silence(const std::string& service);
    static onvif::Fault faultOf(const std::string& service, const sdbus::Error& error);

    void lookWhetherItMoves();

    boost::asio::io_context& _context;
    bool _moves = false;
    std::shared_ptr<bus::CurrentObject<Services>> _services;
};

} // namespace camera::gateway
