#pragma once

#include "camera/services/DelayedAnswers.h"

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

namespace camera::services {

/// The thread that gives delayed answers when they are due, so that the bus thread does not wait. Thread-safe.
class AnswerTimer {
public:
    AnswerTimer();

    /// Answers that are not due yet are never given.
    ~AnswerTimer();
    AnswerTimer(const AnswerTimer&) = delete;
    AnswerTimer& operator=(const AnswerTimer&) = delete;

    /// @param answers  shares its ownership with the session that it belongs to; nothing happens once that has ended.
    void wakeAt(DelayedAnswers::Clock::time_point due, std::weak_ptr<DelayedAnswers> answers);

private:
    void run();

    std::mutex _mutex;
    std::condition_variable _changed;
    std::multimap<DelayedAnswers::Clock::time_point, std::weak_ptr<DelayedAnswers>> _appointments;
    bool _stopping = false;
    std::thread _thread; // last: run() uses everything above
};

} // namespace camera::services
