// The logging calls of the service API, over the process' log.
#include "ravel/logging.h"

#include "camera/base/Log.h"
#include "camera/serviceapi/Status.h"

#include <cstdio>
#include <string>
#include <vector>

using camera::base::Log;

ravel_core_status ravel_core_logging_init(const char* tag, void** handle)
{
    if (tag == nullptr || handle == nullptr) {
        return camera::serviceapi::kInvalidArgument;
    }
    *handle = Log::instance().open(tag);
    return camera::serviceapi::kOk;
}

void ravel_core_logging_log(void* handle, ravel_core_log_priority priority, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    ravel_core_logging_logv(handle, priority, format, arguments);
    va_end(arguments);
}

void ravel_core_logging_logv(void* handle, ravel_core_log_priority priority, const char* format, va_list arguments)
{
    if (format == nullptr || !Log::instance().wants(handle, priority)) {
        return;
    }
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    if (length >= 0) {
        std::vector<char> text(static_cast<std::size_t>(length) + 1);
        std::vsnprintf(text.data(), text.size(), format, again);
        Log::instance().write(handle, priority, std::string(text.data(), static_cast<std::size_t>(length)));
    }
    va_end(again);
}

void ravel_core_logging_deinit(void* handle)
{
    Log::instance().close(handle);
}
