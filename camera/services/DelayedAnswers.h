#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <thread>

namespace camera::services {

/**
 * Answers of one session that are given later, on a thread of this object, so that the bus thread does not wait.
 *
 * Bounded, because a client can send the next call before the answer. Thread-safe.
 */
class DelayedAnswers {
public:
    using Clock = std::chrono::steady_clock;

    static constexpr std::size_t kMostAnswers = 4096;
    static constexpr std::size_t kMostBytes = 64 * 1024 * 1024;

    DelayedAnswers();

    /// Drops the answers that were not given, because an answer refers to the session's connection.
    ~DelayedAnswers();
    DelayedAnswers(const DelayedAnswers&) = delete;
    DelayedAnswers& operator=(const DelayedAnswers&) = delete;

    /// @param bytes  about what the question holds in memory until it is answered.
    /// @return false when too many wait already: then nothing is kept.
    bool hold(Clock::time_point due, std::size_t bytes, std::function<void()> give);

private:
    struct Pending {
        std::size_t bytes;
        std::function<void()> give;
    };

    void run();

    std::mutex _mutex;
    std::condition_variable _changed;
    std::multimap<Clock::time_point, Pending> _pending;
    std::size_t _bytes = 0;
    bool _stopping = false;
    std::thread _thread; // last: run() uses everything above
};

} // namespace camera::services
