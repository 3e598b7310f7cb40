// The commands that move the camera. One that is not refused reports, in this order: the end of a tour that it
// interrupts, the priority of its user, state 0 of the preset that the camera leaves, state 1 of the preset that it
// goes to, and the start of the motion if the camera stood. When the camera stands again it reports state 2 of the
// preset, if it has arrived at one, and the end of the motion. A command during a move reports neither state 0 nor a
// second start: the camera has left already, and state 0 tells the plug-in that rules may be activated.
#include "camera/ptz/PositioningUnit.h"

namespace camera::ptz {

namespace {

constexpr int kMostPercent = 100;
constexpr const char* kSpeedOfAWay = "the speed to a place is 1 to 100 percent";

bool isSpeedOfAWay(unsigned int percent)
{
    return percent >= 1 && percent <= static_cast<unsigned int>(kMostPercent);
}

bool speedsAllowed(const Drive& drive)
{
    const auto allowed = [](const std::optional<int>& percent) {
        return percent.value_or(0) >= -kMostPercent && percent.value_or(0) <= kMostPercent;
    };
    return allowed(drive.pan) && allowed(drive.tilt) && allowed(drive.zoom);
}

} // namespace

void PositioningUnit::requireMovable() const
{
    require(_movable, CommandStatus::fixedCamera, "this camera is fixed: it cannot move and has no presets");
}

void PositioningUnit::requireMayMove(const Commander& commander) const
{
    requireMovable();
    const bool refused = held() && _holder.priority < commander.priority;
    require(!refused, CommandStatus::held,
            _holder.user + " holds the camera with priority " + std::to_string(_holder.priority) +
                ", which is more important than " + std::to_string(commander.priority));
}

CommandResult PositioningUnit::goToPreset(const std::string& name, const Commander& commander,
                                          unsigned int speedPercent)
{
    return transact([&] {
        requireMayMove(commander);
        require(isSpeedOfAWay(speedPercent), CommandStatus::badRequest, kSpeedOfAWay);
        const Preset& preset = knownPreset(name);
        require(_motion.canReach(preset.position), CommandStatus::outOfLimits,
                "preset '" + name + "' is beyond what this camera can reach");
        endTour();
        goTo(preset, commander, speedPercent / 100.0);
    });
}

CommandResult PositioningUnit::moveTo(const Position& position, const Commander& commander, unsigned int speedPercent)
{
    return transact([&] {
        requireMayMove(commander);
        require(isSpeedOfAWay(speedPercent), CommandStatus::badRequest, kSpeedOfAWay);
        require(_motion.canReach(position), CommandStatus::outOfLimits,
                "pan " + std::to_string(position.pan) + ", tilt " + std::to_string(position.tilt) + ", zoom " +
                    std::to_string(position.zoom) + " is beyond what this camera can reach");
        endTour();
        startMove(commander, std::string(), [&] { _motion.goTo(position, speedPercent / 100.0); });
    });
}

CommandResult PositioningUnit::setZoom(unsigned int zoom, const Commander& commander)
{
    return transact([&] {
        requireMayMove(commander);
        require(_motion.canZoomTo(zoom), CommandStatus::outOfLimits,
                "zoom " + std::to_string(zoom) + " is beyond what this lens can do");
        endTour();
        startMove(commander, std::string(), [&] { _motion.zoomTo(zoom); });
    });
}

CommandResult PositioningUnit::drive(const Drive& drive, const Commander& commander)
{
    return transact([&] {
        requireMayMove(commander);
        require(drive.pan || drive.tilt || drive.zoom, CommandStatus::badRequest,
                "a drive needs at least one of pan, tilt and zoom");
        require(speedsAllowed(drive), CommandStatus::badRequest, "a speed is -100 to 100 percent");
        require(!drive.duration || drive.duration->count() > 0, CommandStatus::badRequest,
                "a drive lasts at least one millisecond");
        if (drive.pan.value_or(0) != 0 || drive.tilt.value_or(0) != 0 || drive.zoom.value_or(0) != 0) {
            endTour();
            startMove(commander, std::string(), [&] { _motion.drive(drive); });
        } else { // some clients stop a camera with speeds of zero
            stopAxes({drive.pan.has_value(), drive.tilt.has_value(), drive.zoom.has_value()}, commander);
        }
    });
}

CommandResult PositioningUnit::stop(const Axes& axes, const Commander& commander)
{
    return transact([&] {
        requireMayMove(commander);
        stopAxes(axes, commander);
    });
}

void PositioningUnit::stopAxes(const Axes& axes, const Commander& commander)
{
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
