#include "camera/onvif/EventSubscription.h"

#include <algorithm>
#include <utility>

namespace camera::onvif {

void NotificationQueue::add(SharedNotification notification)
{
    _waiting.push_back(std::move(notification));
    if (_waiting.size() > _most) {
        _waiting.pop_front();
        ++_dropped;
    }
}

SharedNotifications NotificationQueue::take(std::size_t most)
{
    const auto end = _waiting.begin() + static_cast<std::ptrdiff_t>(std::min(most, _waiting.size()));
    SharedNotifications taken(_waiting.begin(), end);
    _waiting.erase(_waiting.begin(), end);
    return taken;
}

void NotificationQueue::putBack(const SharedNotifications& taken)
{
    const std::size_t room = std::min(_most - _waiting.size(), taken.size());
    _waiting.insert(_waiting.begin(), taken.end() - static_cast<std::ptrdiff_t>(room), taken.end());
    _dropped += taken.size() - room;
}

std::size_t NotificationQueue::takeDropped()
{
    return std::exchange(_dropped, 0);
}

bool WantedEvents::have(const Notification& notification) const
{
    const bool ofAnEnd = notification.operation == PropertyOperation::initialized ||
                         notification.operation == PropertyOperation::deleted;
    if (changedOnly && ofAnEnd) {
        return false;
    }
    const std::string topic = plainTopic(notification.topic);
    return std::all_of(topics.begin(), topics.end(), [&](const auto& each) { return each.matches(topic); }) &&
           std::all_of(items.begin(), items.end(), [&](const auto& each) { return each.matches(notification); });
}

} // namespace camera::onvif
