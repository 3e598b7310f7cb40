#pragma once

#include <algorithm>
#include <cstddef>
#include <mutex>
#include <vector>

namespace camera::ptz {

/// Callbacks with their contexts, in the order of registration. Thread-safe.
template <class Callback>
class CallbackList {
public:
    struct Entry {
        Callback callback = nullptr;
        void* context = nullptr;
        bool operator==(const Entry& other) const { return callback == other.callback && context == other.context; }
    };

    /// False for a null callback; adding a pair twice keeps one.
    bool add(Callback callback, void* context)
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        const Entry entry{callback, context};
        if (callback != nullptr && std::find(_entries.begin(), _entries.end(), entry) == _entries.end()) {
            _entries.push_back(entry);
        }
        return callback != nullptr;
    }

    /// False for a pair that is not registered.
    bool remove(Callback callback, void* context)
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        const auto found = std::find(_entries.begin(), _entries.end(), Entry{callback, context});
        if (found == _entries.end()) {
            return false;
        }
        _entries.erase(found);
        return true;
    }

    /// Calls each callback that is registered at its turn: one may unregister another.
    template <class Call>
    void forEach(const Call& call) const
    {
        for (const Entry& entry : entries()) {
            if (holds(entry)) {
                call(entry.callback, entry.context);
            }
        }
    }

    std::size_t size() const { return entries().size(); }

    /// Forgets every callback; returns how many there were.
    std::size_t clear()
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        const std::size_t count = _entries.size();
        _entries.clear();
        return count;
    }

private:
    std::vector<Entry> entries() const
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        return _entries;
    }

    bool holds(const Entry& wanted) const
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        return std::find(_entries.begin(), _entries.end(), wanted) != _entries.end();
    }

    mutable std::mutex _mutex;
    std::vector<Entry> _entries;
};

} // namespace camera::ptz
