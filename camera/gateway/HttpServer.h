#pragma once

#include "camera/base/FileDescriptor.h"
#include "camera/onvif/HttpExchange.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace boost::asio {
class io_context;
namespace ssl {
class context;
}
} // namespace boost::asio

namespace camera::gateway {

/**
 * Answers HTTP/1.1 requests over TCP, with or without TLS.
 *
 * Everything happens on the thread that runs the io_context. A client that is slow, sends too much or too many
 * requests costs no other client anything: its connection is closed, with an answer where it can still read one. How
 * long the handler takes to answer is not limited. A client that leaves meanwhile is noticed when the answer is
 * written, or at once where the handler asks for that (HttpRequest::whenGone).
 */
class HttpServer {
public:
    struct Limits {
        std::size_t connections = 64;
        std::size_t connectionsOfOneAddress = 16;
        std::uint32_t headerBytes = 16 * 1024;
        std::uint64_t bodyBytes = 1024 * 1024;
        std::chrono::milliseconds header{15000}; ///< from the connection or the last answer until the header is read
        std::chrono::milliseconds body{15000};   ///< until the body is read
        std::chrono::milliseconds answer{15000}; ///< until the client has taken some more of the answer
    };

    using Reply = std::function<void(onvif::HttpAnswer)>;

    /// Called on the thread of the io_context; it must not throw, and answers once, on any thread.
    using Handler = std::function<void(const onvif::HttpRequest&, Reply)>;

    HttpServer(boost::asio::io_context& context, Handler handler, const Limits& limits);
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    /**
     * Takes connections from now on.
     * @param listener  see base::listeningSocket().
     * @param tls       null: plain. Borrowed.
     * @throws std::runtime_error when it is no TCP socket that listens.
     */
    void listen(base::FileDescriptor listener, boost::asio::ssl::context* tls = nullptr);

    /**
     * Takes no more connections, and no more requests: a connection ends with the answer to its request.
     * @param ended  called when no request waits for its answer, on the thread of the io_context, which calls this too.
     */
    void end(std::function<void()> ended);

    /// How many there are at the moment. Thread: that of the io_context.
    std::size_t connections() const;

private:
    class Connections;
    template <class Stream>
    class Session;
    class Listener;

    const std::shared_ptr<Connections> _connections;
    std::vector<std::shared_ptr<Listener>> _listeners;
};

} // namespace camera::gateway
