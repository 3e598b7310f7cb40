#pragma once

#include <string>
#include <vector>

#pragma GCC visibility push(default)

namespace ravel::core {

/// Fills ids with the targets served under a service name; false when the service is unknown.
/// Answered from local state: callable from the frame thread.
bool getTargetIds(const char* service, std::vector<std::string>& ids);

} // namespace ravel::core

#pragma GCC visibility pop
