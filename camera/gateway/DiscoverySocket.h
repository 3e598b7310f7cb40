#pragma once

#include "camera/gateway/Links.h"
#include "camera/onvif/Discovery.h"

#include <boost/asio/io_context.hpp>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace camera::gateway {

/**
 * Sends and takes the datagrams of discovery: multicast to 239.255.255.250 and to ff02::c on each link of the camera.
 *
 * Links come and go; the camera says hello on each that comes. What it sends to all it sends twice, but for the bye of
 * end(). Only those are answered that ask from a network of the
 * link on which their question came. A port that cannot be had is logged once, and tried again.
 *
 * Thread-bound: that of the io_context, or any before this runs.
 */
class DiscoverySocket {
public:
    static constexpr std::uint16_t kPort = 3702;

    struct Place {
        std::function<std::vector<Link>()> links; ///< those that are there now
        /// Where those who reach the camera by that host find the device service.
        std::function<std::vector<std::string>(const std::string& host)> addresses;
        std::uint16_t port = kPort;
        std::chrono::milliseconds betweenLooks{3000}; ///< at the links
        /// How long it waits before it tells of itself, anew each time: not all cameras of a link speak at once. 0 is
        /// at once.
        std::function<std::chrono::milliseconds()> beforeTelling = upToHalfASecond;
        /// How long until what is sent to all is sent again, because datagrams get lost.
        std::function<std::chrono::milliseconds()> beforeRepeating = upToAQuarterOfASecond;
    };

    static std::chrono::milliseconds upToHalfASecond();       ///< APP_MAX_DELAY of WS-Discovery
    static std::chrono::milliseconds upToAQuarterOfASecond(); ///< UDP_MIN_DELAY to UDP_MAX_DELAY of SOAP over UDP

    /// Says hello.
    DiscoverySocket(boost::asio::io_context& context, onvif::Discovery discovery, Place place);
    /// Says nothing: end() does.
    ~DiscoverySocket();
    DiscoverySocket(const DiscoverySocket&) = delete;
    DiscoverySocket& operator=(const DiscoverySocket&) = delete;

    /// What is told from now on. Says hello when that is something else, and bye when the camera is not to be found.
    void tell(onvif::DiscoveryFacts facts);

    /// Says bye, and is silent afterwards. Idempotent.
    void end();

private:
    class OfLink;
    class Sockets;

    const std::shared_ptr<Sockets> _sockets;
};

} // namespace camera::gateway
