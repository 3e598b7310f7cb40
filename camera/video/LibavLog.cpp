#include "camera/video/LibavLog.h"

#include "camera/video/Libav.h"

#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdio>

namespace camera::video {

namespace {

std::atomic<bool> loudLog{false};
thread_local std::string lastError;

std::string oneLine(void* context, int level, const char* format, va_list arguments)
{
    std::array<char, 512> text{};
    int withPrefix = 1;
    av_log_format_line2(context, level, format, arguments, text.data(), static_cast<int>(text.size()), &withPrefix);
    std::string line(text.data());
    while (!line.empty() && (line.back() == '\n' || line.back() == ' ')) {
        line.pop_back();
    }
    return line;
}

void takeLine(void* context, int level, const char* format, va_list arguments)
{
    if (level > AV_LOG_WARNING) {
        return;
    }
    const std::string line = oneLine(context, level, format, arguments);
    if (level <= AV_LOG_ERROR) {
        lastError = line;
    }
    if (loudLog) {
        std::fprintf(stderr, "libav: %s\n", line.c_str());
    }
}

} // namespace

void routeLibavLog(bool loud)
{
    loudLog = loud;
    av_log_set_callback(takeLine);
}

std::string lastLibavError()
{
    return lastError;
}

void clearLibavError()
{
    lastError.clear();
}

std::string libavStatusText(int status)
{
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(status, text.data(), text.size());
    return text.data();
}

} // namespace camera::video
