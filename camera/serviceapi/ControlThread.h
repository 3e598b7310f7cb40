#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <type_traits>
#include <utility>

namespace camera::serviceapi {

/**
 * The one thread on which the plug-in is built, called by clients and services, and destroyed.
 *
 * Tasks run one at a time, in the order in which they came. Thread-safe.
 */
class ControlThread {
public:
    using Task = std::function<void()>;

    ControlThread();

    /// As stop().
    ~ControlThread();
    ControlThread(const ControlThread&) = delete;
    ControlThread& operator=(const ControlThread&) = delete;

    /// Queues a task. What it throws is logged and counted. False, and the task is dropped, once
    /// stopped.
    bool post(Task task);

    /**
     * Runs operation on this thread and returns what it returned, or throws what it threw. Called on
     * the thread itself it runs at once.
     *
     * @throws std::runtime_error once stopped.
     */
    template <class Operation>
    auto ask(Operation&& operation) -> std::invoke_result_t<Operation>
    {
        using Result = std::invoke_result_t<Operation>;
        if (isCurrent()) {
            return operation();
        }
        std::optional<std::conditional_t<std::is_void_v<Result>, bool, Result>> result;
        askAndWait([&] {
            if constexpr (std::is_void_v<Result>) {
                operation();
            } else {
                result.emplace(operation());
            }
        });
        if constexpr (!std::is_void_v<Result>) {
            return std::move(*result);
        }
    }

    /// Returns when the queue is empty and nothing runs. Not from a task.
    void drain();

    /// Runs what is queued, refuses what comes later and ends the thread. Idempotent; not from a task.
    void stop();

    bool isCurrent() const;
    std::uint64_t failures() const; ///< posted tasks that threw

private:
    void askAndWait(const Task& operation);
    void serve();
    void runContained(const Task& task);

    mutable std::mutex _mutex;
    std::condition_variable _wake;
    std::condition_variable _idle;
    std::deque<Task> _queue;
    bool _running = false;
    bool _stopped = false;
    std::uint64_t _failures = 0;
    std::mutex _joinMutex;
    std::thread::id _id;
    std::thread _thread; // last: serve() uses everything above
};

} // namespace camera::serviceapi
