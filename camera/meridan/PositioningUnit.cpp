#include "camera/meridan/PositioningUnit.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace camera::meridan {

namespace {

constexpr int kLeft = 0;
constexpr int kReached = 2;
constexpr unsigned int kWidest = 100;

} // namespace

unsigned int Optics::angleOfView(unsigned int zoom) const
{
    // Pinhole: half the sensor's width over the focal length is the tangent of half the angle.
    const double focalLength = shortestFocalLength * (static_cast<double>(zoom) / kWidest);
    const double halfAngle = std::atan(sensorWidth / 2.0 / focalLength);
    return static_cast<unsigned int>(std::lround(2.0 * halfAngle * 180000.0 / std::acos(-1.0)));
}

PositioningUnit::PositioningUnit(Options options, Post post)
    : _movable(options.movable), _optics(options.optics), _post(std::move(post)), _presets(std::move(options.presets))
{
}

Position PositioningUnit::position() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _position;
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

std::vector<Preset>::iterator PositioningUnit::find(const std::string& name)
{
    return std::find_if(_presets.begin(), _presets.end(), [&](const Preset& entry) { return entry.name == name; });
}

// Events are posted with the state's lock held, so that they are queued in the order of the changes.

bool PositioningUnit::goToPreset(const std::string& name)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    const auto found = find(name);
    if (!_movable || found == _presets.end()) {
        return false;
    }
    _position = found->position;
    _activePreset = name;
    postPresetState(kReached, name);
    return true;
}

bool PositioningUnit::setZoom(unsigned int zoom)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    if (!_movable || zoom < kWidest || zoom > _optics.largestZoom) {
        return false;
    }
    const std::string left = std::exchange(_activePreset, std::string());
    if (!left.empty()) {
        postPresetState(kLeft, left);
    }
    const Position from = _position;
    _position.zoom = zoom;
    const Position to = _position;
    announce(motionCallbacks,
             [from](auto callback, void* context) { callback(true, from.pan, from.tilt, from.zoom, context); });
    announce(motionCallbacks,
             [to](auto callback, void* context) { callback(false, to.pan, to.tilt, to.zoom, context); });
    return true;
}

bool PositioningUnit::savePreset(const Preset& preset)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    if (!_movable || preset.name.empty()) {
        return false;
    }
    const auto found = find(preset.name);
    const bool created = found == _presets.end();
    created ? _presets.push_back(preset) : void(found->position = preset.position);
    announceModified(preset.name, created, !created, false);
    return true;
}

bool PositioningUnit::removePreset(const std::string& name)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    const auto found = find(name);
    if (!_movable || found == _presets.end()) {
        return false;
    }
    _presets.erase(found);
    if (_activePreset == name) {
        _activePreset.clear();
    }
    announceModified(name, false, false, true);
    return true;
}

void PositioningUnit::postMotion(bool moving)
{
    const Position at = position();
    announce(motionCallbacks,
             [=](auto callback, void* context) { callback(moving, at.pan, at.tilt, at.zoom, context); });
}

void PositioningUnit::postCommandPriority(unsigned int priority)
{
    announce(priorityCallbacks, [priority](auto callback, void* context) { callback(true, true, priority, context); });
}

void PositioningUnit::postPresetState(int state, const std::string& name)
{
    announce(presetStateCallbacks,
             [state, name](auto callback, void* context) { callback(state, name, false, std::string(), context); });
}

void PositioningUnit::postTourState(int tourState, int stopType)
{
    announce(tourCallbacks, [tourState, stopType](auto callback, void* context) {
        callback(tourState, std::string(), 0, stopType, context);
    });
}

void PositioningUnit::announceModified(const std::string& name, bool created, bool changed, bool removed)
{
    announce(presetModifiedCallbacks,
             [=](auto callback, void* context) { callback(name, created, changed, removed, context); });
}

template <class Callback, class Call>
void PositioningUnit::announce(const CallbackList<Callback>& list, Call call)
{
    if (!_quiet) {
        _post([&list, call = std::move(call)] { list.forEach(call); });
    }
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

} // namespace camera::meridan
