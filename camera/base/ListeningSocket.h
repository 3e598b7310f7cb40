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

} // namespace camera::base
