#pragma once

#include "ravel/status.h"

namespace camera::serviceapi {

/// The statuses that this device's service calls return.
enum Status : ravel_core_status {
    kOk = 0,
    kFailed = 1,
    kInvalidArgument = 2,
    kNotFound = 3,
    kUnavailable = 4,
    kStorageFailed = 5,
    kStorageFull = 6,
    kStorageReadOnly = 7,
    kStorageDamaged = 8,
};

} // namespace camera::serviceapi
