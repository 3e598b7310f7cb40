#pragma once

#include "camera/base/FileDescriptor.h"

#include <cstddef>
#include <memory>
#include <string>

namespace camera::services {

/// A line that several subscribers share.
using Line = std::shared_ptr<const std::string>;

/// One reader of the metadata socket, used by the socket's thread: the line being sent, and whether the connection
/// still stands.
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

    /// Reads and drops what the subscriber sends; false when the connection has ended.
    bool drain();

private:
    base::FileDescriptor _socket;
    Line _line;
    std::size_t _sent = 0;
    bool _sendsNoMore = false; ///< it has closed its own direction and may still read
};

} // namespace camera::services
