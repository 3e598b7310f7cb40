#include "camera/gateway/HttpServer.h"

#include "camera/base/ListeningSocket.h"
#include "camera/gateway/Deadlines.h"
#include "camera/gateway/Links.h"

#include <boost/asio/dispatch.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/ssl.hpp>

#include <map>
#include <optional>
#include <string_view>
#include <sys/socket.h>
#include <type_traits>
#include <utility>

namespace camera::gateway {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using onvif::HttpAnswer;
using onvif::HttpRequest;
using tcp = asio::ip::tcp;
using Socket = asio::basic_stream_socket<tcp, asio::io_context::executor_type>;

/// What all sessions share, and how many there are of each address.
class HttpServer::Connections : public std::enable_shared_from_this<Connections> {
public:
    Connections(asio::io_context& context, Handler handler, const Limits& limits)
        : context(context), handler(std::move(handler)), limits(limits), deadlines(context)
    {
    }

    /// Counts a connection as long as it lives.
    class Place {
    public:
        Place(std::shared_ptr<Connections> all, std::string address)
            : _all(std::move(all)), _address(std::move(address))
        {
            ++_all->total;
            ++_all->ofAddress[_address];
        }
        ~Place()
        {
            --_all->total;
            if (--_all->ofAddress[_address] == 0) {
                _all->ofAddress.erase(_address);
            }
        }
        Place(const Place&) = delete;
        Place& operator=(const Place&) = delete;

        Connections& all() const { return *_all; }
        const std::shared_ptr<Connections>& shared() const { return _all; }
        const std::string& address() const { return _address; }

    private:
        const std::shared_ptr<Connections> _all;
        const std::string _address;
    };

    bool hasPlaceFor(const std::string& address) const
    {
        const auto found = ofAddress.find(address);
        return total < limits.connections &&
               (found == ofAddress.end() || found->second < limits.connectionsOfOneAddress);
    }

    /// Counts a request until its answer is written, or is no longer wanted.
    class Waiting {
    public:
        explicit Waiting(std::shared_ptr<Connections> all) : _all(std::move(all)) { ++_all->waiting; }
        ~Waiting()
        {
            --_all->waiting;
            _all->lookForTheEnd();
        }
        Waiting(const Waiting&) = delete;
        Waiting& operator=(const Waiting&) = delete;

    private:
        const std::shared_ptr<Connections> _all;
    };

    void lookForTheEnd()
    {
        if (ended && waiting == 0) {
            asio::post(context, std::exchange(ended, {}));
        }
    }

    asio::io_context& context;
    const Handler handler;
    const Limits limits;
    Deadlines deadlines;
    std::size_t total = 0;
    std::map<std::string, std::size_t> ofAddress;
    std::size_t waiting = 0; ///< requests
    bool ending = false;
    std::function<void()> ended; ///< to be called; empty: it was, or nobody wants to know
};

/// One connection: reads a request, has it answered, and again, until one side ends it.
template <class Stream>
class HttpServer::Session : public std::enable_shared_from_this<Session<Stream>> {
    static constexpr bool kTls = !std::is_same_v<Stream, Socket>;

public:
    Session(Stream stream, std::unique_ptr<Connections::Place> place)
        : _stream(std::move(stream)), _place(std::move(place)), _deadline(_place->all().deadlines, [this] { close(); })
    {
    }

    void start()
    {
        if constexpr (kTls) {
            _deadline.set(limits().header);
            _stream.async_handshake(asio::ssl::stream_base::server, [self = this->shared_from_this()](auto error) {
                if (!error) {
                    self->readHeader();
                }
            });
        } else {
            beast::error_code error;
            lowest().non_blocking(true, error); // for writeAtOnce()
            readHeader();
        }
    }

private:
    const Limits& limits() const { return _place->all().limits; }
    Socket& lowest() { return beast::get_lowest_layer(_stream); }

    /// Everything that waits for the client fails.
    void close()
    {
        beast::error_code error;
        lowest().close(error);
    }

    void readHeader()
    {
        _parser.emplace();
        _parser->header_limit(limits().headerBytes);
        _parser->body_limit(limits().bodyBytes);
        _deadline.set(limits().header);
        http::async_read_header(_stream, _buffer, *_parser,
                                [self = this->shared_from_this()](beast::error_code error, std::size_t /*bytes*/) {
                                    error ? self->refuse(error) : self->headerRead();
                                });
    }

    void headerRead()
    {
        if (beast::iequals(_parser->get()[http::field::expect], "100-continue")) {
            _continue = {http::status::continue_, _parser->get().version()};
            _deadline.set(limits().answer);
            http::async_write(_stream, _continue,
                              [self = this->shared_from_this()](beast::error_code error, std::size_t /*bytes*/) {
                                  if (!error) {
                                      self->readBody();
                                  }
                              });
        } else {
            readBody();
        }
    }

    void readBody()
    {
        // A short body mostly came with the header: then there is nothing to wait for.
        beast::error_code failed;
        if (_buffer.size() > 0 && !_parser->is_done()) {
            _parser->eager(true);
            _buffer.consume(_parser->put(_buffer.data(), failed));
        }
        if (failed && failed != http::error::need_more) {
            refuse(failed);
            return;
        }
        if (_parser->is_done()) {
            answerRequest();
            return;
        }
        _deadline.set(limits().body);
        http::async_read(_stream, _buffer, *_parser,
                         [self = this->shared_from_this()](beast::error_code error, std::size_t /*bytes*/) {
                             error ? self->refuse(error) : self->answerRequest();
                         });
    }

    void answerRequest()
    {
        _deadline.clear();
        _waiting.emplace(_place->shared());
        auto& message = _parser->get();
        _keepAlive = message.keep_alive();
        _version = message.version();
        _headOnly = message.method() == http::verb::head;
        HttpRequest request;
        request.method = std::string(message.method_string());
        request.target = std::string(message.target());
        request.base = reachedAs();
        request.authorization = std::string(message[http::field::authorization]);
        request.body = std::move(message.body());
        request.peer = _place->address();
        request.whenGone = [weak = this->weak_from_this()](std::function<void()> gone) {
            if (const auto self = weak.lock()) {
                self->_gone = std::move(gone);
                self->watch();
            }
        };
        // The context outlives the session: its answer may come from another thread.
        _place->all().handler(request, [self = this->shared_from_this()](HttpAnswer answer) {
            asio::dispatch(self->_place->all().context,
                           [self, answer = std::move(answer)]() mutable { self->write(std::move(answer)); });
        });
    }

    /// Looks whether the client ends the connection while it waits for its answer.
    void watch()
    {
        lowest().async_wait(tcp::socket::wait_read, [self = this->shared_from_this()](auto ended) {
            if (ended || !self->_gone) {
                return;
            }
            char byte = 0;
            const ssize_t count = ::recv(self->lowest().native_handle(), &byte, 1, MSG_PEEK | MSG_DONTWAIT);
            if (count < 0 && (errno == EAGAIN || errno == EINTR)) {
                self->watch();
            } else if (count <= 0) {
                std::exchange(self->_gone, {})();
            } // else it sends its next request, and what comes behind that is not seen
        });
    }

    /// As the client calls this server; without its word for it as the connection does.
    std::string reachedAs()
    {
        const std::string scheme = kTls ? "https" : "http";
        const std::string named(_parser->get()[http::field::host]);
        constexpr const char* kOfHosts = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.-:[]_";
        if (!named.empty() && named.find_first_not_of(kOfHosts) == std::string::npos) {
            return scheme + "://" + named;
        }
        beast::error_code error;
        const tcp::endpoint local = lowest().local_endpoint(error);
        const std::string address = plainAddress(local.address()).to_string();
        // The zone of a link has its meaning on this computer only.
        return base::baseAddress(scheme, address.substr(0, address.find('%')), local.port());
    }

    void refuse(const beast::error_code& error)
    {
        HttpAnswer answer;
        if (error == http::error::body_limit) {
            answer.status = 413;
        } else if (error == http::error::header_limit) {
            answer.status = 431;
        } else if (error.category() == http::make_error_code(http::error::bad_version).category() &&
                   error != http::error::end_of_stream && error != http::error::partial_message) {
            answer.status = 400;
        } else {
            return; // gone, or silent for too long
        }
        _keepAlive = false;
        _refused = true;
        write(std::move(answer));
    }

    void write(HttpAnswer answer)
    {
        if (std::exchange(_gone, {})) {
            beast::error_code failed;
            lowest().cancel(failed); // watch()
        }
        _answer = {static_cast<http::status>(answer.status), _version};
        _answer.keep_alive(_keepAlive);
        if (!answer.contentType.empty()) {
            _answer.set(http::field::content_type, answer.contentType);
        }
        for (const std::string& challenge : answer.challenges) {
            _answer.insert(http::field::www_authenticate, challenge);
        }
        _answer.content_length(answer.body.size());
        if (!_headOnly) {
            _answer.body() = std::move(answer.body);
        }
        _serializer.emplace(_answer);
        if constexpr (!kTls) {
            writeAtOnce();
        } else {
            writeSome();
        }
    }

    /// Mostly the system takes the whole answer, and there is nothing to wait for.
    void writeAtOnce()
    {
        beast::error_code error;
        while (!error && !_serializer->is_done()) {
            http::write_some(_stream, *_serializer, error);
        }
        if (error == asio::error::would_block) {
            writeSome();
        } else if (!error) {
            written();
        }
    }

    void writeSome()
    {
        _deadline.set(limits().answer);
        http::async_write_some(_stream, *_serializer,
                               [self = this->shared_from_this()](beast::error_code error, std::size_t /*bytes*/) {
                                   if (error) {
                                       return;
                                   }
                                   self->_serializer->is_done() ? self->written() : self->writeSome();
                               });
    }

    void written()
    {
        _waiting.reset();
        if (_keepAlive && !_place->all().ending) {
            readHeader();
            return;
        }
        if constexpr (kTls) {
            _deadline.set(limits().answer);
            _stream.async_shutdown([self = this->shared_from_this()](auto /*error*/) {});
        } else if (_refused) {
            drain();
        }
    }

    /// What the client still sends is read: with unread bytes the system would reset the connection and take the answer
    /// from the client.
    void drain()
    {
        beast::error_code error;
        lowest().shutdown(tcp::socket::shutdown_send, error);
        if (!_draining) {
            _draining = true;
            _deadline.set(limits().answer);
        }
        lowest().async_read_some(asio::buffer(_unread),
                                 [self = this->shared_from_this()](beast::error_code failure, std::size_t /*bytes*/) {
                                     if (!failure) {
                                         self->drain();
                                     }
                                 });
    }

    Stream _stream;
    const std::unique_ptr<Connections::Place> _place;
    Deadlines::Entry _deadline;
    beast::flat_buffer _buffer;
    std::optional<http::request_parser<http::string_body>> _parser;
    http::response<http::empty_body> _continue;
    http::response<http::string_body> _answer;
    std::optional<http::response_serializer<http::string_body>> _serializer;
    bool _keepAlive = false;
    bool _headOnly = false;
    bool _refused = false; ///< before all of it was read
    bool _draining = false;
    unsigned int _version = 11;
    std::optional<Connections::Waiting> _waiting;
    std::function<void()> _gone; ///< to be called when the client ends the connection
    std::array<char, 4096> _unread{};
};

/// Accepts connections of one port.
class HttpServer::Listener : public std::enable_shared_from_this<Listener> {
public:
    Listener(std::shared_ptr<Connections> connections, base::FileDescriptor socket, asio::ssl::context* tls)
        : _connections(std::move(connections)),
          _acceptor(_connections->context, protocolOf(socket.get()), socket.get()),
          _pause(_connections->context),
          _tls(tls)
    {
        socket.release(); // it is the acceptor's now
    }

    void accept()
    {
        _acceptor.async_accept([self = shared_from_this()](beast::error_code error, Socket socket) {
            if (error == asio::error::operation_aborted) {
                return;
            }
            if (!error) {
                self->serve(std::move(socket));
                self->accept();
            } else {
                self->acceptLater();
            }
        });
    }

    void close() noexcept
    {
        beast::error_code error;
        _acceptor.close(error);
        _pause.expires_at({}, error); // and nobody waits for it
    }

private:
    static tcp protocolOf(int listener)
    {
        return base::addressOf(listener).find(':') == std::string::npos ? tcp::v4() : tcp::v6();
    }

    /// With no descriptor left each attempt fails at once; some are free again when connections end.
    void acceptLater()
    {
        _pause.expires_after(kPause);
        _pause.async_wait([self = shared_from_this()](beast::error_code error) {
            if (!error) {
                self->accept();
            }
        });
    }

    void serve(Socket socket)
    {
        beast::error_code error;
        const tcp::endpoint peer = socket.remote_endpoint(error);
        const std::string address = error ? "" : plainAddress(peer.address()).to_string();
        if (error || !_connections->hasPlaceFor(address)) {
            return; // closed
        }
        socket.set_option(tcp::no_delay(true), error);
        auto place = std::make_unique<Connections::Place>(_connections, address);
        if (_tls != nullptr) {
            using Stream = beast::ssl_stream<Socket>;
            std::make_shared<Session<Stream>>(Stream(std::move(socket), *_tls), std::move(place))->start();
        } else {
            std::make_shared<Session<Socket>>(std::move(socket), std::move(place))->start();
        }
    }

    static constexpr std::chrono::milliseconds kPause{100};

    const std::shared_ptr<Connections> _connections;
    asio::basic_socket_acceptor<tcp, asio::io_context::executor_type> _acceptor;
    asio::steady_timer _pause;
    asio::ssl::context* const _tls;
};

HttpServer::HttpServer(asio::io_context& context, Handler handler, const Limits& limits)
    : _connections(std::make_shared<Connections>(context, std::move(handler), limits))
{
}

HttpServer::~HttpServer()
{
    end({});
}

void HttpServer::end(std::function<void()> ended)
{
    for (const auto& listener : _listeners) {
        listener->close();
    }
    _connections->ending = true;
    _connections->ended = std::move(ended);
    _connections->lookForTheEnd();
}

void HttpServer::listen(base::FileDescriptor listener, asio::ssl::context* tls)
{
    _listeners.push_back(std::make_shared<Listener>(_connections, std::move(listener), tls));
    _listeners.back()->accept();
}

std::size_t HttpServer::connections() const
{
    return _connections->total;
}

} // namespace camera::gateway
