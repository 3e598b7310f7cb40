#pragma once

#include <functional>
#include <sys/types.h>

namespace kit {

/// A copy of the test's process that does something and then waits to be killed; it never outlives the object.
class ForkedProcess {
public:
    /// Returns when the copy has done the action or has ended within it.
    explicit ForkedProcess(const std::function<void()>& action);
    ~ForkedProcess() { crash(); }
    ForkedProcess(const ForkedProcess&) = delete;
    ForkedProcess& operator=(const ForkedProcess&) = delete;

    pid_t id() const { return _id; }
    /// Ends it as a crash would, and returns when it is gone.
    void crash();
    /// Waits for an end that comes by itself. @return the exit code, or minus the signal.
    int wait();

private:
    pid_t _id = -1;
    bool _ended = false;
};

} // namespace kit
