#pragma once

#include <cerrno>
#include <unistd.h>
#include <utility>

namespace camera::base {

/// What a call of the system returns; it is made again when a signal ends it.
template <class Call>
auto uninterrupted(const Call& call)
{
    auto result = call();
    while (result < 0 && errno == EINTR) {
        result = call();
    }
    return result;
}

/// A file descriptor that is closed with its owner. Reentrant.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor) : _descriptor(descriptor) {}
    ~FileDescriptor() { reset(); }
    FileDescriptor(FileDescriptor&& other) noexcept : _descriptor(std::exchange(other._descriptor, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept
    {
        std::swap(_descriptor, other._descriptor);
        return *this;
    }

    int get() const { return _descriptor; }
    explicit operator bool() const { return _descriptor >= 0; }

    /// The descriptor, which from now on is the caller's to close.
    int release() { return std::exchange(_descriptor, -1); }

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

} // namespace camera::base
