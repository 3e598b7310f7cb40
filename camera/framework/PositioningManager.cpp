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
using camera::ptz::PositioningUnit;

// Null on a fixed camera too: every call below then does nothing.
std::shared_ptr<PositioningAdapter> adapter()
{
    auto current = camera::base::Current<PositioningAdapter>::get();
    return current && current->unit().isAvailable() ? current : nullptr;
}

// What ask() says of the unit; false without one.
template <class Ask>
bool withUnit(const Ask& ask)
{
    const auto current = adapter();
    return current && ask(current->unit());
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
    return adapter() != nullptr;
}

bool PositioningManager::getCurrentPosition(unsigned int& pan, int& tilt, unsigned int& zoom,
                                            unsigned int& angleOfView) const
{
    return withUnit([&](const PositioningUnit& unit) {
        const auto position = unit.position();
        pan = position.pan;
        tilt = position.tilt;
        zoom = position.zoom;
        angleOfView = unit.optics().angleOfView(position.zoom);
        return true;
    });
}

bool PositioningManager::getAngleOfViewLimits(unsigned int& first, unsigned int& second) const
{
    return withUnit([&](const PositioningUnit& unit) {
        first = unit.optics().angleOfView(unit.optics().largestZoom);
        second = unit.optics().angleOfView(100);
        return true;
    });
}

bool PositioningManager::getFocalLengthLimits(unsigned int& first, unsigned int& second) const
{
    return withUnit([&](const PositioningUnit& unit) {
        first = unit.optics().shortestFocalLength;
        second = unit.optics().longestFocalLength();
        return true;
    });
}

bool PositioningManager::getSensorDimensions(unsigned int& first, unsigned int& second) const
{
    return withUnit([&](const PositioningUnit& unit) {
        first = unit.optics().sensorWidth;
        second = unit.optics().sensorHeight;
        return true;
    });
}

bool PositioningManager::startLinearContinuousMovement(bool movePan, int panSpeed, bool moveTilt, int tiltSpeed,
                                                       bool moveZoom, int zoomSpeed)
{
    camera::ptz::Drive drive;
    drive.pan = movePan ? std::make_optional(panSpeed) : std::nullopt;
    drive.tilt = moveTilt ? std::make_optional(tiltSpeed) : std::nullopt;
    drive.zoom = moveZoom ? std::make_optional(zoomSpeed) : std::nullopt;
    return withUnit([&](PositioningUnit& unit) { return unit.drive(drive, engines()).ok(); });
}

bool PositioningManager::stopLinearContinuousMovement(bool stopPan, bool stopTilt, bool stopZoom)
{
    return withUnit([&](PositioningUnit& unit) { return unit.stop({stopPan, stopTilt, stopZoom}, engines()).ok(); });
}

bool PositioningManager::setZoomPosition(unsigned int zoom)
{
    return withUnit([&](PositioningUnit& unit) { return unit.setZoom(zoom, engines()).ok(); });
}

bool PositioningManager::goToPreset(std::string presetName, bool /*flag*/)
{
    return withUnit([&](PositioningUnit& unit) { return unit.goToPreset(presetName, engines()).ok(); });
}

bool PositioningManager::getPresetLocation(std::string presetName, unsigned int& pan, int& tilt,
                                           unsigned int& zoom) const
{
    return withUnit([&](const PositioningUnit& unit) {
        const auto preset = unit.preset(presetName);
        if (preset) {
            pan = preset->position.pan;
            tilt = preset->position.tilt;
            zoom = preset->position.zoom;
        }
        return preset.has_value();
    });
}

std::string PositioningManager::getActivePreset(bool /*flag*/) const
{
    const auto current = adapter();
    return current ? current->unit().activePreset() : std::string();
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
