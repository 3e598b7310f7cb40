#pragma once

#include "kit/Eventually.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

namespace kit {

/// Lines in the order in which they came. Thread-safe.
class LineJournal {
public:
    void add(const std::string& line)
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _lines.push_back(line);
        _changed.notify_all();
    }

    std::vector<std::string> lines() const
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        return _lines;
    }

    /// Waits until there are as many lines as that.
    std::vector<std::string> lines(std::size_t count) const
    {
        std::unique_lock<std::mutex> lock(_mutex);
        _changed.wait_until(lock, soon(), [&] { return _lines.size() >= count; });
        return _lines;
    }

    /// How many lines hold the text.
    std::size_t count(const std::string& text) const
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        return static_cast<std::size_t>(std::count_if(_lines.begin(), _lines.end(), [&](const std::string& line) {
            return line.find(text) != std::string::npos;
        }));
    }

    void clear()
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _lines.clear();
    }

private:
    mutable std::mutex _mutex;
    mutable std::condition_variable _changed;
    std::vector<std::string> _lines;
};

} // namespace kit
