#include "camera/services/DelayedAnswers.h"

#include <utility>

namespace camera::services {

DelayedAnswers::DelayedAnswers() : _thread([this] { run(); })
{
}

DelayedAnswers::~DelayedAnswers()
{
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _stopping = true;
        _changed.notify_all();
    }
    _thread.join();
}

bool DelayedAnswers::hold(Clock::time_point due, std::size_t bytes, std::function<void()> give)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    if (_pending.size() >= kMostAnswers || bytes > kMostBytes || _bytes > kMostBytes - bytes) {
        return false;
    }
    _pending.emplace(due, Pending{bytes, std::move(give)});
    _bytes += bytes;
    _changed.notify_all();
    return true;
}

void DelayedAnswers::run()
{
    std::unique_lock<std::mutex> lock(_mutex);
    while (!_stopping) {
        const auto next = _pending.begin();
        if (next == _pending.end()) {
            _changed.wait(lock);
        } else if (const auto due = next->first; due > Clock::now()) {
            _changed.wait_until(lock, due);
        } else {
            Pending answer = std::move(next->second);
            _pending.erase(next);
            _bytes -= answer.bytes;
            lock.unlock();
            answer.give();
            // Destroyed before this object is locked again: it holds a message, whose release locks the bus connection,
            // and the bus thread calls hold() with that lock.
            answer.give = nullptr;
            lock.lock();
        }
    }
}

} // namespace camera::services
