// The commands that move the camera. One that is not refused reports, in this order: the end of a tour that it
// interrupts, the priority of its user, state 0 of the preset that the camera leaves, state 1 of the preset that it
// goes to, and the start of the motion if the camera stood. When the camera stands again it reports state 2 of the
// preset, if it has arrived at one, and the end of the motion. A command during a move reports neither state 0 nor a
// second start: the camera has left already, and state 0 tells the plug-in that rules may be activated.
#include "camera/ptz/PositioningNames.h"
#include "camera/ptz/PositioningUnit.h"

namespace camera::ptz {

namespace {

constexpr int kMostPercent = 100;

bool speedsAllowed(const Drive& drive)
{
    const auto allowed = [](const std::optional<int>& percent) {
        return percent.value_or(0) >= -kMostPercent && percent.value_or(0) <= kMostPercent;
    };
    return allowed(drive.pan) && allowed(drive.tilt) && allowed(drive.zoom);
}

CommandResult driveRefusal(const Drive& drive)
{
    if (!drive.pan && !drive.tilt && !drive.zoom) {
        return {CommandStatus::badRequest, "a drive needs at least one of pan, tilt and zoom"};
    }
    if (!speedsAllowed(drive)) {
        return {CommandStatus::badRequest, "a speed is -100 to 100 percent"};
    }
    if (drive.duration && *drive.duration <= std::chrono::milliseconds(0)) {
        return {CommandStatus::badRequest, "a drive lasts at least one millisecond"};
    }
    return {};
}

} // namespace

CommandResult PositioningUnit::fixedRefusal() const
{
    return _movable
               ? CommandResult()
               : CommandResult{CommandStatus::fixedCamera, "this camera is fixed: it cannot move and has no presets"};
}

// Why this commander may not move the camera, or done.
CommandResult PositioningUnit::refusal(const Commander& commander) const
{
    if (_movable && held() && _holder.priority < commander.priority) {
        return {CommandStatus::held, _holder.user + " holds the camera with priority " +
                                         std::to_string(_holder.priority) + ", which is more important than " +
                                         std::to_string(commander.priority)};
    }
    return fixedRefusal();
}

CommandResult PositioningUnit::goToPreset(const std::string& name, const Commander& commander)
{
    const Transaction transaction(*this);
    if (auto refused = refusal(commander); !refused) {
        return refused;
    }
    const Preset* found = findPreset(name);
    if (found == nullptr) {
        return unknownPreset(name);
    }
    if (!_motion.canReach(found->position)) {
        return {CommandStatus::outOfLimits, "preset '" + name + "' is beyond what this camera can reach"};
    }
    endTour();
    goTo(*found, commander, 1.0);
    return {};
}

CommandResult PositioningUnit::moveTo(const Position& position, const Commander& commander)
{
    const Transaction transaction(*this);
    if (auto refused = refusal(commander); !refused) {
        return refused;
    }
    if (!_motion.canReach(position)) {
        return {CommandStatus::outOfLimits,
                "pan " + std::to_string(position.pan) + ", tilt " + std::to_string(position.tilt) + ", zoom " +
                    std::to_string(position.zoom) + " is beyond what this camera can reach"};
    }
    endTour();
    startMove(commander, std::string(), [&] { _motion.goTo(position, 1.0); });
    return {};
}

CommandResult PositioningUnit::setZoom(unsigned int zoom, const Commander& commander)
{
    const Transaction transaction(*this);
    if (auto refused = refusal(commander); !refused) {
        return refused;
    }
    if (!_motion.canZoomTo(zoom)) {
        return {CommandStatus::outOfLimits, "zoom " + std::to_string(zoom) + " is beyond what this lens can do"};
    }
    endTour();
    startMove(commander, std::string(), [&] { _motion.zoomTo(zoom); });
    return {};
}

CommandResult PositioningUnit::drive(const Drive& drive, const Commander& commander)
{
    {
        const Transaction transaction(*this);
        if (auto refused = refusal(commander); !refused) {
            return refused;
        }
        if (auto refused = driveRefusal(drive); !refused) {
            return refused;
        }
        if (drive.pan.value_or(0) != 0 || drive.tilt.value_or(0) != 0 || drive.zoom.value_or(0) != 0) {
            endTour();
            startMove(commander, std::string(), [&] { _motion.drive(drive); });
            return {};
        }
    }
    // Some clients stop a camera with speeds of zero.
    return stop({drive.pan.has_value(), drive.tilt.has_value(), drive.zoom.has_value()}, commander);
}

CommandResult PositioningUnit::stop(const Axes& axes, const Commander& commander)
{
    const Transaction transaction(*this);
    if (auto refused = refusal(commander); !refused) {
        return refused;
    }
    if (!_motion.moving()) {
        if (_tour) {
            endTour();
            hold(commander);
        }
    } else if (axes.pan || axes.tilt || axes.zoom) {
        _holder = commander;
        if (_tour) {
            _tour->ending = true;
        }
        _motion.stop(axes);
    }
    return {};
}

void PositioningUnit::goTo(const Preset& preset, const Commander& commander, double speedPart)
{
    startMove(commander, preset.name, [&] { _motion.goTo(preset.position, speedPart); });
}

// preset is the one that the camera goes to, empty when it goes to none.
template <class Start>
void PositioningUnit::startMove(const Commander& commander, const std::string& preset, const Start& start)
{
    const bool stood = !_motion.moving();
    _holder = commander;
    report(CommandPriority{commander.priority});
    if (!_activePreset.empty() || (stood && preset.empty())) {
        reportPresetState(PresetState::left, _activePreset);
        _activePreset.clear();
    }
    if (!preset.empty()) {
        reportPresetState(PresetState::heading, preset);
    }
    if (stood) {
        report(MotionState{true, _motion.position()});
    }
    _destination = preset;
    start();
}

void PositioningUnit::finishMove(bool arrived)
{
    if (arrived && !_destination.empty()) {
        _activePreset = _destination;
        reportPresetState(PresetState::reached, _activePreset);
    }
    _destination.clear();
    report(MotionState{false, _motion.position()});
    hold(_holder);
    _standingChanged = true;
    if (_tour && _tour->ending) {
        endTour();
    } else if (_tour) {
        _tour->dwelling = true;
        _tour->dwellLeft = _tour->tour.stops[_tour->stop].dwell;
    }
}

// From now on, for the time of the description, less important users are refused.
void PositioningUnit::hold(const Commander& commander)
{
    _holder = commander;
    _holdLeft = _description.holdFor;
}

void PositioningUnit::reportPresetState(PresetState state, const std::string& preset)
{
    report(PresetStateChange{state, preset, _tour.has_value(), _holder.user});
}

} // namespace camera::ptz
