#include "camera/serviceapi/EventBus.h"

#include "camera/base/Contained.h"

namespace camera::serviceapi {

EventBus::EventBus(std::size_t capacity)
    : _queue(
          [this](const base::Event& event) {
              base::contained("events", "a listener failed", [&] { _listeners.tell({event}); });
          },
          base::BoundedQueue<base::Event>(capacity))
{
}

} // namespace camera::serviceapi
