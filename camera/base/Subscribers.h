#pragma once

#include "camera/base/Subscription.h"

#include <cstdint>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace camera::base {

/**
 * The listeners of one kind of event, in the order in which they subscribed. Copies share one list. Thread-safe.
 */
template <class Event>
class Subscribers {
public:
    using Listener = std::function<void(const Event&)>;

    /// When the subscription has ended, the listener is not running and is not called again; one that ends its own
    /// subscription from inside its call is not called again.
    [[nodiscard]] Subscription add(Listener listener)
    {
        const std::lock_guard<std::mutex> lock(_state->mutex);
        const std::uint64_t id = ++_state->lastId;
        _state->listeners.emplace(id, std::move(listener));
        return Subscription([weak = std::weak_ptr<State>(_state), id] {
            if (const auto state = weak.lock()) {
                const std::lock_guard<std::recursive_mutex> waitForTheRunningListener(state->calling);
                const std::lock_guard<std::mutex> lock(state->mutex);
                state->listeners.erase(id);
            }
        });
    }

    /// Calls each listener for each event. When a listener throws, the others are called all the same; the first
    /// exception is thrown at the end.
    void tell(const std::vector<Event>& events) const
    {
        std::exception_ptr first;
        for (const Event& event : events) {
            for (const std::uint64_t id : _state->ids()) {
                try {
                    _state->call(id, event);
                } catch (...) {
                    first = first ? first : std::current_exception();
                }
            }
        }
        if (first) {
            std::rethrow_exception(first);
        }
    }

private:
    struct State {
        std::vector<std::uint64_t> ids()
        {
            const std::lock_guard<std::mutex> lock(mutex);
            std::vector<std::uint64_t> result;
            for (const auto& entry : listeners) {
                result.push_back(entry.first);
            }
            return result;
        }

        // Looked up for each call: a listener may have ended the subscription of a later one.
        void call(std::uint64_t id, const Event& event)
        {
            const std::lock_guard<std::recursive_mutex> running(calling);
            Listener listener;
            {
                const std::lock_guard<std::mutex> lock(mutex);
                const auto found = listeners.find(id);
                listener = found == listeners.end() ? nullptr : found->second;
            }
            if (listener) {
                listener(event);
            }
        }

        std::recursive_mutex calling; // held while a listener runs; recursive, so that it may end subscriptions
        std::mutex mutex;
        std::map<std::uint64_t, Listener> listeners;
        std::uint64_t lastId = 0;
    };

    std::shared_ptr<State> _state = std::make_shared<State>();
};

} // namespace camera::base
