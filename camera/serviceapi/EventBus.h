#pragma once

#include "camera/base/Event.h"
#include "camera/base/SerialQueue.h"
#include "camera/base/Subscribers.h"

#include <cstddef>
#include <cstdint>
#include <utility>

namespace camera::serviceapi {

/**
 * Carries analytics events from the engines' threads to the listeners.
 *
 * publish() never waits for a listener: events pass through a bounded queue, the oldest is dropped
 * and counted when it is full. Listeners run one at a time, in the order of the events, on a thread
 * of this object; one that throws stops no other. Thread-safe.
 */
class EventBus {
public:
    using Listener = base::Subscribers<base::Event>::Listener;

    /// When it has ended, the listener is not running and is not called again, except when it is ended from inside
    /// that listener.
    using Subscription = base::Subscription;

    explicit EventBus(std::size_t capacity = 4096);

    void publish(base::Event event) { _queue.push(std::move(event)); }
    [[nodiscard]] Subscription subscribe(Listener listener) { return _listeners.add(std::move(listener)); }

    /// Returns when every event published before the call has been delivered. Not from a listener.
    void drain() { _queue.drain(); }

    std::uint64_t published() const { return _queue.pushed(); }
    std::uint64_t dropped() const { return _queue.dropped(); }

private:
    base::Subscribers<base::Event> _listeners;
    base::SerialQueue<base::Event> _queue; // last: its thread uses the listeners
};

} // namespace camera::serviceapi
