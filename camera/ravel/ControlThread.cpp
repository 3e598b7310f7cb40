#include "camera/ravel/ControlThread.h"

#include "camera/ravel/Log.h"

#include <stdexcept>
#include <string>
#include <utility>

namespace camera::ravel {

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

void ControlThread::refuse()
{
    throw std::runtime_error("the device is shutting down");
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
    Log::instance().write(LogLevel::error, "control", "a callback failed: " + reason);
    const std::lock_guard<std::mutex> lock(_mutex);
    ++_failures;
}

} // namespace camera::ravel
