#pragma once

#include <string>

#pragma GCC visibility push(default)

namespace analytics_lib {

/**
 * How an engine moves the camera and asks about its optics.
 *
 * There is no virtual destructor: it is always held by a shared handle made for its concrete type.
 * Thread: any.
 */
class __attribute__((visibility("default"))) IAnalyticsPtz {
public:
    /// Whether the camera can move; when it cannot, every other operation does nothing.
    virtual bool IsValid() const = 0;

    virtual bool StartMovement(bool movePan, int panSpeed, bool moveTilt, int tiltSpeed, bool moveZoom,
                               int zoomSpeed) = 0;
    virtual bool CancelMovement(bool stopPan, bool stopTilt, bool stopZoom) = 0;
    virtual bool SetZoomPosition(unsigned int zoom) = 0;
    virtual void GoToPreset(std::string preset, bool flag) = 0;

    /// Sizes and focal lengths share one unit; the angle is in thousandths of a degree.
    virtual void GetPtzCameraInfo(unsigned int& sensorWidth, unsigned int& sensorHeight, unsigned int& angleOfView,
                                  unsigned int& focalLengthFirst, unsigned int& focalLengthSecond) = 0;
    virtual void GetPresetLocation(std::string preset, unsigned int& pan, int& tilt, unsigned int& zoom) = 0;

protected:
    IAnalyticsPtz() = default;
    ~IAnalyticsPtz() = default;
};

} // namespace analytics_lib

#pragma GCC visibility pop
