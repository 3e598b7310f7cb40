#include "ravel/logging.h"

#include "host-seam/Journal.h"
#include "host-seam/LogHandles.h"
#include "host-seam/Platform.h"
#include "ravel/status.h"

#include <cstdio>
#include <map>
#include <mutex>
#include <string>

namespace {

std::string render(const char* format, va_list arguments) __attribute__((format(printf, 1, 0)));

std::string render(const char* format, va_list arguments)
{
    va_list measured;
    va_copy(measured, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, measured);
    va_end(measured);
    if (length < 0) {
        return "(cannot be rendered)";
    }
    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    std::vsnprintf(text.data(), text.size(), format, arguments);
    text.pop_back();
    return text;
}

} // namespace

ravel_core_status ravel_core_logging_init(const char* tag, void** handle)
{
    host_seam::Logging& logging = host_seam::platform().logging;
    host_seam::platform().reached("loggingInit");
    host_seam::journal().add(host_seam::Part::Service, "loggingInit ", tag, " -> ", logging.initStatus);
    if (logging.initWritesHandle) {
        logging.initHandle = host_seam::logHandles().open();
        *handle = logging.initHandle;
    }
    return logging.initStatus;
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
    if (host_seam::journal().recording()) {
        host_seam::platform().reached("log");
        const char* const dropped = host_seam::logHandles().isOpen(handle) ? "" : "dropped ";
        host_seam::journal().addLog(format, dropped, "log ", static_cast<int>(priority), " \"",
                                    render(format, arguments), "\"");
    } else if (host_seam::platform().logging.rendersAlways) {
        char line[128];
        std::vsnprintf(line, sizeof line, format, arguments);
    }
}

void ravel_core_logging_deinit(void* handle)
{
    host_seam::platform().reached("loggingDeinit");
    const bool wasOpen = host_seam::logHandles().close(handle);
    host_seam::journal().add(host_seam::Part::Service, "loggingDeinit", wasOpen ? "" : " (not open)");
    if (host_seam::journal().recording()) {
        host_seam::platform().logging.closedHandles.push_back(handle);
    }
}

const char* ravel_core_status_to_string(ravel_core_status status)
{
    static auto* const mutex = new std::mutex;
    static auto* const texts = new std::map<ravel_core_status, std::string>;
    const std::lock_guard<std::mutex> lock(*mutex);
    return texts->emplace(status, "status text " + std::to_string(status)).first->second.c_str();
}

std::string ravel::core::statusToString(ravel_core_status status)
{
    return ravel_core_status_to_string(status);
}
