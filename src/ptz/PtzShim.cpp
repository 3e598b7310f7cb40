#include "ptz/PtzShim.h"

#include "korva/meridan/PositioningManager.h"
#include "ptz/SaturatingCast.h"

#include <cmath>
#include <cstdint>

namespace korva::meridan {

namespace {

// Thousandths of a degree to radians, halved: pi / (2 * 180 * 1000).
double halfAngleRadians(unsigned int angleOfView)
{
    return static_cast<double>(static_cast<float>(angleOfView)) * 3.141592653589793 / 360000.0;
}

} // namespace

PtzShim::PtzShim() : _valid(PositioningManager::instance().isAvailable())
{
}

bool PtzShim::IsValid() const
{
    return _valid;
}

bool PtzShim::StartMovement(bool movePan, int panSpeed, bool moveTilt, int tiltSpeed, bool moveZoom, int zoomSpeed)
{
    return _valid && PositioningManager::instance().startLinearContinuousMovement(movePan, panSpeed, moveTilt,
                                                                                  tiltSpeed, moveZoom, zoomSpeed);
}

bool PtzShim::CancelMovement(bool stopPan, bool stopTilt, bool stopZoom)
{
    return _valid && PositioningManager::instance().stopLinearContinuousMovement(stopPan, stopTilt, stopZoom);
}

bool PtzShim::SetZoomPosition(unsigned int zoom)
{
    return _valid && PositioningManager::instance().setZoomPosition(zoom);
}

void PtzShim::GoToPreset(std::string preset, bool flag)
{
    if (_valid) {
        PositioningManager::instance().goToPreset(preset, flag);
    }
}

void PtzShim::GetPtzCameraInfo(unsigned int& sensorWidth, unsigned int& sensorHeight, unsigned int& angleOfView,
                               unsigned int& focalLengthFirst, unsigned int& focalLengthSecond)
{
    if (!_valid) {
        return;
    }
    PositioningManager& positioning = PositioningManager::instance();
    unsigned int firstLimit = 0;
    positioning.getAngleOfViewLimits(firstLimit, angleOfView);
    positioning.getFocalLengthLimits(focalLengthFirst, focalLengthSecond);
    unsigned int sensorFirst = 0;
    unsigned int sensorSecond = 0;
    positioning.getSensorDimensions(sensorFirst, sensorSecond);

    const double half = static_cast<double>(focalLengthFirst) * std::tan(halfAngleRadians(angleOfView));
    const std::uint32_t width = toUnsigned(half + half);
    // The second dimension plays no part; engines are tuned to what this yields.
    const std::uint32_t height = sensorFirst == 0 ? 0 : width * sensorFirst / sensorFirst;
    sensorWidth = width;
    sensorHeight = height;
}

void PtzShim::GetPresetLocation(std::string preset, unsigned int& pan, int& tilt, unsigned int& zoom)
{
    if (_valid) {
        PositioningManager::instance().getPresetLocation(preset, pan, tilt, zoom);
    }
}

} // namespace korva::meridan
