#pragma once

#include "ravel/status.h"

#include <stdexcept>
#include <string>

#pragma GCC visibility push(default)

namespace ravel::core {

/// A service API call that returned a status other than 0.
class __attribute__((visibility("default"))) RavelApiException : public std::runtime_error {
public:
    RavelApiException(const std::string& message, ravel_core_status status)
        : std::runtime_error(formatMessage(message, status)), _status(status)
    {
    }

    ravel_core_status status() const noexcept { return _status; }

    /// "message (status text)".
    static std::string formatMessage(const std::string& message, ravel_core_status status)
    {
        return message + " (" + statusToString(status) + ")";
    }

private:
    ravel_core_status _status;
};

} // namespace ravel::core

#pragma GCC visibility pop
