#include "camera/ptz/PositioningDriver.h"

#include "camera/ptz/PositioningUnit.h"

namespace camera::ptz {

namespace {

constexpr std::chrono::milliseconds kInterval{20};

} // namespace

PositioningDriver::PositioningDriver(PositioningUnit& unit) : _unit(unit), _thread([this] { run(); })
{
}

PositioningDriver::~PositioningDriver()
{
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _stop = true;
    }
    _wake.notify_one();
    _thread.join();
}

void PositioningDriver::run()
{
    auto last = std::chrono::steady_clock::now();
    std::unique_lock<std::mutex> lock(_mutex);
    while (!_wake.wait_until(lock, last + kInterval, [this] { return _stop; })) {
        lock.unlock();
        const auto now = std::chrono::steady_clock::now();
        _unit.advance(now - last);
        last = now;
        lock.lock();
    }
}

} // namespace camera::ptz
