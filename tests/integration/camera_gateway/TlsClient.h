#pragma once

#include <gtest/gtest.h>

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/asio/write.hpp>

#include <cstdint>
#include <string>

namespace camera::gateway {

/// All that a server on 127.0.0.1 sends upon a request until it ends the connection.
/// @param trusted  the certificate that it must have, as PEM.
inline std::string askOverTls(std::uint16_t port, const std::string& trusted, const std::string& request)
{
    namespace asio = boost::asio;
    asio::io_context context;
    asio::ssl::context trusting(asio::ssl::context::tls_client);
    trusting.add_certificate_authority(asio::buffer(trusted));
    trusting.set_verify_mode(asio::ssl::verify_peer);
    asio::ssl::stream<asio::ip::tcp::socket> stream(context, trusting);
    X509_VERIFY_PARAM_set1_ip_asc(SSL_get0_param(stream.native_handle()), "127.0.0.1");
    stream.lowest_layer().connect({asio::ip::make_address("127.0.0.1"), port});
    stream.handshake(asio::ssl::stream_base::client);
    EXPECT_GE(SSL_version(stream.native_handle()), TLS1_2_VERSION);
    asio::write(stream, asio::buffer(request));
    std::string answer;
    boost::system::error_code ended;
    asio::read(stream, asio::dynamic_buffer(answer), ended);
    return answer;
}

} // namespace camera::gateway
