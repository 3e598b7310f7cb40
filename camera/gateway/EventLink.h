#pragma once

#include "camera/bus/Connection.h"
#include "camera/gateway/CameraLink.h"
#include "camera/onvif/DeviceEvents.h"
#include "camera/onvif/PropertyStates.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace camera::gateway {

/**
 * The camera's events for the event service: it hears the signals of the pipeline, and knows the last state of every
 * property. A pipeline that comes back is asked for its properties; while there is none, there are none.
 *
 * Thread-bound: that of the io_context, on which everything is told. Signals come on the bus thread.
 */
class EventLink {
public:
    struct Hooks {
        /// Takes what happens.
        onvif::PropertyStates::Tell tell;
        /// The name that clients gave a preset, by its token.
        std::function<std::string(const std::string& token)> nameOfPreset;
        /// A preset was removed, or is a new one. May be empty.
        std::function<void()> presetsChanged = {};
    };

    /// Adds what it needs to the connection, which has not begun and outlives the io_context's run. The link is
    /// borrowed.
    EventLink(bus::Connection& connection, CameraLink& link, boost::asio::io_context& context, Hooks hooks);
    EventLink(const EventLink&) = delete;
    EventLink& operator=(const EventLink&) = delete;

    /// The device itself tells something.
    void tell(const onvif::Notification& event) { _states.happened(event); }

    /// The last state of each property, as the event service asks for it.
    std::vector<onvif::Notification> live() const { return _states.live(); }

private:
    class Signals;

    void pipelineCame();
    void pipelineWent();
    void askProperties();
    void askAgain();
    void askStartTime();
    void analyticsEvent(const base::Event& event);
    void all(const std::vector<onvif::Notification>& events);

    boost::asio::io_context& _context;
    CameraLink& _link;
    const Hooks _hooks;
    onvif::PropertyStates _states;
    onvif::PresetEvents _presets;
    boost::asio::steady_timer _again;
    bool _there = false;         ///< the pipeline
    std::uint64_t _question = 0; ///< the newest that it was asked
    std::shared_ptr<bus::CurrentObject<Signals>> _signals;
};

} // namespace camera::gateway
