#include "camera/gateway/NotifyAnswer.h"

#include "camera/onvif/Fault.h"

#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/parser.hpp>

#include <charconv>
#include <optional>
#include <system_error>

namespace camera::gateway {

namespace {

namespace http = boost::beast::http;

/// Whether it may stand in the first line of a request.
bool isOneWord(std::string_view text)
{
    for (const char c : text) {
        if (static_cast<unsigned char>(c) <= ' ' || static_cast<unsigned char>(c) >= 0x7f) {
            return false;
        }
    }
    return true;
}

std::optional<unsigned short> portNumber(std::string_view text)
{
    unsigned short port = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    const bool whole = error == std::errc() && end == text.data() + text.size();
    return whole && port != 0 ? std::optional(port) : std::nullopt;
}

} // namespace

ConsumerAddress ConsumerAddress::of(const std::string& text)
{
    constexpr std::string_view kScheme = "http://";
    const onvif::Fault wrong = onvif::Fault::receiver(
        {"ter:Action"}, "the consumer's address '" + text + "' is none of the form http://ADDRESS:PORT/PATH");
    if (text.compare(0, kScheme.size(), kScheme) != 0 || !isOneWord(text)) {
        throw wrong;
    }
    ConsumerAddress address;
    const std::string rest = text.substr(kScheme.size(), text.find('#') - kScheme.size());
    const std::size_t path = rest.find_first_of("/?");
    address.authority = rest.substr(0, path);
    if (path != std::string::npos) {
        address.target = (rest[path] == '?' ? "/" : "") + rest.substr(path);
    }
    const bool bracketed = !address.authority.empty() && address.authority.front() == '[';
    const std::size_t hostEnd = bracketed ? address.authority.find(']') : address.authority.find(':');
    const std::size_t begin = bracketed ? 1 : 0;
    if ((bracketed && hostEnd == std::string::npos) || address.authority.find('@') != std::string::npos) {
        throw wrong;
    }
    address.host = address.authority.substr(begin, hostEnd == std::string::npos ? hostEnd : hostEnd - begin);
    const std::size_t behind = hostEnd == std::string::npos ? address.authority.size() : hostEnd + begin;
    if (behind < address.authority.size()) {
        const auto port = portNumber(std::string_view(address.authority).substr(behind + 1));
        if (address.authority[behind] != ':' || !port) {
            throw wrong;
        }
        address.port = *port;
    }
    if (address.host.empty()) {
        throw wrong;
    }
    return address;
}

/// Beast's parser, which takes no more than the headers.
class NotifyAnswer::Parser {
public:
    Parser()
    {
        _response.header_limit(2 * kMostBytes); // put() has the limit, which is the same in whatever pieces they come
        _response.skip(true);
    }

    State put(std::string_view bytes)
    {
        _pending += bytes;
        boost::system::error_code error;
        const std::size_t used = _response.put(boost::asio::buffer(_pending), error);
        _pending.erase(0, used);
        _taken += used;
        const bool whole = _response.is_header_done();
        if (_taken + (whole ? 0 : _pending.size()) > kMostBytes) {
            return State::refused;
        }
        if (whole) {
            return _response.get().result_int() < 300 ? State::taken : State::refused;
        }
        return !error || error == http::error::need_more ? State::more : State::refused;
    }

private:
    http::response_parser<http::empty_body> _response;
    std::string _pending;   ///< what has come of a part that is not whole
    std::size_t _taken = 0; ///< bytes of parts that are whole
};

NotifyAnswer::NotifyAnswer() : _parser(std::make_unique<Parser>())
{
}

NotifyAnswer::~NotifyAnswer() = default;

NotifyAnswer::State NotifyAnswer::put(std::string_view bytes)
{
    return _parser->put(bytes);
}

} // namespace camera::gateway
