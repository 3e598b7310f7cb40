#pragma once

#include "camera/base/SerialQueue.h"

#include <functional>

namespace camera::gateway {

/// The one thread that writes to the disk, so that no client waits for another one's write.
class DiskThread {
public:
    using Task = std::function<void()>;

    /// Tasks run one at a time, in their order; they throw nothing. False, and it is dropped, after stop().
    bool post(Task task) { return _tasks.push(std::move(task)); }

    /// Runs what was posted, and ends the thread. Idempotent; not from a task.
    void stop() { _tasks.stop(); }

private:
    base::SerialQueue<Task> _tasks{[](const Task& task) { task(); }};
};

} // namespace camera::gateway
