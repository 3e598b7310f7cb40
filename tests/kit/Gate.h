#pragma once

#include "kit/LineJournal.h"

namespace kit {

/// A gate that a thread is held at until the test opens it, at the latest when the test ends.
class Gate {
public:
    ~Gate()
    {
        open();
        std::unique_lock<std::mutex> lock(_mutex);
        _changed.wait(lock, [this] { return _inside == 0; });
    }

    void pass()
    {
        std::unique_lock<std::mutex> lock(_mutex);
        _reached = true;
        ++_inside;
        _changed.notify_all();
        _changed.wait(lock, [this] { return _open; });
        --_inside;
        _changed.notify_all();
    }

    bool waitUntilReached()
    {
        std::unique_lock<std::mutex> lock(_mutex);
        return _changed.wait_until(lock, soon(), [this] { return _reached; });
    }

    void open()
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _open = true;
        _changed.notify_all();
    }

private:
    std::mutex _mutex;
    std::condition_variable _changed;
    bool _reached = false;
    int _inside = 0; ///< threads that are held, or have not left yet
    bool _open = false;
};

} // namespace kit
