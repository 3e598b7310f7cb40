#include "camera/services/AnswerTimer.h"

#include <utility>

namespace camera::services {

AnswerTimer::AnswerTimer() : _thread([this] { run(); })
{
}

AnswerTimer::~AnswerTimer()
{
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _stopping = true;
        _changed.notify_all();
    }
    _thread.join();
}

void AnswerTimer::wakeAt(DelayedAnswers::Clock::time_point due, std::weak_ptr<DelayedAnswers> answers)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    // Far more than one session can have: most of them belong to sessions that are over.
    if (_appointments.size() > 2 * DelayedAnswers::kMostAnswers) {
        for (auto next = _appointments.begin(); next != _appointments.end();) {
            next = next->second.expired() ? _appointments.erase(next) : std::next(next);
        }
    }
    _appointments.emplace(due, std::move(answers));
    _changed.notify_all();
}

void AnswerTimer::run()
{
    std::unique_lock<std::mutex> lock(_mutex);
    while (!_stopping) {
        if (_appointments.empty()) {
            _changed.wait(lock);
            continue;
        }
        const auto next = _appointments.begin();
        const auto now = DelayedAnswers::Clock::now();
        if (next->first > now) {
            const auto due = next->first;
            _changed.wait_until(lock, due);
            continue;
        }
        const std::weak_ptr<DelayedAnswers> which = std::move(next->second);
        _appointments.erase(next);
        lock.unlock();
        if (const auto answers = which.lock()) {
            answers->giveDue(now);
        }
        lock.lock();
    }
}

} // namespace camera::services
