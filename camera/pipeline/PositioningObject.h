#pragma once

#include "camera/bus/Connection.h"
#include "camera/ptz/CommandResult.h"
#include "camera/ptz/PositioningEvent.h"

#include <sdbus-c++/sdbus-c++.h>

#include <functional>
#include <memory>
#include <string>

namespace camera::ptz {
class PositioningUnit;
}

namespace camera::pipeline {

/**
 * The positioning unit on the bus, ravel.positioning: movement, presets and tours as methods, what the unit
 * tells the plug-in as signals. A command that is not done is refused with the unit's own sentence.
 *
 * Commands only set the unit in motion, so they are done on the bus thread.
 */
class PositioningObject {
public:
    /// Takes the bus name last. @throws sdbus::Error. Thread: the bus thread. unit outlives it.
    PositioningObject(const std::shared_ptr<bus::Session>& session, ptz::PositioningUnit& unit);

    /// Sends the signal of an event; what the bus refuses is dropped. Any thread.
    void emit(const ptz::PositioningEvent& event);

private:
    void registerQueries();
    void registerMovement();
    void registerPresets();
    void registerTours();
    void registerSignals();
    template <class... In, class Command>
    void registerCommand(const char* method, std::vector<std::string> inputs, Command command);
    void emitEvent(const ptz::MotionState& event);
    void emitEvent(const ptz::CommandPriority& event);
    void emitEvent(const ptz::PresetStateChange& event);
    void emitEvent(const ptz::PresetModified& event);
    void emitEvent(const ptz::TourStateChange& event);
    template <class... Arguments>
    void send(const char* signal, const Arguments&... arguments);

    ptz::PositioningUnit& _unit;
    std::unique_ptr<sdbus::IObject> _object;
};

} // namespace camera::pipeline
