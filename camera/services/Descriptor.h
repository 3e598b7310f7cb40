#pragma once

#include <unistd.h>
#include <utility>

namespace camera::services {

/// A file descriptor that is closed with its owner.
class Descriptor {
public:
    explicit Descriptor(int number = -1) : _number(number) {}
    ~Descriptor()
    {
        if (_number >= 0) {
            ::close(_number);
        }
    }
    Descriptor(Descriptor&& other) noexcept : _number(std::exchange(other._number, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(_number, other._number);
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int get() const { return _number; }

private:
    int _number;
};

} // namespace camera::services
