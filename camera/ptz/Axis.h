#pragma once

#include "camera/ptz/CameraDescription.h"

#include <optional>

namespace camera::ptz {

/**
 * One axis of a camera: a position that follows a target or keeps a speed, neither faster nor with more acceleration
 * than its description allows. Units are the description's. Reentrant.
 */
class Axis {
public:
    Axis(const AxisDescription& description, double position);

    double position() const { return _position; }
    double speed() const { return _speed; }

    /// The place that this position means on this axis, or nothing when it is beyond its ends.
    std::optional<double> placeOf(double position) const;

    /// Sets the position; the axis stands.
    void place(double position);

    /// Moves to a place, on an endless axis by the shorter way, with at most this part of the greatest speed.
    void goTo(double place, double speedPart);

    /// Keeps a speed, a part of the greatest from -1 to 1, until the end of the axis.
    void drive(double speedPart);

    /// Brakes.
    void release();

    void step(double seconds);

    /// In place within the tolerance, or standing when there is no target.
    bool settled() const;

    /// Whether it is being driven and can still move that way.
    bool driving() const;

    /// How long it needs from standing here to the target at the given speed; 0 without a target.
    double secondsToTarget() const;

    /// Ends exactly on the target, if there is one, and stands.
    void finish();

private:
    double wrapped(double position) const;
    double wantedSpeed(double seconds) const;
    double distance() const;

    AxisDescription _description;
    double _position;
    double _speed = 0;
    std::optional<double> _target;
    double _greatest = 0; ///< speed allowed on the way to the target
    double _driven = 0;   ///< speed kept without a target
};

} // namespace camera::ptz
