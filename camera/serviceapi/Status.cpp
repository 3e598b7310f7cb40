#include "camera/serviceapi/Status.h"

const char* ravel_core_status_to_string(ravel_core_status status)
{
    using namespace camera::serviceapi;
    switch (status) {
    case kOk:
        return "success";
    case kFailed:
        return "the service failed";
    case kInvalidArgument:
        return "invalid argument";
    case kNotFound:
        return "not found";
    case kUnavailable:
        return "service not available";
    case kStorageFailed:
        return "storage failed";
    case kStorageFull:
        return "no space left";
    case kStorageReadOnly:
        return "storage is not writable";
    case kStorageDamaged:
        return "stored data is damaged";
    default:
        return "unknown status";
    }
}

namespace ravel::core {

std::string statusToString(ravel_core_status status)
{
    return ravel_core_status_to_string(status);
}

} // namespace ravel::core
