#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <shared_mutex>
#include <string>

namespace camera::base {

/// The least important lines that are still written; the values are the priorities of the log calls.
enum class LogLevel { silent = -1, error = 3, info = 6, debug = 7 };

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

    /// Sets the function that gets the lines from now on; an empty one: stderr.
    void setWriter(Writer writer);

    /// A new handle for lines of one component. Handles are numbers, never reused and never used
    /// as addresses, so a closed one is always recognised.
    void* open(const std::string& component);
    void close(void* handle);

    /// Whether a line would be written; false for a null, closed or unknown handle.
    bool wants(void* handle, int priority) const;
    void write(void* handle, int priority, const std::string& text);

    /// A line of the virtual camera itself.
    void write(LogLevel level, const std::string& component, const std::string& text);

private:
    Log() = default;

    void emit(int priority, const std::string& component, const std::string& text);

    std::atomic<LogLevel> _level{LogLevel::error};
    mutable std::shared_mutex _handlesMutex;
    std::map<std::uintptr_t, std::string> _components;
    std::uintptr_t _lastHandle = 0;
    std::mutex _writerMutex;
    Writer _writer;
};

} // namespace camera::base
