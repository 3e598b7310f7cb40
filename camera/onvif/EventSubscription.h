#pragma once

#include "camera/onvif/EventFilter.h"
#include "camera/onvif/Operations.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace camera::onvif {

/// All subscribers share one copy of a message.
using SharedNotification = std::shared_ptr<const Notification>;
using SharedNotifications = std::vector<SharedNotification>;

/// The messages that wait for one subscriber. A queue that is full drops its oldest one for a new one.
class NotificationQueue {
public:
    explicit NotificationQueue(std::size_t most) : _most(most) {}

    bool empty() const { return _waiting.empty(); }
    void add(SharedNotification notification);

    /// Takes out the oldest ones.
    SharedNotifications take(std::size_t most);

    /// Puts what was taken before those that wait.
    void putBack(const SharedNotifications& taken);

    /// How many messages went for others since the last call.
    std::size_t takeDropped();

private:
    const std::size_t _most;
    std::deque<SharedNotification> _waiting;
    std::size_t _dropped = 0;
};

/// What a subscriber wants: all that each of its conditions matches.
struct WantedEvents {
    std::vector<TopicExpression> topics = {};
    std::vector<ItemFilter> items = {};
    bool changedOnly = false; ///< neither the state of a property at the beginning nor that it is gone

    bool have(const Notification& notification) const;
};

/// A request for messages that waits for one.
struct WaitingPull {
    std::shared_ptr<const Call> call;
    Reply reply;
    std::size_t most;                          ///< messages in the answer
    std::chrono::steady_clock::time_point due; ///< then it is answered without any
    std::uint64_t number;                      ///< another one for each pull
};

/// Whom messages are pushed to.
struct PushConsumer {
    std::string address;
    std::string headers = {};      ///< elements that each message to it has in its header
    std::string onlyHost = {};     ///< see PushMessage
    bool busy = false;             ///< a message is under way
    bool failing = false;          ///< the last message was not taken
    SharedNotifications sent = {}; ///< what the message that is under way has
};

/// What the camera keeps for one subscriber.
struct EventSubscription {
    std::string user;
    std::string reference; ///< the address at which its client asks for it
    WantedEvents wanted;
    NotificationQueue queue;
    std::optional<PushConsumer> consumer = {}; ///< nothing: a pull point
    std::chrono::milliseconds lifetime{};      ///< that its client wants from now on, each time that it calls
    std::chrono::steady_clock::time_point ends = {};
    std::optional<WaitingPull> pull = {};
};

} // namespace camera::onvif
