#include "camera/serviceapi/ControlThread.h"

#include "camera/base/Log.h"

#include <exception>
#include <future>
#include <stdexcept>
#include <string>
#include <utility>

namespace camera::serviceapi {

ControlThread::ControlThread()
{
    std::promise<void> known;
    _thread = std::thread([this, &known] {
        _id = std::this_thread::get_id();
        known.set_value();
        serve();
    });
    known.get_future().wait();
}

ControlThread::~ControlThread()
{
    stop();
}

bool ControlThread::post(Task task)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    if (_stopped) {
        return false;
    }
    _queue.push_back(std::move(task));
    _wake.notify_one();
    return true;
}

void ControlThread::drain()
{
    std::unique_lock<std::mutex> lock(_mutex);
    _idle.wait(lock, [this] { return _queue.empty() && !_running; });
}

void ControlThread::stop()
{
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _stopped = true;
        _wake.notify_one();
    }
    const std::lock_guard<std::mutex> joining(_joinMutex);
    if (_thread.joinable()) {
        _thread.join();
    }
}

bool ControlThread::isCurrent() const
{
    return std::this_thread::get_id() == _id;
}

std::uint64_t ControlThread::failures() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _failures;
}

void ControlThread::askAndWait(const Task& operation)
{
    // All of it is the caller's, who waits: when the answer is there, this thread has let go of everything,
    // the exception included, which may be read and released over there.
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

void ControlThread::serve()
{
    std::unique_lock<std::mutex> lock(_mutex);
    for (;;) {
        _wake.wait(lock, [this] { return !_queue.empty() || _stopped; });
        if (_queue.empty()) {
            return;
        }
        Task task = std::move(_queue.front());
        _queue.pop_front();
        _running = true;
        lock.unlock();
        runContained(task);
        task = nullptr; // what it holds is released on this thread too, before the queue counts as idle
        lock.lock();
        _running = false;
        if (_queue.empty()) {
            _idle.notify_all();
        }
    }
}

void ControlThread::runContained(const Task& task)
{
    std::string reason;
    try {
        task();
        return;
    } catch (const std::exception& error) {
        reason = error.what();
    } catch (...) {
        reason = "an exception of an unknown type";
    }
    base::Log::instance().write(base::LogLevel::error, "control", "a callback failed: " + reason);
    const std::lock_guard<std::mutex> lock(_mutex);
    ++_failures;
}

} // namespace camera::serviceapi
