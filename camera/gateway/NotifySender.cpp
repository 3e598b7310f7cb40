#include "camera/gateway/NotifySender.h"

#include "camera/gateway/Links.h"
#include "camera/gateway/NotifyAnswer.h"

#include <boost/asio/ip/address.hpp>
#include <boost/asio/post.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http.hpp>

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace camera::gateway {

namespace {

namespace http = boost::beast::http;
using boost::asio::ip::tcp;
using boost::system::error_code;
using onvif::Fault;

Fault consumerFault(const std::string& address, const std::string& why)
{
    return Fault::receiver({"ter:Action"}, "the consumer '" + address + "' " + why);
}

/// Whether both are one address: 127.0.0.1 is ::ffff:127.0.0.1.
bool isSame(const boost::asio::ip::address& address, const std::string& other)
{
    error_code noAddress;
    const auto parsed = boost::asio::ip::make_address(other, noAddress);
    return !noAddress && bytesOf(address) == bytesOf(parsed);
}

} // namespace

/// One message on its way.
class NotifySender::Delivery : public std::enable_shared_from_this<Delivery> {
public:
    Delivery(boost::asio::io_context& context, const onvif::PushMessage& message, onvif::Done done)
        : _stream(context), _consumer(message.address), _done(std::move(done))
    {
        _request.method(http::verb::post);
        _request.version(11);
        _request.body() = message.text;
        std::string type = "application/soap+xml; charset=utf-8";
        if (!message.action.empty()) {
            type += "; action=\"" + message.action + "\"";
        }
        _request.set(http::field::content_type, type);
        _request.set(http::field::connection, "close");
    }

    void begin(const ConsumerAddress& address, const tcp::endpoint& endpoint, std::chrono::milliseconds limit)
    {
        _request.target(address.target);
        _request.set(http::field::host, address.authority);
        _request.prepare_payload();
        _stream.expires_after(limit); // for all that follows
        _stream.async_connect(endpoint, [self = shared_from_this()](error_code error) {
            if (!self->failed(error)) {
                self->write();
            }
        });
    }

private:
    void write()
    {
        http::async_write(_stream, _request, [self = shared_from_this()](error_code error, std::size_t /*bytes*/) {
            // One that answers before it has read everything may close its side; its answer counts.
            if (error == boost::beast::error::timeout) {
                self->failed(error);
            } else {
                self->read();
            }
        });
    }

    void read()
    {
        _stream.async_read_some(
            boost::asio::buffer(_buffer), [self = shared_from_this()](error_code error, std::size_t bytes) {
                if (self->failed(error)) {
                    return;
                }
                switch (self->_answer.put({self->_buffer.data(), bytes})) {
                case NotifyAnswer::State::more:
                    self->read();
                    return;
                case NotifyAnswer::State::taken:
                    self->end(std::nullopt);
                    return;
                case NotifyAnswer::State::refused:
                    self->end(consumerFault(self->_consumer, "did not answer that it has taken a message"));
                    return;
                }
            });
    }

    bool failed(const error_code& error)
    {
        if (error == boost::beast::error::timeout) {
            end(consumerFault(_consumer, "did not answer in time"));
        } else if (error) {
            end(consumerFault(_consumer, "cannot be reached: " + error.message()));
        }
        return static_cast<bool>(error);
    }

    void end(const std::optional<Fault>& failure)
    {
        _stream.close();
        if (const auto done = std::exchange(_done, {})) {
            done(failure);
        }
    }

    boost::beast::tcp_stream _stream;
    const std::string _consumer;
    http::request<http::string_body> _request;
    std::array<char, 2048> _buffer{};
    NotifyAnswer _answer;
    onvif::Done _done;
};

void NotifySender::post(const onvif::PushMessage& message, const onvif::Done& done)
{
    const auto refuse = [&](const Fault& fault) { boost::asio::post(_context, [done, fault] { done(fault); }); };
    try {
        const ConsumerAddress address = ConsumerAddress::of(message.address);
        error_code isName;
        const auto numeric = boost::asio::ip::make_address(address.host, isName);
        if (isName) {
            refuse(consumerFault(message.address, "is given by a name; give its numeric address"));
            return;
        }
        if (!message.onlyHost.empty() && !isSame(numeric, message.onlyHost)) {
            refuse(consumerFault(message.address, "is not at the address " + message.onlyHost + ", which subscribed"));
            return;
        }
        // Of an address for a link only the client's own has the zone.
        const bool isOfLink = numeric.is_v6() && numeric.to_v6().is_link_local() && !message.onlyHost.empty();
        const auto place = isOfLink ? boost::asio::ip::make_address(message.onlyHost) : numeric;
        std::make_shared<Delivery>(_context, message, done)->begin(address, {place, address.port}, _limit);
    } catch (const Fault& fault) {
        refuse(fault);
    }
}

} // namespace camera::gateway
