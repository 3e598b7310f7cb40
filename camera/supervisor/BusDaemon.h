#pragma once

#include "camera/supervisor/ChildProcess.h"
#include "camera/supervisor/RuntimeFolder.h"

#include <memory>
#include <string>

namespace camera::supervisor {

/// The camera's own message bus: a dbus-daemon that only this user may use. Thread-bound.
class BusDaemon {
public:
    /// Writes the daemon's configuration. @throws std::runtime_error when that fails.
    /// @param folder   borrowed.
    /// @param program  for another dbus-daemon than the one along PATH.
    explicit BusDaemon(const RuntimeFolder& folder, std::string program = "dbus-daemon");

    /// Starts it, at the same address each time. @throws std::runtime_error saying what to install.
    std::unique_ptr<ChildProcess> start();

    /// Readable, for poll(), once the one started last listens or has ended.
    int readyDescriptor() const { return _ready.get(); }

    /// Whether the one started last listens. Call it when readyDescriptor() is readable; it never waits.
    bool listens();

    /// The last line of its error output; it also writes there while it works well.
    std::string errorText() const;

private:
    void writeConfiguration() const;

    const RuntimeFolder& _folder;
    const std::string _program;
    base::FileDescriptor _ready;
    base::FileDescriptor _errorOutput; ///< memory of a fixed size, however much the daemon writes
    bool _listens = false;
};

} // namespace camera::supervisor
