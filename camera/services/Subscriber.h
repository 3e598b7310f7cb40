#pragma once

#include "camera/base/FileDescriptor.h"

#include <cstddef>
#include <memory>
#include <string>

namespace camera::services {

/// A line for several subscribers at once.
using Line = std::shared_ptr<const std::string>;

/// One reader of the metadata socket, as its thread sees it: the line being sent, and whether it is still there.
class Subscriber {
public:
    enum class Progress { none, partly, whole, gone };

    explicit Subscriber(base::FileDescriptor socket) : _socket(std::move(socket)) {}

    int descriptor() const { return _socket.get(); }

    /// What to wait for: that the socket can take a line, when one is queued, and the end of the connection.
    short events(bool hasMore) const;

    bool sending() const { return _line != nullptr; }
    void begin(Line line);

    /// Sends as much as the socket takes, without waiting.
    Progress send();

    /// Reads away what a subscriber says; false when it is gone.
    bool listen();

private:
    base::FileDescriptor _socket;
    Line _line;
    std::size_t _sent = 0;
    bool _silent = false; ///< it will say nothing more, and may listen all the same
};

} // namespace camera::services
