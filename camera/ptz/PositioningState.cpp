// What of the unit outlives it.
#include "camera/ptz/PositioningBatch.h"
#include "camera/ptz/PositioningDocument.h"

#include <utility>

namespace camera::ptz {

std::string PositioningUnit::serialize() const
{
    PositioningState state;
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        state = {here(), _activePreset, _presets, _tours};
    }
    return writePositioning(state);
}

CommandResult PositioningUnit::restore(const std::string& document)
{
    PositioningState state;
    if (const std::string problem = readPositioning(document, state); !problem.empty()) {
        return {CommandStatus::badDocument, problem};
    }
    const std::lock_guard<std::mutex> lock(_mutex);
    if (!_movable) {
        return {CommandStatus::fixedCamera, "this camera is fixed: it cannot move and has no presets"};
    }
    // The description may have changed since: what cannot be reached any more is brought to the nearest end.
    const bool reachable = checked(state.position).has_value();
    _pan.place(state.position.pan);
    _tilt.place(state.position.tilt);
    _zoom.place(state.position.zoom);
    _activePreset = reachable ? state.activePreset : std::string();
    std::swap(_presets, state.presets);
    for (Preset& own : state.presets) {
        if (find(own.name) == _presets.end()) {
            _presets.push_back(std::move(own));
        }
    }
    _tours = std::move(state.tours);
    _move = Move();
    _tour.reset();
    return {};
}

} // namespace camera::ptz
