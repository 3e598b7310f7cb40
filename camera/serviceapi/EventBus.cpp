#include "camera/serviceapi/EventBus.h"

#include "camera/base/Log.h"

#include <exception>
#include <vector>

namespace camera::serviceapi {

struct EventBus::State {
    explicit State(std::size_t size) : capacity(size) {}

    std::mutex mutex;
    std::condition_variable wake;
    std::condition_variable progress;
    std::deque<std::pair<std::uint64_t, base::Event>> queue; // with the number of the event, from 1
    std::map<std::uint64_t, Listener> listeners;
    std::uint64_t lastListener = 0;
    const std::size_t capacity;
    std::uint64_t published = 0;
    std::uint64_t delivering = 0; // the event that listeners have at the moment, 0: none
    std::uint64_t dropped = 0;
    std::uint64_t failures = 0;
    bool stopping = false;

    std::mutex delivery; // held around each listener, so that ending a subscription can wait for it
    std::thread::id deliveryThread;

    void deliver(const base::Event& event);
    void deliverTo(std::uint64_t id, const base::Event& event);
    void end(std::uint64_t id);
};

void EventBus::State::deliver(const base::Event& event)
{
    std::vector<std::uint64_t> ids;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        for (const auto& listener : listeners) {
            ids.push_back(listener.first);
        }
    }
    for (const std::uint64_t id : ids) {
        deliverTo(id, event);
    }
}

void EventBus::State::deliverTo(std::uint64_t id, const base::Event& event)
{
    const std::lock_guard<std::mutex> delivering(delivery);
    Listener listener;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        const auto found = listeners.find(id);
        if (found == listeners.end()) {
            return;
        }
        listener = found->second;
    }
    try {
        listener(event);
        return;
    } catch (const std::exception& error) {
        base::Log::instance().write(base::LogLevel::error, "events", std::string("a listener failed: ") + error.what());
    } catch (...) {
        base::Log::instance().write(base::LogLevel::error, "events", "a listener failed");
    }
    const std::lock_guard<std::mutex> lock(mutex);
    ++failures;
}

void EventBus::State::end(std::uint64_t id)
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
        listeners.erase(id);
        if (std::this_thread::get_id() == deliveryThread) {
            return;
        }
    }
    const std::lock_guard<std::mutex> waitForTheRunningOne(delivery);
}

EventBus::EventBus(std::size_t capacity) : _state(std::make_shared<State>(capacity))
{
    _thread = std::thread([state = _state] { serve(state); });
}

EventBus::~EventBus()
{
    {
        const std::lock_guard<std::mutex> lock(_state->mutex);
        _state->stopping = true;
        _state->wake.notify_one();
    }
    _thread.join();
}

void EventBus::publish(base::Event event)
{
    const std::lock_guard<std::mutex> lock(_state->mutex);
    ++_state->published;
    if (_state->queue.size() >= _state->capacity) {
        _state->queue.pop_front();
        ++_state->dropped;
    }
    _state->queue.emplace_back(_state->published, std::move(event));
    _state->wake.notify_one();
}

EventBus::Subscription EventBus::subscribe(Listener listener)
{
    const std::lock_guard<std::mutex> lock(_state->mutex);
    const std::uint64_t id = ++_state->lastListener;
    _state->listeners.emplace(id, std::move(listener));
    return Subscription([weak = std::weak_ptr<State>(_state), id] {
        if (const auto state = weak.lock()) {
            state->end(id);
        }
    });
}

void EventBus::drain()
{
    std::unique_lock<std::mutex> lock(_state->mutex);
    const std::uint64_t last = _state->published;
    _state->progress.wait(lock, [&] {
        const bool queued = !_state->queue.empty() && _state->queue.front().first <= last;
        const bool delivering = _state->delivering != 0 && _state->delivering <= last;
        return !queued && !delivering;
    });
}

std::uint64_t EventBus::published() const
{
    const std::lock_guard<std::mutex> lock(_state->mutex);
    return _state->published;
}

std::uint64_t EventBus::dropped() const
{
    const std::lock_guard<std::mutex> lock(_state->mutex);
    return _state->dropped;
}

std::uint64_t EventBus::listenerFailures() const
{
    const std::lock_guard<std::mutex> lock(_state->mutex);
    return _state->failures;
}

void EventBus::serve(const std::shared_ptr<State>& state)
{
    std::unique_lock<std::mutex> lock(state->mutex);
    state->deliveryThread = std::this_thread::get_id();
    for (;;) {
        state->wake.wait(lock, [&] { return !state->queue.empty() || state->stopping; });
        if (state->queue.empty()) {
            return;
        }
        const auto [number, event] = std::move(state->queue.front());
        state->queue.pop_front();
        state->delivering = number;
        lock.unlock();
        state->deliver(event);
        lock.lock();
        state->delivering = 0;
        state->progress.notify_all();
    }
}

} // namespace camera::serviceapi
