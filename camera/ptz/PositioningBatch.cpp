#include "camera/ptz/PositioningBatch.h"

#include <exception>

namespace camera::ptz {

namespace {

// An event that fails must not take those behind it along: the camera would be seen moving for ever.
void callAll(const std::vector<std::function<void()>>& events)
{
    std::exception_ptr first;
    for (const auto& event : events) {
        try {
            event();
        } catch (...) {
            first = first ? first : std::current_exception();
        }
    }
    if (first) {
        std::rethrow_exception(first);
    }
}

} // namespace

PositioningUnit::Batch::~Batch()
{
    if (!_events.empty() && !_unit._quiet) {
        _unit._post([events = std::move(_events)] { callAll(events); });
    }
    _lock.unlock();
    if (_unit._hook && _listsChanged) {
        _unit._hook(Change::lists);
    }
    if (_unit._hook && _standingChanged) {
        _unit._hook(Change::standing);
    }
}

void PositioningUnit::Batch::motion(bool moving)
{
    const Position at = _unit.here();
    add(_unit.motionCallbacks,
        [=](auto callback, void* context) { callback(moving, at.pan, at.tilt, at.zoom, context); });
}

void PositioningUnit::Batch::priority(unsigned int priority)
{
    add(_unit.priorityCallbacks, [=](auto callback, void* context) { callback(true, true, priority, context); });
}

void PositioningUnit::Batch::presetState(int state, const std::string& name)
{
    const bool byTour = _unit._tour.has_value();
    const std::string user = _unit._holder.user;
    add(_unit.presetStateCallbacks,
        [=](auto callback, void* context) { callback(state, name, byTour, user, context); });
}

void PositioningUnit::Batch::presetModified(const std::string& name, bool created, bool changed, bool removed)
{
    add(_unit.presetModifiedCallbacks,
        [=](auto callback, void* context) { callback(name, created, changed, removed, context); });
}

void PositioningUnit::Batch::tourState(int state, const std::string& tour, std::size_t stop, int stopType)
{
    add(_unit.tourCallbacks, [=](auto callback, void* context) {
        callback(state, tour, static_cast<unsigned int>(stop), stopType, context);
    });
}

} // namespace camera::ptz
