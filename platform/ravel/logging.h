#pragma once

#include "ravel/status.h"

#include <cstdarg>

#pragma GCC visibility push(default)

/// Syslog severities; only the three that the analytics plug-in writes have a name here.
enum ravel_core_log_priority {
    RAVEL_CORE_LOG_ERROR = 3,
    RAVEL_CORE_LOG_INFO = 6,
    RAVEL_CORE_LOG_DEBUG = 7,
};

extern "C" {

/// Opens a log under tag and writes its handle. The handle is passed to every other logging call.
ravel_core_status ravel_core_logging_init(const char* tag, void** handle);

/// Writes one printf-style line. A null or closed handle writes nothing. Thread-safe.
void ravel_core_logging_log(void* handle, ravel_core_log_priority priority, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

/// As ravel_core_logging_log, with the arguments as a list.
void ravel_core_logging_logv(void* handle, ravel_core_log_priority priority, const char* format, va_list arguments)
    __attribute__((format(printf, 3, 0)));

/// Closes the handle; later lines on it are dropped.
void ravel_core_logging_deinit(void* handle);
}

#pragma GCC visibility pop
