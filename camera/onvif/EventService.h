#pragma once

#include "camera/onvif/AnalyticsChange.h"
#include "camera/onvif/EventSubscription.h"
#include "camera/onvif/Notification.h"
#include "camera/onvif/Operations.h"
#include "camera/onvif/ServiceDirectory.h"
#include "camera/onvif/SoapService.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace camera::onvif {

/// A message to a consumer, to be posted with the content type of SOAP 1.2.
struct PushMessage {
    std::string address;  ///< of the consumer: "http://192.168.1.9:5000/events"
    std::string onlyHost; ///< the numeric address that it must have; empty: any
    std::string action;   ///< the SOAP action
    std::string text;     ///< the whole envelope
};

/// What the event service asks of the device around it. Each is called on the thread of the service.
struct EventActions {
    /// The last state of every live property, each as a message with the operation initialized. What tell() was given
    /// before the answer is in it, and what it is given afterwards is not.
    Ask<std::vector<Notification>> live;
    /// What the engines are and whether the camera moves, for the topics.
    Ask<AnalyticsView> view;
    /// Posts a message; done gets a failure when the consumer did not take it within the sender's limit of time.
    std::function<void(const PushMessage&, Done)> push;
    /// Asks for one call of EventService::wake() at that time or a little later. A newer call replaces an older one.
    std::function<void(std::chrono::steady_clock::time_point)> wakeAt;
    std::function<void(const std::string& line)> log;
    /// Whether a consumer may be at another address than the client that subscribes it.
    bool consumersAnywhere = false;
};

/// How much the event service takes.
struct EventLimits {
    std::size_t queue = 1000;         ///< messages that wait for one subscriber; the oldest goes for a new one
    std::size_t inOneAnswer = 250;    ///< messages
    std::size_t pullPoints = 32;      ///< of one user; of all users twice as many
    std::size_t consumers = 16;       ///< of one user; of all users twice as many
    std::chrono::minutes timeout{10}; ///< of a pull
    std::chrono::hours lifetime{24};  ///< until a subscription is renewed
};

/**
 * The ONVIF event service (namespace tev, and wsnt for what all subscriptions have): pull points, consumers that
 * messages are pushed to, and the topics of the device.
 *
 * A subscription begins with the state of every live property that it wants, then gets each message that is told.
 * Thread-bound; it lives until all that it asked has answered.
 */
class EventService {
public:
    explicit EventService(EventActions actions, Clocks clocks = {}, EventLimits limits = {});

    /// Adds its operations, and itself to the directory.
    void addTo(Operations& operations, ServiceDirectory& directory);

    /// Something happened: gives it to all who want it.
    void tell(const Notification& notification);

    /// To be called when the time for it has come, see EventActions::wakeAt; at any other time it does nothing.
    void wake();

    /// Answers all requests that wait, because the device ends.
    void end();

    /// How many subscriptions there are.
    std::size_t subscriptions() const { return _subscriptions.size(); }

private:
    using Shared = std::shared_ptr<const Call>;
    using Time = std::chrono::steady_clock::time_point;
    using Subscriptions = std::map<std::string, EventSubscription>;

    void describe(const Shared& call, const Reply& reply);
    void subscribe(const Shared& call, const Reply& reply);
    void create(const Shared& call, const Reply& reply, EventSubscription wanted);
    Answer created(const Call& call, const std::string& id, const EventSubscription& wanted,
                   const std::vector<Notification>& live);
    EventSubscription wantedSubscription(const Call& call) const;
    void checkRoom(const std::string& user, bool pushes) const;
    void pull(const Shared& call, const Reply& reply);
    void answer(EventSubscription& subscription, const WaitingPull& pull);
    void endPull(EventSubscription& subscription);
    void clientIsGone(const std::string& id, std::uint64_t pull);
    void synchronize(const Shared& call, const Reply& reply);
    Answer renew(const Call& call);
    Answer unsubscribe(const Call& call);

    EventSubscription& subscriptionOf(const Call& call);
    void give(const std::string& id, EventSubscription& subscription, const SharedNotification& notification);
    void push(const std::string& id, EventSubscription& subscription);
    void pushed(const std::string& id, const std::string& user, const std::optional<Fault>& failure);
    void removeEnded();
    Subscriptions::iterator remove(Subscriptions::iterator ended);
    void planWake();
    void reportDropped(EventSubscription& subscription);
    Fault fault(const char* name, const std::string& reason, const std::string& more = "") const;
    /// The clock of the wall now, and when a subscription ends.
    struct Times {
        std::string now;
        std::string end;
    };
    Times timesOf(const EventSubscription& subscription) const;
    std::chrono::milliseconds lifetimeIn(const pugi::xml_node& parent, const char* name, const char* fault) const;

    const EventActions _actions;
    const Clocks _clocks;
    const EventLimits _limits;
    Subscriptions _subscriptions;                     ///< by their ids
    std::map<std::string, std::size_t> _lastMessages; ///< under way of subscriptions that have ended, by users
    std::uint64_t _pulls = 0;
    std::optional<Time> _wakeAt;
};

} // namespace camera::onvif
