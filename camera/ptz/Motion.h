#pragma once

#include "camera/ptz/Axis.h"
#include "camera/ptz/CameraDescription.h"
#include "camera/ptz/Position.h"

#include <chrono>
#include <optional>

namespace camera::ptz {

/// A camera's time passes in steps of this length.
constexpr std::chrono::milliseconds kStep{5};

/// A movement at a speed, each axis in percent of its greatest, -100 to 100. An axis that is not
/// named keeps what it does while the camera is driven, and brakes otherwise.
struct Drive {
    std::optional<int> pan;
    std::optional<int> tilt;
    std::optional<int> zoom;
    std::optional<std::chrono::milliseconds> duration; ///< without: until it is stopped, at most the description's time
};

struct Axes {
    bool pan = true;
    bool tilt = true;
    bool zoom = true;
};

/// The three axes of a camera and the move that they make. Thread-bound.
class Motion {
public:
    enum class Progress { moving, arrived, stopped };

    /// @param description  Borrowed for the life of this object.
    explicit Motion(const CameraDescription& description);

    Position position() const;
    bool moving() const { return _move.has_value(); }
    bool canReach(const Position& position) const;
    bool canZoomTo(unsigned int zoom) const { return _zoom.placeOf(zoom).has_value(); }

    /// Sets the position; the camera stands. An axis that cannot reach it stands at its nearest end.
    void placeAt(const Position& position);

    // Each of these begins a move, also while another one runs.
    void goTo(const Position& position, double speedPart); ///< the position can be reached
    void zoomTo(unsigned int zoom);                        ///< the lens can do it; pan and tilt brake
    void drive(const Drive& drive);

    /// Brakes these axes of a drive; on the way to a place all of them.
    void stop(const Axes& axes);

    /// One step of a move that runs. After arrived and stopped the camera stands.
    Progress step();

private:
    struct Move {
        bool driven = false;                ///< at a speed, not to a place
        std::chrono::milliseconds limit{0}; ///< it is released when it runs longer
        bool released = false;              ///< it only brakes
        std::chrono::milliseconds elapsed{0};
        std::chrono::milliseconds stable{0}; ///< how long every axis has been in place
    };

    void begin(bool driven, std::chrono::milliseconds limit);
    void release(const Axes& axes);
    bool anyAxisDriven() const { return _pan.driving() || _tilt.driving() || _zoom.driving(); }

    const CameraDescription& _description;
    Axis _pan;
    Axis _tilt;
    Axis _zoom;
    std::optional<Move> _move;
};

} // namespace camera::ptz
