#pragma once

#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <functional>
#include <list>
#include <memory>

namespace camera::gateway {

/**
 * Ends what takes too long, with one timer for all: a deadline is set for each step of each request and hardly ever
 * reached, and a timer of its own for each would cost more than the step.
 *
 * Thread-bound to the one that runs the io_context.
 */
class Deadlines {
public:
    explicit Deadlines(boost::asio::io_context& context);
    ~Deadlines() = default;
    Deadlines(const Deadlines&) = delete;
    Deadlines& operator=(const Deadlines&) = delete;

    /// The deadline of one thing, which ends before the deadlines do.
    class Entry {
    public:
        /// @param expired  called when the time has come, once for each time that was set; it may set another one.
        Entry(Deadlines& all, std::function<void()> expired);
        ~Entry();
        Entry(const Entry&) = delete;
        Entry& operator=(const Entry&) = delete;

        /// In place of the time that was set before.
        void set(std::chrono::milliseconds fromNow);
        void clear();

    private:
        friend class Deadlines;

        Deadlines& _all;
        const std::function<void()> _expired;
        std::chrono::steady_clock::time_point _at = kNever;
        const std::list<Entry*>::iterator _place;
    };

private:
    using Time = std::chrono::steady_clock::time_point;
    static constexpr Time kNever = Time::max();

    void wakeAt(Time time);
    void expire();

    boost::asio::steady_timer _timer;
    Time _wake = kNever; ///< when the timer ends; it may be earlier than what is set
    std::list<Entry*> _entries;
    std::shared_ptr<void> _exists = std::make_shared<char>(); ///< a call of the timer may wait when this ends
};

} // namespace camera::gateway
