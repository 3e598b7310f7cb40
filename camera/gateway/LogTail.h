#pragma once

#include <cstddef>
#include <deque>
#include <mutex>
#include <string>

namespace camera::gateway {

/// The newest lines of the log, for administrators. Thread-safe.
class LogTail {
public:
    static constexpr std::size_t kMostBytes = 64 * 1024;

    /// @param line  with its line break.
    void add(const std::string& line)
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _lines.push_back(line);
        _bytes += line.size();
        while (_bytes > kMostBytes) {
            _bytes -= _lines.front().size();
            _lines.pop_front();
        }
    }

    std::string text() const
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        std::string text;
        for (const std::string& line : _lines) {
            text += line;
        }
        return text;
    }

private:
    mutable std::mutex _mutex;
    std::deque<std::string> _lines;
    std::size_t _bytes = 0;
};

} // namespace camera::gateway
