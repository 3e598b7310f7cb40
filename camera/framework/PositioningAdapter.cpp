#include "camera/framework/PositioningAdapter.h"

#include "camera/ptz/PositioningUnit.h"

#include <algorithm>
#include <utility>

namespace camera::framework {

namespace {

using Manager = korva::meridan::PositioningManager;

void call(Manager::MotionStateCallback callback, const ptz::MotionState& event, void* context)
{
    callback(event.moving, event.position.pan, event.position.tilt, event.position.zoom, context);
}

void call(Manager::CommandPriorityCallback callback, const ptz::CommandPriority& event, void* context)
{
    callback(true, true, event.priority, context); // a command holds all axes
}

void call(Manager::PresetStateCallback callback, const ptz::PresetStateChange& event, void* context)
{
    callback(static_cast<int>(event.state), event.preset, event.byTour, event.user, context);
}

void call(Manager::PresetModifiedCallback callback, const ptz::PresetModified& event, void* context)
{
    callback(event.preset, event.change == ptz::PresetChange::created, event.change == ptz::PresetChange::changed,
             event.change == ptz::PresetChange::removed, context);
}

void call(Manager::TourStateCallback callback, const ptz::TourStateChange& event, void* context)
{
    callback(static_cast<int>(event.state), event.tour, static_cast<unsigned int>(event.stop), 0, context);
}

// A callback for another kind of event.
template <class Callback, class Event>
void call(Callback /*callback*/, const Event& /*event*/, void* /*context*/)
{
}

} // namespace

PositioningAdapter::PositioningAdapter(std::shared_ptr<ptz::PositioningUnit> unit)
    : _unit(std::move(unit)),
      _subscription(_unit->onEvent([this](const ptz::PositioningEvent& event) { deliver(event); }))
{
}

bool PositioningAdapter::add(Callback callback, void* context)
{
    if (std::visit([](const auto function) { return function == nullptr; }, callback)) {
        return false;
    }
    const std::lock_guard<std::mutex> lock(_mutex);
    const Registration entry{callback, context};
    if (std::find(_registrations.begin(), _registrations.end(), entry) == _registrations.end()) {
        _registrations.push_back(entry);
    }
    return true;
}

bool PositioningAdapter::remove(Callback callback, void* context)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    const auto found = std::find(_registrations.begin(), _registrations.end(), Registration{callback, context});
    if (found == _registrations.end()) {
        return false;
    }
    _registrations.erase(found);
    return true;
}

std::size_t PositioningAdapter::registrations() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _registrations.size();
}

void PositioningAdapter::discardRegistrations()
{
    const std::lock_guard<std::mutex> lock(_mutex);
    _registrations.clear();
}

void PositioningAdapter::deliver(const ptz::PositioningEvent& event) const
{
    std::vector<Registration> entries;
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        entries = _registrations;
    }
    for (const Registration& entry : entries) {
        if (holds(entry)) {
            std::visit([&](const auto callback, const auto& kind) { call(callback, kind, entry.context); },
                       entry.callback, event);
        }
    }
}

bool PositioningAdapter::holds(const Registration& wanted) const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return std::find(_registrations.begin(), _registrations.end(), wanted) != _registrations.end();
}

} // namespace camera::framework
