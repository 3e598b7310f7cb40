#pragma once

#include <string>

#pragma GCC visibility push(default)

/// Outcome of a service API call: 0 is success.
typedef int ravel_core_status; // the declarations also read as C

extern "C" {

/// A short text for status; static storage.
const char* ravel_core_status_to_string(ravel_core_status status);
}

namespace ravel::core {

/// The text of ravel_core_status_to_string.
std::string statusToString(ravel_core_status status);

} // namespace ravel::core

#pragma GCC visibility pop
