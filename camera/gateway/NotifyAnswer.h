#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace camera::gateway {

/// Where a consumer is, as its address says.
struct ConsumerAddress {
    std::string host; ///< without the brackets of IPv6
    unsigned short port = 80;
    std::string target = "/"; ///< path and query
    std::string authority;    ///< host and port as they stand in the address

    /// @throws onvif::Fault with one sentence: it is no address of HTTP.
    static ConsumerAddress of(const std::string& text);
};

/// The answer of a consumer, of which only the status matters. It is taken in pieces, and no more of it than the
/// headers. Reentrant.
class NotifyAnswer {
public:
    static constexpr std::size_t kMostBytes = 8 * 1024;

    NotifyAnswer();
    ~NotifyAnswer();
    NotifyAnswer(const NotifyAnswer&) = delete;
    NotifyAnswer& operator=(const NotifyAnswer&) = delete;

    enum class State { more, taken, refused };

    /// @return taken or refused as soon as it is known; then nothing more is to be put.
    State put(std::string_view bytes);

private:
    class Parser;
    const std::unique_ptr<Parser> _parser;
};

} // namespace camera::gateway
