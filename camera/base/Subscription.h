#pragma once

#include <functional>
#include <utility>

namespace camera::base {

/// A registration: its destructor undoes it. It may outlive what it was registered with. Reentrant.
class Subscription {
public:
    Subscription() = default;
    explicit Subscription(std::function<void()> end) : _end(std::move(end)) {}
    Subscription(Subscription&& other) noexcept : _end(std::exchange(other._end, nullptr)) {}
    Subscription& operator=(Subscription&& other) noexcept
    {
        _end.swap(other._end);
        other.reset();
        return *this;
    }
    ~Subscription() { reset(); }

    void reset()
    {
        if (const auto end = std::exchange(_end, nullptr)) {
            end();
        }
    }

private:
    std::function<void()> _end;
};

} // namespace camera::base
