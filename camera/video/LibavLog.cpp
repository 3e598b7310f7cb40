#include "camera/video/LibavLog.h"

#include "camera/base/Log.h"
#include "camera/video/Libav.h"

#include <array>
#include <cstdarg>
#include <regex>

namespace camera::video {

namespace {

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
    // "[mov @ 0x5581...] text": the address says nothing to a reader.
    static const std::regex address(" @ 0x[0-9a-f]+\\]");
    return std::regex_replace(line, address, "]");
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
    base::Log::instance().write(base::LogLevel::info, "libav", line);
}

} // namespace

void routeLibavLog()
{
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
