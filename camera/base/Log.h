#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <string>
#include <vector>

namespace camera::base {

/// The least important lines that are still written; the values are the priorities of the log calls.
enum class LogLevel { silent = -1, error = 3, info = 6, debug = 7 };

/// The names of the levels that a user chooses from, the first one says least.
inline const std::vector<std::string> kLogLevels = {"error", "info", "debug"};

/// The level of that name; nothing when there is none.
std::optional<LogLevel> logLevelNamed(const std::string& name);

/// How often -v stands on a command line for that level, and back.
int verbosityOf(LogLevel level);
LogLevel levelOfVerbosity(int verbosity);

/// Lines for people, or one JSON object a line: time, level, component, text.
enum class LogFormat { text, json };

/**
 * Writes every log line of the process, to stderr or to a function that a test or the status line sets.
 *
 * One call is one line and one write: line breaks and other control bytes of the text are written as
 * escapes, very long texts are cut. Thread-safe.
 */
class Log {
public:
    /// Takes one whole line, with its line break. Called by one thread at a time.
    using Writer = std::function<void(const std::string& line)>;

    static Log& instance();

    /// Lines less important than this are dropped; "error" at the start of the process.
    void setLevel(LogLevel level);
    LogLevel level() const;

    void setFormat(LogFormat format) { _format = format; }
    LogFormat format() const { return _format; }

    /// A whole line as the log writes it now, with its line break: the time with its date and its distance from UTC,
    /// level, component and text.
    std::string lineOf(LogLevel level, const std::string& component, const std::string& text) const;

    /// Sets the function that gets the lines from now on; an empty one: stderr.
    void setWriter(Writer writer);

    /// A new handle for lines of one component. Handles are numbers, never reused and never used
    /// as addresses, so a closed one is always recognised.
    void* open(const std::string& component);
    void close(void* handle);

    /// Whether a line would be written or kept (see ErrorLines); false for a null, closed or unknown handle.
    bool wants(void* handle, int priority) const;
    void write(void* handle, int priority, const std::string& text);

    /// A line of the virtual camera itself.
    void write(LogLevel level, const std::string& component, const std::string& text);

private:
    Log() = default;

    void emit(int priority, const std::string& component, const std::string& text);

    std::atomic<LogLevel> _level{LogLevel::error};
    std::atomic<LogFormat> _format{LogFormat::text};
    mutable std::shared_mutex _handlesMutex;
    std::map<std::uintptr_t, std::string> _components;
    std::uintptr_t _lastHandle = 0;
    std::mutex _writerMutex;
    Writer _writer;
};

} // namespace camera::base
