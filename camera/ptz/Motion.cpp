// How a camera moves. A command gives each axis a target or a speed; every step of time moves each axis a little, as
// fast as its acceleration and its greatest speed allow (Axis). A move to a place ends when all axes have been
// within the tolerance of their targets for the description's stable time: it has arrived. It is released, which means
// that all axes brake, when it is stopped or when it takes longer than its way should. A drive at a speed is
// released when it is stopped, when its time is over and at the ends of its axes. A released move ends when all axes
// have stood for the stable time: it was stopped. A command during a move replaces the targets and starts a new
// count of time; the axes keep their present speeds, so nothing jumps.
#include "camera/ptz/Motion.h"

#include <algorithm>
#include <cmath>

namespace camera::ptz {

namespace {

constexpr double kStepSeconds = std::chrono::duration<double>(kStep).count();
constexpr long kFullTurn = 360000;

} // namespace

Motion::Motion(const CameraDescription& description)
    : _description(description),
      _pan(description.pan, 0),
      _tilt(description.tilt, 0),
      _zoom(description.zoom, description.zoom.lowest)
{
}

Position Motion::position() const
{
    Position result;
    result.pan = static_cast<unsigned int>((std::lround(_pan.position()) % kFullTurn + kFullTurn) % kFullTurn);
    result.tilt = static_cast<int>(std::lround(_tilt.position()));
    result.zoom = static_cast<unsigned int>(std::lround(_zoom.position()));
    return result;
}

bool Motion::canReach(const Position& position) const
{
    return position.pan < kFullTurn && _pan.placeOf(position.pan) && _tilt.placeOf(position.tilt) &&
           canZoomTo(position.zoom);
}

void Motion::placeAt(const Position& position)
{
    _pan.place(position.pan);
    _tilt.place(position.tilt);
    _zoom.place(position.zoom);
    _move.reset();
}

void Motion::goTo(const Position& position, double speedPart)
{
    _pan.goTo(_pan.placeOf(position.pan).value(), speedPart);
    _tilt.goTo(_tilt.placeOf(position.tilt).value(), speedPart);
    _zoom.goTo(_zoom.placeOf(position.zoom).value(), speedPart);
    begin(false, _description.arrivalMargin);
}

void Motion::zoomTo(unsigned int zoom)
{
    release({true, true, false});
    _zoom.goTo(zoom, 1.0);
    begin(false, _description.arrivalMargin);
}

void Motion::drive(const Drive& drive)
{
    const bool alreadyDriven = _move && _move->driven && !_move->released;
    const auto set = [alreadyDriven](Axis& axis, const std::optional<int>& percent) {
        if (percent) {
            axis.drive(*percent / 100.0);
        } else if (!alreadyDriven) {
            axis.release();
        }
    };
    set(_pan, drive.pan);
    set(_tilt, drive.tilt);
    set(_zoom, drive.zoom);
    begin(true, std::min(drive.duration.value_or(_description.driveFor), _description.driveFor));
}

// The limit of a move to a place is its margin and the time that the way should take.
void Motion::begin(bool driven, std::chrono::milliseconds limit)
{
    const double seconds = std::max({_pan.secondsToTarget(), _tilt.secondsToTarget(), _zoom.secondsToTarget()});
    _move = Move();
    _move->driven = driven;
    _move->limit = limit + std::chrono::milliseconds(std::lround(std::ceil(seconds * 1000)));
}

void Motion::stop(const Axes& axes)
{
    if (_move) {
        const bool driven = _move->driven && !_move->released;
        release(driven ? axes : Axes());
        if (!driven || !anyAxisDriven()) {
            release(Axes());
            _move->released = true;
        }
    }
}

void Motion::release(const Axes& axes)
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

Motion::Progress Motion::step()
{
    _move->elapsed += kStep;
    for (Axis* axis : {&_pan, &_tilt, &_zoom}) {
        axis->step(kStepSeconds);
    }
    const bool atItsEnds = _move->driven && !anyAxisDriven();
    const bool overdue = _move->elapsed >= _move->limit && _move->stable.count() == 0;
    if (!_move->released && (atItsEnds || overdue)) {
        release(Axes());
        _move->released = true;
    }
    const bool settled = _pan.settled() && _tilt.settled() && _zoom.settled();
    _move->stable = settled ? _move->stable + kStep : std::chrono::milliseconds(0);
    if (_move->stable < _description.stableFor) {
        return Progress::moving;
    }
    for (Axis* axis : {&_pan, &_tilt, &_zoom}) {
        axis->finish();
    }
    const bool arrived = !_move->released;
    _move.reset();
    return arrived ? Progress::arrived : Progress::stopped;
}

} // namespace camera::ptz
