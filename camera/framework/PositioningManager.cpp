// The positioning calls of the framework, over the device's positioning unit.
#include "korva/meridan/PositioningManager.h"

#include "camera/base/Current.h"
#include "camera/framework/PositioningAdapter.h"
#include "camera/ptz/PositioningUnit.h"

#include <memory>
#include <optional>

namespace korva::meridan {

namespace {

using camera::framework::PositioningAdapter;

// Null on a fixed camera too: every call below then does nothing.
std::shared_ptr<PositioningAdapter> adapter()
{
    auto current = camera::base::Current<PositioningAdapter>::get();
    return current && current->unit().isAvailable() ? current : nullptr;
}

// Points into the adapter, which lives as long as the pointer.
std::shared_ptr<camera::ptz::PositioningUnit> unit()
{
    const auto current = adapter();
    return current ? std::shared_ptr<camera::ptz::PositioningUnit>(current, &current->unit()) : nullptr;
}

// The user of these commands: the plug-in moves the camera for its engines only.
camera::ptz::Commander engines()
{
    return {"an analytics engine", camera::ptz::kEnginePriority};
}

bool add(PositioningAdapter::Callback callback, void* context)
{
    const auto current = adapter();
    return current && current->add(callback, context);
}

bool remove(PositioningAdapter::Callback callback, void* context)
{
    const auto current = adapter();
    return current && current->remove(callback, context);
}

} // namespace

PositioningManager& PositioningManager::instance()
{
    static PositioningManager& manager = *new PositioningManager;
    return manager;
}

bool PositioningManager::isAvailable() const
{
    return unit() != nullptr;
}

bool PositioningManager::getCurrentPosition(unsigned int& pan, int& tilt, unsigned int& zoom,
                                            unsigned int& angleOfView) const
{
    const auto current = unit();
    if (!current) {
        return false;
    }
    const auto position = current->position();
    pan = position.pan;
    tilt = position.tilt;
    zoom = position.zoom;
    angleOfView = current->optics().angleOfView(position.zoom);
    return true;
}

bool PositioningManager::getAngleOfViewLimits(unsigned int& first, unsigned int& second) const
{
    const auto current = unit();
    if (!current) {
        return false;
    }
    first = current->optics().angleOfView(current->optics().largestZoom);
    second = current->optics().angleOfView(100);
    return true;
}

bool PositioningManager::getFocalLengthLimits(unsigned int& first, unsigned int& second) const
{
    const auto current = unit();
    if (!current) {
        return false;
    }
    first = current->optics().shortestFocalLength;
    second = current->optics().longestFocalLength();
    return true;
}

bool PositioningManager::getSensorDimensions(unsigned int& first, unsigned int& second) const
{
    const auto current = unit();
    if (!current) {
        return false;
    }
    first = current->optics().sensorWidth;
    second = current->optics().sensorHeight;
    return true;
}

bool PositioningManager::startLinearContinuousMovement(bool movePan, int panSpeed, bool moveTilt, int tiltSpeed,
                                                       bool moveZoom, int zoomSpeed)
{
    const auto current = unit();
    if (!current) {
        return false;
    }
    camera::ptz::Drive drive;
    drive.pan = movePan ? std::make_optional(panSpeed) : std::nullopt;
    drive.tilt = moveTilt ? std::make_optional(tiltSpeed) : std::nullopt;
    drive.zoom = moveZoom ? std::make_optional(zoomSpeed) : std::nullopt;
    return current->drive(drive, engines()).ok();
}

bool PositioningManager::stopLinearContinuousMovement(bool stopPan, bool stopTilt, bool stopZoom)
{
    const auto current = unit();
    return current && current->stop({stopPan, stopTilt, stopZoom}, engines());
}

bool PositioningManager::setZoomPosition(unsigned int zoom)
{
    const auto current = unit();
    return current && current->setZoom(zoom, engines());
}

bool PositioningManager::goToPreset(std::string presetName, bool /*flag*/)
{
    const auto current = unit();
    return current && current->goToPreset(presetName, engines());
}

bool PositioningManager::getPresetLocation(std::string presetName, unsigned int& pan, int& tilt,
                                           unsigned int& zoom) const
{
    const auto current = unit();
    const auto preset = current ? current->preset(presetName) : std::nullopt;
    if (!preset) {
        return false;
    }
    pan = preset->position.pan;
    tilt = preset->position.tilt;
    zoom = preset->position.zoom;
    return true;
}

std::string PositioningManager::getActivePreset(bool /*flag*/) const
{
    const auto current = unit();
    return current ? current->activePreset() : std::string();
}

bool PositioningManager::registerMotionStateCallback(MotionStateCallback callback, void* context)
{
    return add(callback, context);
}

bool PositioningManager::registerCommandPriorityCallback(CommandPriorityCallback callback, void* context)
{
    return add(callback, context);
}

bool PositioningManager::registerPresetStateCallback(PresetStateCallback callback, void* context)
{
    return add(callback, context);
}

bool PositioningManager::registerPresetModifiedCallback(PresetModifiedCallback callback, void* context)
{
    return add(callback, context);
}

bool PositioningManager::registerTourStateCallback(TourStateCallback callback, void* context)
{
    return add(callback, context);
}

bool PositioningManager::unregisterMotionStateCallback(MotionStateCallback callback, void* context)
{
    return remove(callback, context);
}

bool PositioningManager::unregisterCommandPriorityCallback(CommandPriorityCallback callback, void* context)
{
    return remove(callback, context);
}

bool PositioningManager::unregisterPresetStateCallback(PresetStateCallback callback, void* context)
{
    return remove(callback, context);
}

bool PositioningManager::unregisterPresetModifiedCallback(PresetModifiedCallback callback, void* context)
{
    return remove(callback, context);
}

bool PositioningManager::unregisterTourStateCallback(TourStateCallback callback, void* context)
{
    return remove(callback, context);
}

} // namespace korva::meridan
