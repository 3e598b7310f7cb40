// Movement: commands that move the camera, and what each step of time does to a move.
#include "camera/ptz/PositioningBatch.h"
#include "camera/ptz/PositioningSteps.h"

#include <algorithm>
#include <cmath>

namespace camera::ptz {

namespace {

constexpr int kLeft = 0;
constexpr int kHeading = 1;
constexpr int kReached = 2;
constexpr int kMostPercent = 100;

bool speedsAllowed(const Drive& drive)
{
    const auto allowed = [](const std::optional<int>& percent) {
        return percent.value_or(0) >= -kMostPercent && percent.value_or(0) <= kMostPercent;
    };
    return allowed(drive.pan) && allowed(drive.tilt) && allowed(drive.zoom);
}

} // namespace

// Why this commander may not move the camera, or done.
CommandResult PositioningUnit::refusal(const Commander& commander) const
{
    if (!_movable) {
        return {CommandStatus::fixedCamera, "this camera is fixed: it cannot move and has no presets"};
    }
    const bool held = _move.purpose != Purpose::none || _tour || _heldSteps > 0;
    if (held && _holder.priority < commander.priority) {
        return {CommandStatus::held, _holder.user + " holds the camera with priority " +
                                         std::to_string(_holder.priority) + ", which is more important than " +
                                         std::to_string(commander.priority)};
    }
    return {};
}

std::optional<Position> PositioningUnit::checked(const Position& position) const
{
    const bool reachable = position.pan < 360000 && _pan.placeOf(position.pan) && _tilt.placeOf(position.tilt) &&
                           _zoom.placeOf(position.zoom);
    return reachable ? std::make_optional(position) : std::nullopt;
}

CommandResult PositioningUnit::goToPreset(const std::string& name, const Commander& commander)
{
    Batch batch(*this);
    if (auto refused = refusal(commander); !refused) {
        return refused;
    }
    const auto found = find(name);
    if (found == _presets.end()) {
        return {CommandStatus::unknownPreset, "there is no preset '" + name + "'"};
    }
    if (!checked(found->position)) {
        return {CommandStatus::outOfLimits, "preset '" + name + "' is beyond what this camera can reach"};
    }
    endTour(batch);
    go(batch, *found, commander, 1.0);
    return {};
}

CommandResult PositioningUnit::moveTo(const Position& position, const Commander& commander)
{
    Batch batch(*this);
    if (auto refused = refusal(commander); !refused) {
        return refused;
    }
    if (!checked(position)) {
        return {CommandStatus::outOfLimits,
                "pan " + std::to_string(position.pan) + ", tilt " + std::to_string(position.tilt) + ", zoom " +
                    std::to_string(position.zoom) + " is beyond what this camera can reach"};
    }
    endTour(batch);
    takeOver(batch, commander);
    leave(batch, std::string());
    head(batch, position, std::string(), 1.0);
    return {};
}

CommandResult PositioningUnit::setZoom(unsigned int zoom, const Commander& commander)
{
    Batch batch(*this);
    if (auto refused = refusal(commander); !refused) {
        return refused;
    }
    if (!_zoom.placeOf(zoom)) {
        return {CommandStatus::outOfLimits, "zoom " + std::to_string(zoom) + " is beyond what this lens can do"};
    }
    endTour(batch);
    takeOver(batch, commander);
    leave(batch, std::string());
    release({true, true, false});
    _zoom.goTo(zoom, 1.0);
    setOut(batch, Purpose::place, std::string(), stepsOf(_description.arrivalMargin));
    return {};
}

CommandResult PositioningUnit::drive(const Drive& drive, const Commander& commander)
{
    {
        Batch batch(*this);
        if (auto refused = refusal(commander); !refused) {
            return refused;
        }
        if (!drive.pan && !drive.tilt && !drive.zoom) {
            return {CommandStatus::badRequest, "a drive needs at least one of pan, tilt and zoom"};
        }
        if (!speedsAllowed(drive)) {
            return {CommandStatus::badRequest, "a speed is -100 to 100 percent"};
        }
        if (drive.duration && *drive.duration <= std::chrono::milliseconds(0)) {
            return {CommandStatus::badRequest, "a drive lasts at least one millisecond"};
        }
        const bool driven = _move.purpose == Purpose::drive && !_move.released;
        const bool moves = drive.pan.value_or(0) != 0 || drive.tilt.value_or(0) != 0 || drive.zoom.value_or(0) != 0;
        if (moves) {
            endTour(batch);
            takeOver(batch, commander);
            leave(batch, std::string());
            release({!driven, !driven, !driven});
            const auto set = [](Axis& axis, const std::optional<int>& percent) {
                if (percent) {
                    axis.drive(static_cast<double>(*percent) / kMostPercent);
                }
            };
            set(_pan, drive.pan);
            set(_tilt, drive.tilt);
            set(_zoom, drive.zoom);
            const auto most = std::min(drive.duration.value_or(_description.driveFor), _description.driveFor);
            setOut(batch, Purpose::drive, std::string(), stepsOf(most));
            return {};
        }
    }
    // Speeds of zero are how some clients say stop.
    return stop({drive.pan.has_value(), drive.tilt.has_value(), drive.zoom.has_value()}, commander);
}

CommandResult PositioningUnit::stop(const Axes& axes, const Commander& commander)
{
    Batch batch(*this);
    if (auto refused = refusal(commander); !refused) {
        return refused;
    }
    const bool stands = _move.purpose == Purpose::none;
    if (_tour && stands) {
        endTour(batch);
        _holder = commander;
        _heldSteps = stepsOf(_description.holdFor);
    }
    if (stands || !(axes.pan || axes.tilt || axes.zoom)) {
        return {};
    }
    _holder = commander;
    if (_tour) {
        _tour->ending = true;
    }
    const bool driven = _move.purpose == Purpose::drive && !_move.released;
    release(driven ? axes : Axes());
    if (!driven || !(_pan.driving() || _tilt.driving() || _zoom.driving())) {
        release(Axes());
        _move.released = true;
        _move.preset.clear();
    }
    return {};
}

void PositioningUnit::release(const Axes& axes)
{
    if (axes.pan) {
        _pan.release();
    }
    if (axes.tilt) {
        _tilt.release();
    }
    if (axes.zoom) {
        _zoom.release();
    }
}

void PositioningUnit::go(Batch& batch, const Preset& preset, const Commander& commander, double speedPart)
{
    takeOver(batch, commander);
    leave(batch, preset.name);
    head(batch, preset.position, preset.name, speedPart);
}

void PositioningUnit::takeOver(Batch& batch, const Commander& commander)
{
    _holder = commander;
    batch.priority(commander.priority);
}

// A camera on its way has left already: state 0 tells an analytics client that it may go on, so it is
// not repeated during a move.
void PositioningUnit::leave(Batch& batch, const std::string& headingFor)
{
    const bool stands = _move.purpose == Purpose::none;
    if (!_activePreset.empty() || (stands && headingFor.empty())) {
        batch.presetState(kLeft, _activePreset);
        _activePreset.clear();
    }
    if (!headingFor.empty()) {
        batch.presetState(kHeading, headingFor);
    }
}

void PositioningUnit::head(Batch& batch, const Position& position, const std::string& preset, double speedPart)
{
    _pan.goTo(_pan.placeOf(position.pan).value(), speedPart);
    _tilt.goTo(_tilt.placeOf(position.tilt).value(), speedPart);
    _zoom.goTo(_zoom.placeOf(position.zoom).value(), speedPart);
    setOut(batch, preset.empty() ? Purpose::place : Purpose::preset, preset, stepsOf(_description.arrivalMargin));
}

void PositioningUnit::setOut(Batch& batch, Purpose purpose, const std::string& preset, std::int64_t mostSteps)
{
    if (_move.purpose == Purpose::none) {
        batch.motion(true);
    }
    const double seconds = std::max({_pan.secondsToTarget(), _tilt.secondsToTarget(), _zoom.secondsToTarget()});
    _move = Move();
    _move.purpose = purpose;
    _move.preset = preset;
    _move.lastStep = mostSteps + static_cast<std::int64_t>(std::ceil(seconds / kStepSeconds));
}

void PositioningUnit::step(Batch& batch)
{
    if (_move.purpose != Purpose::none) {
        stepMove(batch);
    } else {
        _heldSteps -= std::min<std::int64_t>(_heldSteps, 1);
        stepTour(batch);
    }
}

void PositioningUnit::stepMove(Batch& batch)
{
    ++_move.steps;
    for (Axis* axis : {&_pan, &_tilt, &_zoom}) {
        axis->step(kStepSeconds, _jammed);
    }
    const bool driven = _move.purpose == Purpose::drive;
    const bool overdue = _move.steps >= _move.lastStep;
    const bool atItsEnds = driven && !(_pan.driving() || _tilt.driving() || _zoom.driving());
    if (!_move.released && (atItsEnds || (overdue && _move.stableSteps == 0))) {
        release(Axes());
        _move.released = true;
    }
    const bool settled = _pan.settled() && _tilt.settled() && _zoom.settled();
    _move.stableSteps = settled ? _move.stableSteps + 1 : 0;
    if (_move.stableSteps >= stepsOf(_description.stableFor)) {
        finishMove(batch, !_move.released);
    }
}

void PositioningUnit::finishMove(Batch& batch, bool arrived)
{
    for (Axis* axis : {&_pan, &_tilt, &_zoom}) {
        axis->finish();
    }
    if (arrived && !_move.preset.empty()) {
        _activePreset = _move.preset;
        batch.presetState(kReached, _activePreset);
    }
    _move = Move();
    batch.motion(false);
    _heldSteps = stepsOf(_description.holdFor);
    batch.changed(Change::standing);
    if (_tour && _tour->ending) {
        endTour(batch);
    } else if (_tour) {
        _tour->dwelling = true;
        _tour->dwellLeft = stepsOf(_tour->tour.stops[_tour->stop].dwell);
    }
}

} // namespace camera::ptz
