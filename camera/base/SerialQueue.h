#pragma once

#include "camera/base/BoundedQueue.h"

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

namespace camera::base {

/**
 * Handles items one at a time, in the order in which they came, on a thread of its own.
 *
 * push() never waits for the handler. Beyond the queue's capacity the oldest items are dropped and counted.
 * Thread-safe.
 */
template <class Item>
class SerialQueue {
public:
    /// Called on the queue's thread. Throws nothing.
    using Handler = std::function<void(const Item&)>;

    explicit SerialQueue(Handler handler, BoundedQueue<Item> queue = BoundedQueue<Item>())
        : _handler(std::move(handler)), _queue(std::move(queue)), _thread([this] { serve(); }), _id(_thread.get_id())
    {
    }

    /// As stop().
    ~SerialQueue() { stop(); }
    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;

    /// False, and the item is not taken, once stopped.
    bool push(Item item)
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        if (_stopped) {
            return false;
        }
        ++_pushed;
        _dropped += _queue.push(std::move(item));
        _wake.notify_one();
        return true;
    }

    /// Returns when every item pushed before the call is handled or dropped. Not from the handler.
    /// @return whether more was pushed meanwhile.
    bool drain()
    {
        std::unique_lock<std::mutex> lock(_mutex);
        const std::uint64_t last = _pushed;
        _progress.wait(lock, [&] {
            const bool waiting = !_queue.empty() && oldestWaiting() <= last;
            const bool running = _running != 0 && _running <= last;
            return !waiting && !running;
        });
        return _pushed != last;
    }

    /// Handles what is queued, takes nothing more and ends the thread. Idempotent; not from the handler.
    void stop()
    {
        {
            const std::lock_guard<std::mutex> lock(_mutex);
            _stopped = true;
            _wake.notify_one();
        }
        const std::lock_guard<std::mutex> joining(_joinMutex);
        if (_thread.joinable()) {
            _thread.join();
        }
    }

    /// Whether the caller runs on the queue's thread.
    bool isCurrent() const { return std::this_thread::get_id() == _id; }

    std::uint64_t pushed() const
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        return _pushed;
    }

    std::uint64_t dropped() const
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        return _dropped;
    }

private:
    // Items are numbered from 1. Only the oldest are dropped, so the items in the queue are always the last ones
    // pushed.
    std::uint64_t oldestWaiting() const { return _pushed - _queue.size() + 1; }

    void serve()
    {
        std::unique_lock<std::mutex> lock(_mutex);
        for (;;) {
            _wake.wait(lock, [this] { return !_queue.empty() || _stopped; });
            if (_queue.empty()) {
                return;
            }
            _running = oldestWaiting();
            std::optional<Item> item = _queue.take();
            lock.unlock();
            _handler(*item);
            item.reset(); // before it counts as handled, and without the lock: what it holds may use the queue
            lock.lock();
            _running = 0;
            _progress.notify_all();
        }
    }

    const Handler _handler;
    mutable std::mutex _mutex;
    std::condition_variable _wake;
    std::condition_variable _progress;
    BoundedQueue<Item> _queue;
    std::uint64_t _pushed = 0;
    std::uint64_t _dropped = 0;
    std::uint64_t _running = 0; ///< the number of the item that is being handled; 0: none
    bool _stopped = false;
    std::mutex _joinMutex;
    std::thread _thread; // serve() uses everything above
    const std::thread::id _id;
};

} // namespace camera::base
