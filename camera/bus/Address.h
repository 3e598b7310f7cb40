#pragma once

#include <string>

namespace camera::bus {

/// The socket's path in an address of the form unix:path=...; empty for any other address.
std::string socketPath(const std::string& address);

/// Returns when a process listens at the address, or when the address is of another form than a socket's path.
/// @throws std::system_error when no process listens.
void requireListener(const std::string& address);

} // namespace camera::bus
