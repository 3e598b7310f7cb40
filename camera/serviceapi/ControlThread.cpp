#include "camera/serviceapi/ControlThread.h"

#include "camera/base/Activity.h"
#include "camera/base/Contained.h"

#include <condition_variable>
#include <exception>
#include <mutex>
#include <stdexcept>
#include <utility>

namespace camera::serviceapi {

ControlThread::ControlThread()
    : _tasks([this](const Task& task) {
          static const base::Activity::Label label("an operation of the control thread");
          const base::Activity::Scope scope(base::Activity::Kind::control, label);
          _failures += base::contained("control", "a callback failed", task) ? 0 : 1;
      })
{
}

void ControlThread::drain()
{
    while (_tasks.drain()) {
        // a task has posted another one
    }
}

void ControlThread::askAndWait(const Task& operation)
{
    // These variables belong to the caller, which waits. When done is set, the control thread uses none of them any
    // more, so the caller may read and release the exception.
    std::mutex mutex;
    std::condition_variable answered;
    bool done = false;
    std::exception_ptr error;
    const bool accepted = post([&] {
        try {
            operation();
        } catch (...) {
            error = std::current_exception();
        }
        const std::lock_guard<std::mutex> lock(mutex);
        done = true;
        answered.notify_one();
    });
    if (!accepted) {
        throw std::runtime_error("the device is shutting down");
    }
    {
        std::unique_lock<std::mutex> lock(mutex);
        answered.wait(lock, [&] { return done; });
    }
    if (error) {
        std::rethrow_exception(std::exchange(error, nullptr));
    }
}

} // namespace camera::serviceapi
