#pragma once

#include <unistd.h>
#include <utility>

namespace camera::supervisor {

/// A file descriptor that is closed with its owner. Reentrant.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int descriptor) : _descriptor(descriptor) {}
    ~Descriptor() { reset(); }
    Descriptor(Descriptor&& other) noexcept : _descriptor(std::exchange(other._descriptor, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(_descriptor, other._descriptor);
        return *this;
    }

    int get() const { return _descriptor; }
    explicit operator bool() const { return _descriptor >= 0; }

    void reset()
    {
        if (_descriptor >= 0) {
            ::close(_descriptor);
        }
        _descriptor = -1;
    }

private:
    int _descriptor = -1;
};

} // namespace camera::supervisor
