#pragma once

#include "camera/base/SerialQueue.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
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

    /// Queues a task. What it throws is logged and counted. False, and the task is dropped, after
    /// stop().
    bool post(Task task) { return _tasks.push(std::move(task)); }

    /**
     * Runs operation on this thread and returns what it returned, or throws what it threw. Called on
     * the thread itself it runs at once.
     *
     * @throws std::runtime_error after stop().
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

    /// Returns when no task is queued or runs, those that tasks posted included. Not from a task.
    void drain();

    /// Runs the queued tasks, refuses later ones and ends the thread. Idempotent; not from a task.
    void stop() { _tasks.stop(); }

    bool isCurrent() const { return _tasks.isCurrent(); }
    std::uint64_t failures() const { return _failures; } ///< posted tasks that threw

private:
    void askAndWait(const Task& operation);

    std::atomic<std::uint64_t> _failures{0};
    base::SerialQueue<Task> _tasks; // last: its thread uses everything above
};

} // namespace camera::serviceapi
