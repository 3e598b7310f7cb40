#pragma once

#include "camera/serviceapi/ControlThread.h"
#include "camera/serviceapi/Status.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <mutex>
#include <set>
#include <vector>

namespace camera::serviceapi {

/// The id of the one target that each service of this device has.
constexpr const char* kTargetId = "main";

/**
 * The plug-in's open connections to one service of the device and the event handlers registered on them.
 *
 * Cookies are numbers, never reused and never used as addresses, so a closed one is always refused. Thread-safe.
 */
template <class Handler>
class ServiceConnections {
public:
    std::uintptr_t open()
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _open.insert(++_last);
        return _last;
    }

    /// Removes the connection's handlers, too.
    void close(std::uintptr_t cookie)
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _open.erase(cookie);
        removeIf([cookie](const Registration& entry) { return entry.cookie == cookie; });
    }

    bool isOpen(std::uintptr_t cookie) const
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        return _open.count(cookie) != 0;
    }

    ravel_core_status add(std::uintptr_t cookie, Handler handler, void* context)
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        if (_open.count(cookie) == 0 || handler == nullptr) {
            return kInvalidArgument;
        }
        _registrations.push_back({cookie, handler, context});
        return kOk;
    }

    ravel_core_status remove(std::uintptr_t cookie, Handler handler)
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        const bool removed =
            removeIf([&](const Registration& entry) { return entry.cookie == cookie && entry.handler == handler; });
        return removed ? kOk : kNotFound;
    }

    /// Posts one event: a task on the control thread calls each handler that is registered at that time, in the
    /// order of registration. The connections live until that thread has stopped.
    template <class Value>
    void post(ControlThread& control, Value value)
    {
        control.post([this, value] {
            for (const Registration& entry : registrations()) {
                if (holds(entry)) {
                    entry.handler(value, kTargetId, entry.context);
                }
            }
        });
    }

    /// Forgets every connection and handler.
    void discard()
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _registrations.clear();
        _open.clear();
    }

    std::size_t handlers() const { return registrations().size(); }

private:
    struct Registration {
        std::uintptr_t cookie = 0;
        Handler handler = nullptr;
        void* context = nullptr;
        bool operator==(const Registration& other) const
        {
            return cookie == other.cookie && handler == other.handler && context == other.context;
        }
    };

    std::vector<Registration> registrations() const
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        return _registrations;
    }

    bool holds(const Registration& wanted) const
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        return std::find(_registrations.begin(), _registrations.end(), wanted) != _registrations.end();
    }

    template <class Predicate>
    bool removeIf(const Predicate& predicate)
    {
        const auto first = std::remove_if(_registrations.begin(), _registrations.end(), predicate);
        const bool removed = first != _registrations.end();
        _registrations.erase(first, _registrations.end());
        return removed;
    }

    mutable std::mutex _mutex;
    std::set<std::uintptr_t> _open;
    std::vector<Registration> _registrations;
    std::uintptr_t _last = 0;
};

} // namespace camera::serviceapi
