#include "camera/base/Log.h"

#include "camera/base/Text.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <unistd.h>

namespace camera::base {

namespace {

// A stored configuration may be megabytes long; the beginning is enough to recognise it.
constexpr std::size_t kMaxTextBytes = 8192;

const char* levelName(int priority)
{
    if (priority <= static_cast<int>(LogLevel::error)) {
        return "error";
    }
    return priority >= static_cast<int>(LogLevel::debug) ? "debug" : "info";
}

std::string timeOfDay()
{
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const auto sinceEpoch = std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch());
    std::tm local{};
    localtime_r(&seconds, &local);
    char text[32];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d.%03d", local.tm_hour, local.tm_min, local.tm_sec,
                  static_cast<int>(sinceEpoch.count() % 1000));
    return text;
}

std::string onOneLine(const std::string& text)
{
    const std::string line = printable(text.substr(0, kMaxTextBytes));
    return text.size() > kMaxTextBytes ? line + "... (" + std::to_string(text.size()) + " bytes)" : line;
}

void writeToStderr(const std::string& line)
{
    std::size_t written = 0;
    while (written < line.size()) {
        const ssize_t count = ::write(STDERR_FILENO, line.data() + written, line.size() - written);
        if (count < 0 && errno != EINTR) {
            return; // stderr is closed: the failure cannot be reported
        }
        written += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
}

std::uintptr_t number(void* handle)
{
    return reinterpret_cast<std::uintptr_t>(handle);
}

} // namespace

Log& Log::instance()
{
    // Never destroyed: engines may log while the process ends.
    static Log& log = *new Log;
    return log;
}

void Log::setLevel(LogLevel level)
{
    _level = level;
}

LogLevel Log::level() const
{
    return _level;
}

void Log::setWriter(Writer writer)
{
    const std::lock_guard<std::mutex> lock(_writerMutex);
    _writer = std::move(writer);
}

void* Log::open(const std::string& component)
{
    const std::unique_lock<std::shared_mutex> lock(_handlesMutex);
    _components.emplace(++_lastHandle, component);
    return reinterpret_cast<void*>(_lastHandle); // a number, never used as an address
}

void Log::close(void* handle)
{
    const std::unique_lock<std::shared_mutex> lock(_handlesMutex);
    _components.erase(number(handle));
}

bool Log::wants(void* handle, int priority) const
{
    if (priority > static_cast<int>(_level.load())) {
        return false;
    }
    const std::shared_lock<std::shared_mutex> lock(_handlesMutex);
    return _components.count(number(handle)) != 0;
}

void Log::write(void* handle, int priority, const std::string& text)
{
    // Held while writing, so that no line of a handle appears after close() has returned.
    const std::shared_lock<std::shared_mutex> lock(_handlesMutex);
    const auto component = _components.find(number(handle));
    if (component == _components.end()) {
        return;
    }
    emit(priority, component->second, text);
}

void Log::write(LogLevel level, const std::string& component, const std::string& text)
{
    emit(static_cast<int>(level), component, text);
}

void Log::emit(int priority, const std::string& component, const std::string& text)
{
    if (priority > static_cast<int>(_level.load())) {
        return;
    }
    const std::string line = timeOfDay() + " " + levelName(priority) + " " + component + ": " + onOneLine(text) + "\n";
    const std::lock_guard<std::mutex> lock(_writerMutex);
    if (_writer) {
        _writer(line);
    } else {
        writeToStderr(line);
    }
}

} // namespace camera::base
