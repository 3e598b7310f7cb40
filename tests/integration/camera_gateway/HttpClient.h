#pragma once

#include "camera/base/FileDescriptor.h"
#include "kit/Eventually.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <cstdint>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <sys/time.h>

namespace camera::gateway {

/// One connection to a server, which sends exactly the bytes that it is told to.
class HttpClient {
public:
    explicit HttpClient(std::uint16_t port, const char* from = "127.0.0.1")
        : _socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        const timeval patience{kit::kPatience.count(), 0};
        ::setsockopt(_socket.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
        ::setsockopt(_socket.get(), SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof(patience));
        sockaddr_in address = at(from, 0);
        EXPECT_EQ(0, ::bind(_socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)));
        address = at("127.0.0.1", port);
        EXPECT_EQ(0, ::connect(_socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)));
    }

    /// False when the server takes no more.
    bool send(const std::string& bytes)
    {
        std::size_t sent = 0;
        while (sent < bytes.size()) {
            const ssize_t count = ::send(_socket.get(), bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
            if (count <= 0) {
                return false;
            }
            sent += static_cast<std::size_t>(count);
        }
        return true;
    }

    /// All that comes until the server ends the connection.
    std::string readAll()
    {
        while (readSome()) {
        }
        return std::exchange(_read, "");
    }

    /// One answer with its body, whose length its header tells; less when the connection ends.
    std::string readAnswer()
    {
        const std::string kLength = "Content-Length: ";
        for (;;) {
            const std::size_t end = _read.find("\r\n\r\n");
            if (end != std::string::npos) {
                const std::size_t length = _read.find(kLength);
                const std::size_t size =
                    end + 4 + (length < end ? std::stoul(_read.substr(length + kLength.size())) : 0);
                if (_read.size() >= size) {
                    std::string answer = _read.substr(0, size);
                    _read.erase(0, size);
                    return answer;
                }
            }
            if (!readSome()) {
                return std::exchange(_read, "");
            }
        }
    }

    std::string ask(const std::string& bytes) { return send(bytes) ? readAnswer() : ""; }

private:
    static sockaddr_in at(const char* host, std::uint16_t port)
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        ::inet_pton(AF_INET, host, &address.sin_addr);
        return address;
    }

    bool readSome()
    {
        std::string bytes(65536, '\0');
        const ssize_t count = ::recv(_socket.get(), bytes.data(), bytes.size(), 0);
        EXPECT_TRUE(count >= 0 || errno == ECONNRESET) << "the server is silent";
        if (count > 0) {
            _read.append(bytes, 0, static_cast<std::size_t>(count));
        }
        return count > 0;
    }

    base::FileDescriptor _socket;
    std::string _read;
};

} // namespace camera::gateway
