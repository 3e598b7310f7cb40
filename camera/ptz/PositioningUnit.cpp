// What the unit knows, who is registered, and how time passes.
#include "camera/ptz/PositioningUnit.h"

#include "camera/ptz/PositioningBatch.h"
#include "camera/ptz/PositioningSteps.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace camera::ptz {

namespace {

constexpr int kReached = 2;
constexpr long kFullTurn = 360000;

} // namespace

PositioningUnit::PositioningUnit(Options options, Post post)
    : _movable(options.movable && options.description.movable),
      _description(std::move(options.description)),
      _post(std::move(post)),
      _presets(std::move(options.presets)),
      _pan(_description.pan, 0),
      _tilt(_description.tilt, 0),
      _zoom(_description.zoom, _description.zoom.lowest)
{
}

Position PositioningUnit::here() const
{
    Position result;
    result.pan = static_cast<unsigned int>((std::lround(_pan.position()) % kFullTurn + kFullTurn) % kFullTurn);
    result.tilt = static_cast<int>(std::lround(_tilt.position()));
    result.zoom = static_cast<unsigned int>(std::lround(_zoom.position()));
    return result;
}

Position PositioningUnit::position() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return here();
}

bool PositioningUnit::moving() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _move.purpose != Purpose::none;
}

std::string PositioningUnit::activePreset() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _activePreset;
}

std::vector<Preset> PositioningUnit::presets() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _presets;
}

std::optional<Preset> PositioningUnit::preset(const std::string& name) const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    const auto found =
        std::find_if(_presets.begin(), _presets.end(), [&](const Preset& entry) { return entry.name == name; });
    return found == _presets.end() ? std::nullopt : std::make_optional(*found);
}

std::vector<Tour> PositioningUnit::tours() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _tours;
}

std::optional<TourProgress> PositioningUnit::tourProgress() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    if (!_tour || _tour->ending) {
        return std::nullopt;
    }
    return TourProgress{_tour->tour.name, _tour->stop, _tour->tour.stops[_tour->stop].preset, _tour->dwelling,
                        _tour->paused};
}

std::optional<Commander> PositioningUnit::holder() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    const bool held = _move.purpose != Purpose::none || _tour || _heldSteps > 0;
    return held ? std::make_optional(_holder) : std::nullopt;
}

void PositioningUnit::advance(std::chrono::nanoseconds elapsed)
{
    if (!_movable) {
        return;
    }
    Batch batch(*this);
    _remainder += std::clamp<std::chrono::nanoseconds>(elapsed, std::chrono::nanoseconds(0), std::chrono::hours(1));
    std::int64_t steps = _remainder / kStep;
    _remainder -= steps * kStep;
    while (steps > 0) {
        const std::int64_t idle = idleSteps(steps);
        if (idle > 0) {
            _heldSteps -= std::min(_heldSteps, idle);
            if (_tour && !_tour->paused) {
                _tour->dwellLeft -= idle;
            }
            steps -= idle;
        } else {
            step(batch);
            --steps;
        }
    }
}

// Nothing but counters changes for that long.
std::int64_t PositioningUnit::idleSteps(std::int64_t most) const
{
    if (_move.purpose != Purpose::none) {
        return 0;
    }
    return _tour && !_tour->paused ? std::min(most, _tour->dwellLeft) : most;
}

bool PositioningUnit::placeAt(const std::string& preset)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    const auto found = find(preset);
    if (!_movable || found == _presets.end() || !checked(found->position)) {
        return false;
    }
    _pan.place(found->position.pan);
    _tilt.place(found->position.tilt);
    _zoom.place(found->position.zoom);
    _activePreset = preset;
    _move = Move();
    return true;
}

void PositioningUnit::announceStanding()
{
    Batch batch(*this);
    if (!_activePreset.empty()) {
        batch.presetState(kReached, _activePreset);
    }
}

void PositioningUnit::onChange(std::function<void(Change)> hook)
{
    _hook = std::move(hook);
}

void PositioningUnit::jam(bool jammed)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    _jammed = jammed;
}

void PositioningUnit::postMotion(bool moving)
{
    Batch(*this).motion(moving);
}

void PositioningUnit::postCommandPriority(unsigned int priority)
{
    Batch(*this).priority(priority);
}

void PositioningUnit::postPresetState(int state, const std::string& name)
{
    Batch(*this).presetState(state, name);
}

void PositioningUnit::postTourState(int tourState, int stopType)
{
    Batch(*this).tourState(tourState, std::string(), 0, stopType);
}

std::size_t PositioningUnit::registrations() const
{
    return motionCallbacks.size() + priorityCallbacks.size() + presetStateCallbacks.size() +
           presetModifiedCallbacks.size() + tourCallbacks.size();
}

void PositioningUnit::quiesce()
{
    _quiet = true;
}

std::size_t PositioningUnit::discardRegistrations()
{
    return motionCallbacks.clear() + priorityCallbacks.clear() + presetStateCallbacks.clear() +
           presetModifiedCallbacks.clear() + tourCallbacks.clear();
}

} // namespace camera::ptz
