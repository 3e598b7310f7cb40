#pragma once

#include "ravel/status.h"

#pragma GCC visibility push(default)

extern "C" {

/// Reads an integer configuration value of the device; on failure value is left as it is.
ravel_core_status ravel_core_configuration_get_int_value(const char* key, int* value);
}

#pragma GCC visibility pop
