#pragma once

#include "ravel/status.h"

#include <string>

#pragma GCC visibility push(default)

extern "C" {

/// Registers what settingsGetJson yields for key while nothing has been stored.
ravel_core_status ravel_core_settings_set_default_json_value(const char* key, const char* value);
}

namespace ravel::core {

/// Reads the JSON document stored under key. Failures come as a status; a store that is broken may
/// throw RavelApiException.
ravel_core_status settingsGetJson(const std::string& key, std::string& value);

/// Stores the JSON document under key; it is durable when the call returns. A write that fails
/// throws RavelApiException.
ravel_core_status settingsSetJson(const std::string& key, const std::string& value);

} // namespace ravel::core

#pragma GCC visibility pop
