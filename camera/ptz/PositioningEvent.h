#pragma once

#include "camera/ptz/Position.h"

#include <cstddef>
#include <string>
#include <variant>

namespace camera::ptz {

// The numbers of the states are those that callbacks of the seam and signals of the bus carry.
enum class PresetState { left = 0, heading = 1, reached = 2 };
enum class TourState { ended = 0, running = 1 };
enum class PresetChange { created, changed, removed };

/// The camera begins to move, or stands again.
struct MotionState {
    bool moving = false;
    Position position;
};

/// A command begins; the priority is its user's.
struct CommandPriority {
    unsigned int priority = 0;
};

struct PresetStateChange {
    PresetState state = PresetState::left;
    std::string preset; ///< empty when a camera that stood at none is moved
    bool byTour = false;
    std::string user; ///< who holds the camera
};

struct PresetModified {
    std::string preset;
    PresetChange change = PresetChange::created;
};

struct TourStateChange {
    TourState state = TourState::ended;
    std::string tour;
    std::size_t stop = 0; ///< index of the stop that it is at or on its way to
};

/// What a camera reports; docs/positioning-events.md has the order.
using PositioningEvent = std::variant<MotionState, CommandPriority, PresetStateChange, PresetModified, TourStateChange>;

} // namespace camera::ptz
