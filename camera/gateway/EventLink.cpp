#include "camera/gateway/EventLink.h"

#include "camera/base/Event.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <tuple>
#include <utility>

namespace camera::gateway {

namespace {

constexpr std::chrono::seconds kAskAgainAfter{1}; ///< until a pipeline that did not answer is asked again

using Text = std::string;

} // namespace

/// What is heard in one session. On the bus thread.
class EventLink::Signals {
public:
    Signals(const std::shared_ptr<bus::Session>& session, EventLink& link)
        : _link(link),
          _events(proxyOf(session, bus::service::kOnvifAnalyticService)),
          _analytics(proxyOf(session, bus::service::kAnalytics)),
          _positioning(proxyOf(session, bus::service::kPositioning)),
          _watch(session->connection(), {bus::busName(bus::service::kPipeline)}, // the last name that it takes
                 [this](const std::string& /*name*/, bool owned) {
                     later([owned](EventLink& to) { owned ? to.pipelineCame() : to.pipelineWent(); });
                 })
    {
    }

    ~Signals()
    {
        later([](EventLink& to) { to.pipelineWent(); });
    }
    Signals(const Signals&) = delete;
    Signals& operator=(const Signals&) = delete;

private:
    using Proxy = std::unique_ptr<sdbus::IProxy>;

    /// On the thread of the io_context.
    template <class Action>
    void later(Action action)
    {
        boost::asio::post(_link._context, [&link = _link, action = std::move(action)] { action(link); });
    }

    template <class Handler>
    static void hear(sdbus::IProxy& proxy, const char* service, const char* signal, Handler handler)
    {
        proxy.uponSignal(signal).onInterface(bus::interfaceName(service)).call(std::move(handler));
    }

    Proxy proxyOf(const std::shared_ptr<bus::Session>& session, const char* service)
    {
        Proxy proxy = sdbus::createProxy(session->connection(), bus::busName(service), bus::objectPath(service));
        if (service == bus::service::kOnvifAnalyticService) {
            hear(*proxy, service, "analyticsEvent", [this](const Text& topic, const Text& source, const Text& data) {
                later([event = base::Event{topic, source, data}](EventLink& to) { to.analyticsEvent(event); });
            });
        } else if (service == bus::service::kAnalytics) {
            hear(*proxy, service, "configurationChanged", [this] {
                later([](EventLink& to) {
                    to.tell(onvif::configurationChanged(onvif::kAnalyticsConfiguration, onvif::MediaKind::analytics));
                });
            });
        } else {
            hearPositioning(*proxy, service);
        }
        proxy->finishRegistration();
        return proxy;
    }

    void hearPositioning(sdbus::IProxy& proxy, const char* service)
    {
        hear(proxy, service, "presetState",
             [this](const std::int32_t& state, const Text& preset, const bool& /*byTour*/, const Text& /*user*/) {
                 later([state, preset](EventLink& to) { to.all(to._presets.presetState(state, preset)); });
             });
        hear(proxy, service, "commandPriority",
             [this](const bool& /*panTilt*/, const bool& /*zoom*/, const std::uint32_t& /*priority*/) {
                 later([](EventLink& to) { to.all(to._presets.endOfTheWay()); });
             });
        hear(proxy, service, "motionState",
             [this](const bool& moving, const std::uint32_t&, const std::int32_t&, const std::uint32_t&) {
                 if (!moving) {
                     later([](EventLink& to) { to.all(to._presets.endOfTheWay()); });
                 }
             });
        hear(proxy, service, "presetModified", [this](const Text& /*preset*/, const bool&, const bool&, const bool&) {
            later([](EventLink& to) {
                if (to._hooks.presetsChanged) {
                    to._hooks.presetsChanged();
                }
            });
        });
    }

    EventLink& _link;
    const Proxy _events;
    const Proxy _analytics;
    const Proxy _positioning;
    const bus::NameWatch _watch;
};

EventLink::EventLink(bus::Connection& connection, CameraLink& link, boost::asio::io_context& context, Hooks hooks)
    : _context(context),
      _link(link),
      _hooks(std::move(hooks)),
      _states(_hooks.tell),
      _presets(_hooks.nameOfPreset),
      _again(context)
{
    _signals = connection.add<Signals>(
        [this](const std::shared_ptr<bus::Session>& session) { return std::make_shared<Signals>(session, *this); });
}

// One that was ended and started again within a moment is told as there twice.
void EventLink::pipelineCame()
{
    if (_there) {
        pipelineWent();
    }
    _there = true;
    askProperties();
    askStartTime();
}

void EventLink::pipelineWent()
{
    _there = false;
    _again.cancel();
    _presets.forget();
    _states.lost();
}

void EventLink::askProperties()
{
    using Row = sdbus::Struct<Text, Text, Text>;
    using Rows = std::tuple<std::vector<Row>>;
    _states.ask();
    _link.call<Rows>(bus::service::kAnalytics, "properties", [this, question = ++_question](const auto& outcome) {
        const auto* const rows = std::get_if<Rows>(&outcome);
        if (question != _question || !_there) {
            return; // of a pipeline that has ended
        }
        if (rows == nullptr) {
            askAgain();
            return;
        }
        std::vector<onvif::Notification> properties;
        for (const Row& row : std::get<0>(*rows)) {
            if (auto property = onvif::notificationOf({row.get<0>(), row.get<1>(), row.get<2>()})) {
                properties.push_back(std::move(*property));
            }
        }
        _states.found(properties);
    });
}

void EventLink::askAgain()
{
    _again.expires_after(kAskAgainAfter);
    _again.async_wait([this](boost::system::error_code cancelled) {
        if (!cancelled) {
            askProperties();
        }
    });
}

void EventLink::askStartTime()
{
    _link.property<std::int64_t>(
        bus::service::kPipeline, "StartTime", [this](const onvif::Outcome<std::int64_t>& outcome) {
            if (const auto* const time = std::get_if<std::int64_t>(&outcome)) {
                using std::chrono::system_clock;
                _states.set(onvif::lastReboot(system_clock::time_point(std::chrono::milliseconds(*time))));
            }
        });
}

void EventLink::analyticsEvent(const base::Event& event)
{
    if (const auto notification = onvif::notificationOf(event)) {
        _states.happened(*notification);
    }
}

void EventLink::all(const std::vector<onvif::Notification>& events)
{
    for (const onvif::Notification& event : events) {
        _states.happened(event);
    }
}

} // namespace camera::gateway
