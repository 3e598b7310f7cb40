#pragma once

#include "camera/base/FileDescriptor.h"

#include <cstdint>
#include <string>

namespace camera::base {

/**
 * A TCP socket that listens.
 * @param address  numeric, "127.0.0.1" or "::1".
 * @param port     0: any that is free.
 * @throws std::runtime_error with one sentence that names both and says what to do.
 */
FileDescriptor listeningSocket(const std::string& address, std::uint16_t port);

/// The port of such a socket. @throws std::runtime_error when the descriptor is something else.
std::uint16_t portOf(int descriptor);

/// The numeric address on which it listens.
std::string addressOf(int descriptor);

/// The first numeric address of a family, AF_INET for instance, by which others can reach this computer.
/// @param otherwise  what it is when there is none.
std::string outwardAddress(int family, const std::string& otherwise);

/// The numeric address by which others reach such a socket: the outward one when it listens on every address.
std::string reachableAddress(int descriptor);

/// Where a client reaches such a socket: "http://192.168.1.2:8080", "https://[2001:db8::2]:8443"
std::string baseAddress(const std::string& scheme, int descriptor);
/// The same of a host, a name or a numeric address, and a port.
std::string baseAddress(const std::string& scheme, const std::string& host, int port);

/// Whether only programs of this computer reach a numeric address.
bool isOfThisComputer(const std::string& address);

} // namespace camera::base
