#pragma once

#include <string>

namespace camera::onvif {

/// A random UUID (RFC 4122, version 4): "00112233-4455-4677-8899-aabbccddeeff".
/// @throws std::runtime_error when the system has no random numbers.
std::string newUuid();

} // namespace camera::onvif
