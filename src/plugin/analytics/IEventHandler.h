#pragma once

#include <string>

#pragma GCC visibility push(default)

namespace analytics_lib {

/// Receives the events of every engine.
class __attribute__((visibility("default"))) IEventHandler {
public:
    /// Raises one analytics event. Thread: any engine thread.
    virtual void OnEvent(const std::string& topic, const std::string& source, const std::string& data) = 0;

protected:
    IEventHandler() = default;
    ~IEventHandler() = default; // never deleted through this interface, which has exactly one slot
};

} // namespace analytics_lib

#pragma GCC visibility pop
