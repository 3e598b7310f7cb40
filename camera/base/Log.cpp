#include "camera/base/Log.h"

#include "camera/base/ErrorLines.h"
#include "camera/base/JsonText.h"
#include "camera/base/Text.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
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

// ISO 8601 with the distance from UTC.
std::string localTime()
{
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const auto sinceEpoch = std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch());
    std::tm local{};
    localtime_r(&seconds, &local);
    const long minutes = std::labs(local.tm_gmtoff) / 60;
    std::array<char, 96> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02d.%03d%c%02ld:%02ld", local.tm_year + 1900,
                  local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
                  static_cast<int>(sinceEpoch.count() % 1000), local.tm_gmtoff < 0 ? '-' : '+', minutes / 60,
                  minutes % 60);
    return text.data();
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

// Whether somebody on this thread keeps error lines, whatever the level of the log is.
bool isKept(int priority)
{
    return priority <= static_cast<int>(LogLevel::error) && ErrorLines::wanted();
}

std::uintptr_t number(void* handle)
{
    return reinterpret_cast<std::uintptr_t>(handle);
}

} // namespace

std::optional<LogLevel> logLevelNamed(const std::string& name)
{
    for (const LogLevel level : {LogLevel::error, LogLevel::info, LogLevel::debug}) {
        if (name == levelName(static_cast<int>(level))) {
            return level;
        }
    }
    return std::nullopt;
}

int verbosityOf(LogLevel level)
{
    return level == LogLevel::debug ? 2 : level == LogLevel::info ? 1 : 0;
}

LogLevel levelOfVerbosity(int verbosity)
{
    if (verbosity <= 0) {
        return LogLevel::error;
    }
    return verbosity == 1 ? LogLevel::info : LogLevel::debug;
}

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
    if (priority > static_cast<int>(_level.load()) && !isKept(priority)) {
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

std::string Log::lineOf(LogLevel level, const std::string& component, const std::string& text) const
{
    const char* const name = levelName(static_cast<int>(level));
    if (_format == LogFormat::text) {
        return localTime() + " " + name + " " + component + ": " + onOneLine(text) + "\n";
    }
    Json::Value object;
    object["time"] = localTime();
    object["level"] = name;
    object["component"] = component;
    object["text"] = onOneLine(text);
    return jsonLine(object) + "\n";
}

void Log::emit(int priority, const std::string& component, const std::string& text)
{
    if (isKept(priority)) {
        ErrorLines::add(onOneLine(text));
    }
    if (priority > static_cast<int>(_level.load())) {
        return;
    }
    const std::string line = lineOf(static_cast<LogLevel>(priority), component, text);
    const std::lock_guard<std::mutex> lock(_writerMutex);
    if (_writer) {
        _writer(line);
    } else {
        writeToStderr(line);
    }
}

} // namespace camera::base
