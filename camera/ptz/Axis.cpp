// How an axis moves. It has a wanted speed: on the way to a target the greatest speed that is allowed, or the lower
// speed from which it can still brake before the target; when it is driven the speed that it was given, or the lower
// one from which it can brake before its end. Each step changes the speed towards the wanted one, by at most the
// acceleration, and moves the position by the speed.
#include "camera/ptz/Axis.h"

#include <algorithm>
#include <cmath>

namespace camera::ptz {

namespace {

// Two places that no output can tell apart.
constexpr double kSamePlace = 0.5;

// The speed from which braking still ends within the distance when this step is made at that speed.
double brakingSpeed(double distance, double acceleration, double seconds)
{
    return acceleration * (std::sqrt(seconds * seconds + 2.0 * distance / acceleration) - seconds);
}

} // namespace

Axis::Axis(const AxisDescription& description, double position) : _description(description), _position(0)
{
    place(position);
}

std::optional<double> Axis::placeOf(double position) const
{
    if (_description.endless) {
        return wrapped(position);
    }
    // On an axis that turns but has ends, the same place may have a negative number.
    for (const double candidate : {position, position - _description.fullTurn}) {
        if (candidate >= _description.lowest && candidate <= _description.highest) {
            return candidate;
        }
    }
    return std::nullopt;
}

void Axis::place(double position)
{
    _position = placeOf(position).value_or(std::clamp(position, _description.lowest, _description.highest));
    _speed = 0;
    _driven = 0;
    _target.reset();
}

void Axis::goTo(double place, double speedPart)
{
    _target = place;
    _greatest = _description.greatestSpeed * speedPart;
    _driven = 0;
}

void Axis::drive(double speedPart)
{
    _target.reset();
    _driven = _description.greatestSpeed * speedPart;
}

void Axis::release()
{
    drive(0);
}

double Axis::wrapped(double position) const
{
    const double rest = std::fmod(position, _description.fullTurn);
    return rest < 0 ? rest + _description.fullTurn : rest;
}

double Axis::distance() const
{
    const double straight = *_target - _position;
    return _description.endless ? std::remainder(straight, _description.fullTurn) : straight;
}

double Axis::wantedSpeed(double seconds) const
{
    if (_target) {
        const double way = distance();
        return std::copysign(std::min(_greatest, brakingSpeed(std::abs(way), _description.acceleration, seconds)), way);
    }
    if (_description.endless) {
        return _driven;
    }
    const double way = _driven < 0 ? _position - _description.lowest : _description.highest - _position;
    const double most = brakingSpeed(std::max(way, 0.0), _description.acceleration, seconds);
    return std::copysign(std::min(std::abs(_driven), most), _driven);
}

void Axis::step(double seconds)
{
    const double mostChange = _description.acceleration * seconds;
    _speed += std::clamp(wantedSpeed(seconds) - _speed, -mostChange, mostChange);
    _position += _speed * seconds;
    if (_target && std::abs(distance()) < kSamePlace && std::abs(_speed) <= mostChange) {
        _position = *_target;
        _speed = 0;
    }
    if (_description.endless) {
        _position = wrapped(_position);
    } else if (_position <= _description.lowest || _position >= _description.highest) {
        _position = std::clamp(_position, _description.lowest, _description.highest);
        _speed = 0;
    }
}

bool Axis::settled() const
{
    return _target ? std::abs(distance()) <= _description.tolerance : !driving() && std::abs(_speed) < kSamePlace;
}

bool Axis::driving() const
{
    if (_driven == 0 || _description.endless) {
        return _driven != 0;
    }
    return _driven < 0 ? _position > _description.lowest + kSamePlace : _position < _description.highest - kSamePlace;
}

double Axis::secondsToTarget() const
{
    if (!_target) {
        return 0;
    }
    const double way = std::abs(distance());
    const double ramp = _greatest / _description.acceleration;
    const double turning = 2.0 * std::abs(_speed) / _description.acceleration;
    if (way < ramp * _greatest) {
        return turning + 2.0 * std::sqrt(way / _description.acceleration);
    }
    return turning + way / _greatest + ramp;
}

void Axis::finish()
{
    if (_target) {
        _position = *_target;
    }
    _target.reset();
    _driven = 0;
    _speed = 0;
}

} // namespace camera::ptz
