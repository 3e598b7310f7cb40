#include "camera/services/DelayedAnswers.h"

#include <utility>

namespace camera::services {

bool DelayedAnswers::hold(Clock::time_point due, std::size_t bytes, std::function<void()> give)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    if (_pending.size() >= kMostAnswers || bytes > kMostBytes || _bytes > kMostBytes - bytes) {
        return false;
    }
    _pending.emplace(due, Pending{bytes, std::move(give)});
    _bytes += bytes;
    return true;
}

void DelayedAnswers::giveDue(Clock::time_point now)
{
    for (const Pending& pending : takeDue(now)) {
        pending.give();
    }
}

std::vector<DelayedAnswers::Pending> DelayedAnswers::takeDue(Clock::time_point now)
{
    std::vector<Pending> due;
    const std::lock_guard<std::mutex> lock(_mutex);
    const auto end = _pending.upper_bound(now);
    for (auto pending = _pending.begin(); pending != end; pending = _pending.erase(pending)) {
        _bytes -= pending->second.bytes;
        due.push_back(std::move(pending->second));
    }
    return due;
}

} // namespace camera::services
