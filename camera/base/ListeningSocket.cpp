#include "camera/base/ListeningSocket.h"

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <cstring>
#include <ifaddrs.h>
#include <memory>
#include <net/if.h>
#include <netdb.h>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>

namespace camera::base {

namespace {

[[noreturn]] void refuse(const std::string& address, std::uint16_t port, const std::string& reason)
{
    throw std::runtime_error("cannot listen on port " + std::to_string(port) + " of '" + address + "': " + reason);
}

struct AddressList {
    void operator()(addrinfo* list) const { ::freeaddrinfo(list); }
};

std::unique_ptr<addrinfo, AddressList> parsed(const std::string& address, std::uint16_t port)
{
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (::getaddrinfo(address.c_str(), std::to_string(port).c_str(), &hints, &found) != 0) {
        refuse(address, port, "that is no address; give one of this computer, 127.0.0.1 or 0.0.0.0 for instance");
    }
    return std::unique_ptr<addrinfo, AddressList>(found);
}

std::string adviceFor(int error)
{
    switch (error) {
    case EADDRINUSE:
        return "; choose another port";
    case EACCES:
        return "; choose a port from 1024 on";
    case EADDRNOTAVAIL:
        return "; give an address of this computer";
    default:
        return "";
    }
}

/// Where a socket listens. @throws std::runtime_error
sockaddr_storage endpointOf(int descriptor)
{
    int listens = 0;
    socklen_t size = sizeof listens;
    sockaddr_storage endpoint{};
    socklen_t length = sizeof endpoint;
    const bool known = ::getsockopt(descriptor, SOL_SOCKET, SO_ACCEPTCONN, &listens, &size) == 0 && listens != 0 &&
                       ::getsockname(descriptor, reinterpret_cast<sockaddr*>(&endpoint), &length) == 0;
    if (!known || (endpoint.ss_family != AF_INET && endpoint.ss_family != AF_INET6)) {
        throw std::runtime_error("the descriptor " + std::to_string(descriptor) + " is no TCP socket that listens");
    }
    return endpoint;
}

} // namespace

FileDescriptor listeningSocket(const std::string& address, std::uint16_t port)
{
    const auto endpoint = parsed(address, port);
    FileDescriptor listener(::socket(endpoint->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    // Connections of an earlier process may still be ending there.
    const int yes = 1;
    if (!listener || ::setsockopt(listener.get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes) != 0 ||
        ::bind(listener.get(), endpoint->ai_addr, endpoint->ai_addrlen) != 0 ||
        ::listen(listener.get(), SOMAXCONN) != 0) {
        const int error = errno;
        refuse(address, port, std::strerror(error) + adviceFor(error));
    }
    return listener;
}

std::uint16_t portOf(int descriptor)
{
    const sockaddr_storage endpoint = endpointOf(descriptor);
    return ntohs(endpoint.ss_family == AF_INET ? reinterpret_cast<const sockaddr_in&>(endpoint).sin_port
                                               : reinterpret_cast<const sockaddr_in6&>(endpoint).sin6_port);
}

std::string addressOf(int descriptor)
{
    const sockaddr_storage endpoint = endpointOf(descriptor);
    std::array<char, NI_MAXHOST> text{};
    ::getnameinfo(reinterpret_cast<const sockaddr*>(&endpoint), sizeof endpoint, text.data(), text.size(), nullptr, 0,
                  NI_NUMERICHOST);
    return text.data();
}

std::string outwardAddress(int family, const std::string& otherwise)
{
    ifaddrs* all = nullptr;
    if (::getifaddrs(&all) != 0) {
        return otherwise;
    }
    const std::unique_ptr<ifaddrs, void (*)(ifaddrs*)> list(all, ::freeifaddrs);
    for (const ifaddrs* each = all; each != nullptr; each = each->ifa_next) {
        std::array<char, NI_MAXHOST> text{};
        if (each->ifa_addr != nullptr && each->ifa_addr->sa_family == family &&
            (each->ifa_flags & (IFF_UP | IFF_LOOPBACK)) == IFF_UP &&
            ::getnameinfo(each->ifa_addr, family == AF_INET ? sizeof(sockaddr_in) : sizeof(sockaddr_in6), text.data(),
                          text.size(), nullptr, 0, NI_NUMERICHOST) == 0 &&
            std::strchr(text.data(), '%') == nullptr) { // one of a link needs the link's name
            return text.data();
        }
    }
    return otherwise;
}

std::string reachableAddress(int descriptor)
{
    const std::string address = addressOf(descriptor);
    if (address == "0.0.0.0") {
        return outwardAddress(AF_INET, "127.0.0.1");
    }
    return address == "::" ? outwardAddress(AF_INET6, "::1") : address;
}

std::string baseAddress(const std::string& scheme, int descriptor)
{
    return baseAddress(scheme, reachableAddress(descriptor), portOf(descriptor));
}

std::string baseAddress(const std::string& scheme, const std::string& host, int port)
{
    const bool brackets = host.find(':') != std::string::npos;
    return scheme + "://" + (brackets ? "[" + host + "]" : host) + ":" + std::to_string(port);
}

bool isOfThisComputer(const std::string& address)
{
    return address.rfind("127.", 0) == 0 || address == "::1";
}

} // namespace camera::base
