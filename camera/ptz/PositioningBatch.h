#pragma once

#include "camera/ptz/PositioningUnit.h"

#include <utility>

namespace camera::ptz {

/**
 * One command or one step of time: holds the unit's lock, collects the events, and at the end posts
 * them as one task and, without the lock, tells what has changed.
 *
 * They are posted with the lock held, so that they are queued in the order of the changes.
 */
class PositioningUnit::Batch {
public:
    explicit Batch(PositioningUnit& unit) : _unit(unit), _lock(unit._mutex) {}
    ~Batch();
    Batch(const Batch&) = delete;
    Batch& operator=(const Batch&) = delete;

    void motion(bool moving);
    void priority(unsigned int priority);
    void presetState(int state, const std::string& name);
    void presetModified(const std::string& name, bool created, bool changed, bool removed);
    void tourState(int state, const std::string& tour, std::size_t stop, int stopType);

    void changed(Change change) { (change == Change::lists ? _listsChanged : _standingChanged) = true; }

private:
    template <class Callback, class Call>
    void add(const CallbackList<Callback>& list, Call call)
    {
        _events.push_back([&list, call = std::move(call)] { list.forEach(call); });
    }

    PositioningUnit& _unit;
    std::unique_lock<std::mutex> _lock;
    std::vector<std::function<void()>> _events;
    bool _listsChanged = false;
    bool _standingChanged = false;
};

} // namespace camera::ptz
