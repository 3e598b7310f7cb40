#pragma once

#include <string>

namespace camera::bus {

/// The socket's path in an address of the form unix:path=...; empty for any other address.
std::string socketPath(const std::string& address);

/// Returns when somebody listens at the address, or when that cannot be told from its form.
/// @throws std::system_error when nobody does.
void requireListener(const std::string& address);

} // namespace camera::bus
