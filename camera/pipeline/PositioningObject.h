#pragma once

#include "camera/bus/Connection.h"
#include "camera/ptz/CommandResult.h"

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

    // Any thread; what the bus refuses is dropped.
    void emitMotionState(bool moving, unsigned int pan, int tilt, unsigned int zoom);
    void emitCommandPriority(bool panTiltHeld, bool zoomHeld, unsigned int priority);
    void emitPresetState(int state, const std::string& preset, bool byTour, const std::string& user);
    void emitPresetModified(const std::string& preset, bool created, bool changed, bool removed);
    void emitTourState(int state, const std::string& tour, unsigned int stop, int stopType);

private:
    void registerQueries();
    void registerMovement();
    void registerPresets();
    void registerTours();
    void registerSignals();
    template <class... In, class Command>
    void registerCommand(const char* method, std::vector<std::string> inputs, Command command);
    template <class... Arguments>
    void emit(const char* signal, const Arguments&... arguments);

    ptz::PositioningUnit& _unit;
    std::unique_ptr<sdbus::IObject> _object;
};

/// Passes on what a positioning unit tells its callbacks for as long as it lives, to the session that stands.
class PositioningEvents {
public:
    PositioningEvents(ptz::PositioningUnit& unit, std::shared_ptr<bus::Live<PositioningObject>> object);
    ~PositioningEvents();
    PositioningEvents(const PositioningEvents&) = delete;
    PositioningEvents& operator=(const PositioningEvents&) = delete;

private:
    ptz::PositioningUnit& _unit;
    std::shared_ptr<bus::Live<PositioningObject>> _object;
};

} // namespace camera::pipeline
