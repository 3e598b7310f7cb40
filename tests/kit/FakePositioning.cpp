#include "korva/meridan/PositioningManager.h"

#include "kit/FakePlatform.h"
#include "kit/Journal.h"

#include <algorithm>

namespace kit {

namespace {

/// Callbacks may unregister themselves, so a copy is walked.
template <typename Registrations, typename... Arguments>
void fireAll(const Registrations& registrations, const Arguments&... arguments)
{
    const Registrations registered = registrations;
    for (const auto& [callback, context] : registered) {
        callback(arguments..., context);
    }
}

template <typename Registrations, typename Callback>
bool add(Registrations& registrations, Callback callback, void* context, const char* name)
{
    platform().reached(name);
    registrations.emplace_back(callback, context);
    journal().add(Part::Positioning, name);
    return true;
}

template <typename Registrations, typename Callback>
bool remove(Registrations& registrations, Callback callback, void* context, const char* name)
{
    platform().reached(name);
    const auto entry = std::find(registrations.begin(), registrations.end(), std::make_pair(callback, context));
    const bool known = entry != registrations.end();
    if (known) {
        registrations.erase(entry);
    }
    journal().add(Part::Positioning, name, known ? "" : " (unknown)");
    return known;
}

bool writePair(bool writes, const unsigned int (&values)[2], unsigned int& first, unsigned int& second)
{
    if (writes) {
        first = values[0];
        second = values[1];
    }
    return writes;
}

} // namespace

void FakePositioning::fireMotionState(bool moving)
{
    fireAll(motionState, moving, 11U, -12, 13U);
}

void FakePositioning::fireCommandPriority(unsigned int priority)
{
    fireAll(commandPriority, true, false, priority);
}

void FakePositioning::firePresetState(int state, const std::string& presetName)
{
    fireAll(presetState, state, presetName, false, std::string("user"));
}

void FakePositioning::firePresetModified(const std::string& presetName, bool created, bool changed, bool removed)
{
    fireAll(presetModified, presetName, created, changed, removed);
}

void FakePositioning::fireTourState(int state, int stopType)
{
    fireAll(tourState, state, std::string("tour"), 3U, stopType);
}

} // namespace kit

namespace korva::meridan {

using kit::journal;
using kit::Part;
using kit::platform;

PositioningManager& PositioningManager::instance()
{
    static PositioningManager manager;
    return manager;
}

bool PositioningManager::isAvailable() const
{
    platform().reached("isAvailable");
    const kit::FakePositioning& unit = platform().positioning;
    if (unit.journalAvailability) {
        journal().add(Part::Positioning, "isAvailable -> ", unit.available);
    }
    return unit.available;
}

bool PositioningManager::getCurrentPosition(unsigned int& pan, int& tilt, unsigned int& zoom,
                                            unsigned int& angleOfView) const
{
    platform().reached("getCurrentPosition");
    const kit::FakePositioning& unit = platform().positioning;
    journal().add(Part::Positioning, "getCurrentPosition -> ", unit.positionKnown);
    if (unit.positionKnown) {
        pan = unit.position.pan;
        tilt = unit.position.tilt;
        zoom = unit.position.zoom;
        angleOfView = unit.angleOfView;
    }
    return unit.positionKnown;
}

bool PositioningManager::getAngleOfViewLimits(unsigned int& first, unsigned int& second) const
{
    journal().add(Part::Positioning, "getAngleOfViewLimits");
    const kit::FakePositioning& unit = platform().positioning;
    return kit::writePair(unit.writesAngleLimits, unit.angleLimits, first, second);
}

bool PositioningManager::getFocalLengthLimits(unsigned int& first, unsigned int& second) const
{
    journal().add(Part::Positioning, "getFocalLengthLimits");
    const kit::FakePositioning& unit = platform().positioning;
    return kit::writePair(unit.writesFocalLimits, unit.focalLimits, first, second);
}

bool PositioningManager::getSensorDimensions(unsigned int& first, unsigned int& second) const
{
    journal().add(Part::Positioning, "getSensorDimensions");
    const kit::FakePositioning& unit = platform().positioning;
    return kit::writePair(unit.writesSensorDimensions, unit.sensorDimensions, first, second);
}

bool PositioningManager::startLinearContinuousMovement(bool movePan, int panSpeed, bool moveTilt, int tiltSpeed,
                                                       bool moveZoom, int zoomSpeed)
{
    const bool result = platform().positioning.startResult;
    journal().add(Part::Positioning, "startMovement ", movePan, " ", panSpeed, " ", moveTilt, " ", tiltSpeed, " ",
                  moveZoom, " ", zoomSpeed, " -> ", result);
    return result;
}

bool PositioningManager::stopLinearContinuousMovement(bool stopPan, bool stopTilt, bool stopZoom)
{
    const bool result = platform().positioning.stopResult;
    journal().add(Part::Positioning, "stopMovement ", stopPan, " ", stopTilt, " ", stopZoom, " -> ", result);
    return result;
}

bool PositioningManager::setZoomPosition(unsigned int zoom)
{
    const bool result = platform().positioning.zoomResult;
    journal().add(Part::Positioning, "setZoomPosition ", zoom, " -> ", result);
    return result;
}

bool PositioningManager::goToPreset(std::string presetName, bool flag)
{
    const bool result = platform().positioning.goToResult;
    journal().add(Part::Positioning, "goToPreset ", presetName, " ", flag, " -> ", result);
    return result;
}

bool PositioningManager::getPresetLocation(std::string presetName, unsigned int& pan, int& tilt,
                                           unsigned int& zoom) const
{
    const auto& presets = platform().positioning.presets;
    const auto preset = presets.find(presetName);
    const bool known = preset != presets.end();
    journal().add(Part::Positioning, "getPresetLocation ", presetName, " -> ", known);
    if (known) {
        pan = preset->second.pan;
        tilt = preset->second.tilt;
        zoom = preset->second.zoom;
    }
    return known;
}

std::string PositioningManager::getActivePreset(bool flag) const
{
    platform().reached("getActivePreset");
    journal().add(Part::Positioning, "getActivePreset ", flag, " -> ", platform().positioning.activePreset);
    return platform().positioning.activePreset;
}

bool PositioningManager::registerMotionStateCallback(MotionStateCallback callback, void* context)
{
    return kit::add(platform().positioning.motionState, callback, context, "registerMotionState");
}

bool PositioningManager::registerCommandPriorityCallback(CommandPriorityCallback callback, void* context)
{
    return kit::add(platform().positioning.commandPriority, callback, context, "registerCommandPriority");
}

bool PositioningManager::registerPresetStateCallback(PresetStateCallback callback, void* context)
{
    return kit::add(platform().positioning.presetState, callback, context, "registerPresetState");
}

bool PositioningManager::registerPresetModifiedCallback(PresetModifiedCallback callback, void* context)
{
    return kit::add(platform().positioning.presetModified, callback, context, "registerPresetModified");
}

bool PositioningManager::registerTourStateCallback(TourStateCallback callback, void* context)
{
    return kit::add(platform().positioning.tourState, callback, context, "registerTourState");
}

bool PositioningManager::unregisterMotionStateCallback(MotionStateCallback callback, void* context)
{
    return kit::remove(platform().positioning.motionState, callback, context, "unregisterMotionState");
}

bool PositioningManager::unregisterCommandPriorityCallback(CommandPriorityCallback callback, void* context)
{
    return kit::remove(platform().positioning.commandPriority, callback, context, "unregisterCommandPriority");
}

bool PositioningManager::unregisterPresetStateCallback(PresetStateCallback callback, void* context)
{
    return kit::remove(platform().positioning.presetState, callback, context, "unregisterPresetState");
}

bool PositioningManager::unregisterPresetModifiedCallback(PresetModifiedCallback callback, void* context)
{
    return kit::remove(platform().positioning.presetModified, callback, context, "unregisterPresetModified");
}

bool PositioningManager::unregisterTourStateCallback(TourStateCallback callback, void* context)
{
    return kit::remove(platform().positioning.tourState, callback, context, "unregisterTourState");
}

} // namespace korva::meridan
