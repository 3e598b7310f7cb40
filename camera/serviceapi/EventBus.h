#pragma once

#include "camera/base/Event.h"
#include "camera/base/Subscription.h"

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace camera::serviceapi {

/**
 * Carries analytics events from the engines' threads to whoever listens.
 *
 * publish() never waits for a listener: events pass through a bounded queue, the oldest is dropped
 * and counted when it is full. Listeners run one at a time, in the order of the events, on a thread
 * of this object. Thread-safe.
 */
class EventBus {
public:
    using Listener = std::function<void(const base::Event&)>;

    /// When it has ended, the listener is not running and is not called again, except when it is ended from inside
    /// that listener.
    using Subscription = base::Subscription;

    explicit EventBus(std::size_t capacity = 4096);
    ~EventBus();
    EventBus(const EventBus&) = delete;
    EventBus& operator=(const EventBus&) = delete;

    void publish(base::Event event);
    [[nodiscard]] Subscription subscribe(Listener listener);

    /// Returns when every event published before the call has been delivered. Not from a listener.
    void drain();

    std::uint64_t published() const;
    std::uint64_t dropped() const;
    std::uint64_t listenerFailures() const; ///< listeners that threw; the others were still called

private:
    struct State;
    static void serve(const std::shared_ptr<State>& state);

    std::shared_ptr<State> _state;
    std::thread _thread;
};

} // namespace camera::serviceapi
