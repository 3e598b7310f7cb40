#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <vector>

namespace camera::services {

/**
 * Answers of one session that are given later. They are dropped when the session ends, because an answer refers to the
 * session's connection.
 *
 * Bounded, because a client can send the next call before the answer. Thread-safe.
 */
class DelayedAnswers {
public:
    using Clock = std::chrono::steady_clock;

    static constexpr std::size_t kMostAnswers = 4096;
    static constexpr std::size_t kMostBytes = 64 * 1024 * 1024;

    /// @param bytes  about what the question holds in memory until it is answered.
    /// @return false when too many wait already: then nothing is kept.
    bool hold(Clock::time_point due, std::size_t bytes, std::function<void()> give);

    /// Gives those that are due by now. The caller holds the session.
    void giveDue(Clock::time_point now);

private:
    struct Pending {
        std::size_t bytes;
        std::function<void()> give;
    };

    std::vector<Pending> takeDue(Clock::time_point now);

    std::mutex _mutex;
    std::multimap<Clock::time_point, Pending> _pending;
    std::size_t _bytes = 0;
};

} // namespace camera::services
