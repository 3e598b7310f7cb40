#include "korva/meridan/PositioningManager.h"

#include "host-seam/Journal.h"
#include "host-seam/Platform.h"

#include <algorithm>

namespace host_seam {

namespace {

/// Callbacks may unregister themselves, so a copy is gone through.
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
    return platform().positioning.infoResult;
}

} // namespace

void Positioning::fireMotionState(bool moving)
{
    static constexpr Location kPlaces[kVariants] = {{11, -12, 13}, {0, 0, 0}, {359999, 90000, 4294967295U}};
    const Location& place = kPlaces[variant++ % kVariants];
    fireAll(motionState, moving, place.pan, place.tilt, place.zoom);
}

void Positioning::fireCommandPriority(unsigned int priority)
{
    static constexpr bool kPanTiltHeld[kVariants] = {true, false, false};
    static constexpr bool kZoomHeld[kVariants] = {false, false, true};
    const unsigned int number = variant++ % kVariants;
    fireAll(commandPriority, kPanTiltHeld[number], kZoomHeld[number], priority);
}

void Positioning::firePresetState(int state, const std::string& presetName)
{
    static constexpr const char* kUsers[kVariants] = {"user", "", "tour"};
    const unsigned int number = variant++ % kVariants;
    fireAll(presetState, state, presetName, number != 0, std::string(kUsers[number]));
}

void Positioning::firePresetModified(const std::string& presetName, bool created, bool changed, bool removed)
{
    fireAll(presetModified, presetName, created, changed, removed);
}

void Positioning::fireTourState(int state, int stopType)
{
    static constexpr const char* kTours[kVariants] = {"tour", "", "user"};
    const unsigned int number = variant++ % kVariants;
    fireAll(tourState, state, std::string(kTours[number]), 3U * number, stopType);
}

} // namespace host_seam

namespace korva::meridan {

using host_seam::journal;
using host_seam::Part;
using host_seam::platform;

PositioningManager& PositioningManager::instance()
{
    static PositioningManager manager;
    return manager;
}

bool PositioningManager::isAvailable() const
{
    platform().reached("isAvailable");
    const host_seam::Positioning& unit = platform().positioning;
    if (unit.journalAvailability) {
        journal().add(Part::Positioning, "isAvailable -> ", unit.available);
    }
    return unit.available;
}

bool PositioningManager::getCurrentPosition(unsigned int& pan, int& tilt, unsigned int& zoom,
                                            unsigned int& angleOfView) const
{
    const host_seam::Positioning& unit = platform().positioning;
    if (host_seam::Journal::recording()) {
        platform().reached("getCurrentPosition");
        journal().add(Part::Positioning, "getCurrentPosition -> ", unit.positionKnown);
    }
    if (unit.writesPosition) {
        pan = unit.position.pan;
        tilt = unit.position.tilt;
        zoom = unit.position.zoom;
        angleOfView = unit.angleOfView;
    }
    return unit.positionKnown;
}

bool PositioningManager::getAngleOfViewLimits(unsigned int& first, unsigned int& second) const
{
    platform().reached("getAngleOfViewLimits");
    journal().add(Part::Positioning, "getAngleOfViewLimits");
    const host_seam::Positioning& unit = platform().positioning;
    return host_seam::writePair(unit.writesAngleLimits, unit.angleLimits, first, second);
}

bool PositioningManager::getFocalLengthLimits(unsigned int& first, unsigned int& second) const
{
    platform().reached("getFocalLengthLimits");
    journal().add(Part::Positioning, "getFocalLengthLimits");
    const host_seam::Positioning& unit = platform().positioning;
    return host_seam::writePair(unit.writesFocalLimits, unit.focalLimits, first, second);
}

bool PositioningManager::getSensorDimensions(unsigned int& first, unsigned int& second) const
{
    platform().reached("getSensorDimensions");
    journal().add(Part::Positioning, "getSensorDimensions");
    const host_seam::Positioning& unit = platform().positioning;
    return host_seam::writePair(unit.writesSensorDimensions, unit.sensorDimensions, first, second);
}

bool PositioningManager::startLinearContinuousMovement(bool movePan, int panSpeed, bool moveTilt, int tiltSpeed,
                                                       bool moveZoom, int zoomSpeed)
{
    platform().reached("startMovement");
    const bool result = platform().positioning.startResult;
    journal().add(Part::Positioning, "startMovement ", movePan, " ", panSpeed, " ", moveTilt, " ", tiltSpeed, " ",
                  moveZoom, " ", zoomSpeed, " -> ", result);
    return result;
}

bool PositioningManager::stopLinearContinuousMovement(bool stopPan, bool stopTilt, bool stopZoom)
{
    platform().reached("stopMovement");
    const bool result = platform().positioning.stopResult;
    journal().add(Part::Positioning, "stopMovement ", stopPan, " ", stopTilt, " ", stopZoom, " -> ", result);
    return result;
}

bool PositioningManager::setZoomPosition(unsigned int zoom)
{
    platform().reached("setZoomPosition");
    const bool result = platform().positioning.zoomResult;
    journal().add(Part::Positioning, "setZoomPosition ", zoom, " -> ", result);
    return result;
}

bool PositioningManager::goToPreset(std::string presetName, bool flag)
{
    platform().reached("goToPreset");
    const bool result = platform().positioning.goToResult;
    journal().add(Part::Positioning, "goToPreset ", presetName, " ", flag, " -> ", result);
    return result;
}

bool PositioningManager::getPresetLocation(std::string presetName, unsigned int& pan, int& tilt,
                                           unsigned int& zoom) const
{
    platform().reached("getPresetLocation");
    const auto& presets = platform().positioning.presets;
    const auto preset = presets.find(presetName);
    const bool known = preset != presets.end();
    journal().add(Part::Positioning, "getPresetLocation ", presetName, " -> ", known);
    const host_seam::Positioning::Location location = known ? preset->second : platform().positioning.unknownPreset;
    pan = location.pan;
    tilt = location.tilt;
    zoom = location.zoom;
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
    return host_seam::add(platform().positioning.motionState, callback, context, "registerMotionState");
}

bool PositioningManager::registerCommandPriorityCallback(CommandPriorityCallback callback, void* context)
{
    return host_seam::add(platform().positioning.commandPriority, callback, context, "registerCommandPriority");
}

bool PositioningManager::registerPresetStateCallback(PresetStateCallback callback, void* context)
{
    return host_seam::add(platform().positioning.presetState, callback, context, "registerPresetState");
}

bool PositioningManager::registerPresetModifiedCallback(PresetModifiedCallback callback, void* context)
{
    return host_seam::add(platform().positioning.presetModified, callback, context, "registerPresetModified");
}

bool PositioningManager::registerTourStateCallback(TourStateCallback callback, void* context)
{
    return host_seam::add(platform().positioning.tourState, callback, context, "registerTourState");
}

bool PositioningManager::unregisterMotionStateCallback(MotionStateCallback callback, void* context)
{
    return host_seam::remove(platform().positioning.motionState, callback, context, "unregisterMotionState");
}

bool PositioningManager::unregisterCommandPriorityCallback(CommandPriorityCallback callback, void* context)
{
    return host_seam::remove(platform().positioning.commandPriority, callback, context, "unregisterCommandPriority");
}

bool PositioningManager::unregisterPresetStateCallback(PresetStateCallback callback, void* context)
{
    return host_seam::remove(platform().positioning.presetState, callback, context, "unregisterPresetState");
}

bool PositioningManager::unregisterPresetModifiedCallback(PresetModifiedCallback callback, void* context)
{
    return host_seam::remove(platform().positioning.presetModified, callback, context, "unregisterPresetModified");
}

bool PositioningManager::unregisterTourStateCallback(TourStateCallback callback, void* context)
{
    return host_seam::remove(platform().positioning.tourState, callback, context, "unregisterTourState");
}

} // namespace korva::meridan
