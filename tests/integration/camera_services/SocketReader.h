#pragma once

#include "camera/base/FileDescriptor.h"

#include <cstring>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

namespace services_test {

/// A subscriber of the metadata socket. Reads only when it is asked to, and gives up after half a minute.
class SocketReader {
public:
    explicit SocketReader(const std::string& path) : _socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        const timeval patience{30, 0};
        ::setsockopt(_socket.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
        if (::connect(_socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
            throw std::runtime_error("nobody listens at " + path);
        }
    }

    /// Without its line break; empty when the connection ended or nothing came.
    std::string line()
    {
        std::size_t end = 0;
        while ((end = _read.find('\n', _searched)) == std::string::npos) {
            _searched = _read.size();
            char bytes[65536];
            const ssize_t count = ::recv(_socket.get(), bytes, sizeof bytes, 0);
            if (count <= 0) {
                _ended = count == 0;
                return "";
            }
            _read.append(bytes, static_cast<std::size_t>(count));
        }
        const std::string line = _read.substr(0, end);
        _read.erase(0, end + 1);
        _searched = 0;
        return line;
    }

    /// Waits for the other side to close.
    bool ends()
    {
        while (!line().empty()) {
        }
        return _ended;
    }

    void say(const std::string& text) { ::send(_socket.get(), text.data(), text.size(), MSG_NOSIGNAL); }
    void sayNoMore() { ::shutdown(_socket.get(), SHUT_WR); }

private:
    camera::base::FileDescriptor _socket;
    std::string _read;
    std::size_t _searched = 0;
    bool _ended = false;
};

} // namespace services_test
