#pragma once

#include "ravel/RavelApiException.h"

#include <string>

namespace korva::meridan {

/// Turns a failed service API call into an exception that names the call.
/// @param call The call as the log shows it. It is given as a text, not made from the source, so that no formatter
///             changes what log readers look for.
inline void throwOnFailure(ravel_core_status status, const char* call)
{
    if (status != 0) {
        throw ravel::core::RavelApiException(std::string("Failed ravel api call: ") + call, status);
    }
}

} // namespace korva::meridan
