#pragma once

#include "kit/ChildProcess.h"
#include "kit/TemporaryFolder.h"

#include <memory>
#include <string>

namespace kit {

/// A message bus of the test's own, in a folder of its own; ends with the object.
class PrivateBus {
public:
    PrivateBus();

    std::string address() const { return "unix:path=" + (_folder / "bus").string(); }

    /// Returns when it listens. @throws std::runtime_error when it does not.
    void start();
    /// As a crash would end it.
    void kill()
    {
        if (_daemon != nullptr) {
            _daemon->crash();
        }
    }

private:
    TemporaryFolder _folder;
    std::unique_ptr<ChildProcess> _daemon; // last: it ends before its folder
};

} // namespace kit
