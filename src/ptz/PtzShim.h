#pragma once

#include "plugin/analytics/IAnalyticsPtz.h"

namespace korva::meridan {

/**
 * Lets the engines move the camera through the framework's positioning unit.
 *
 * On a camera that could not move when the shim was made every operation does nothing: outputs keep
 * their values and results are false. Otherwise results and outputs are the positioning unit's own.
 *
 * Final, and always made as a shared handle of this type: the interface has no virtual destructor.
 * Thread: thread-safe; no state changes after construction.
 */
class PtzShim final : public analytics_lib::IAnalyticsPtz {
public:
    PtzShim();

    bool IsValid() const override;
    bool StartMovement(bool movePan, int panSpeed, bool moveTilt, int tiltSpeed, bool moveZoom, int zoomSpeed) override;
    bool CancelMovement(bool stopPan, bool stopTilt, bool stopZoom) override;
    bool SetZoomPosition(unsigned int zoom) override;
    void GoToPreset(std::string preset, bool flag) override;

    /// Sensor width from the pinhole relation 2 f tan(a / 2); sensor height as a ratio of the first
    /// sensor dimension to itself, which is the width again unless that dimension is 0 or the
    /// product leaves 32 bits.
    void GetPtzCameraInfo(unsigned int& sensorWidth, unsigned int& sensorHeight, unsigned int& angleOfView,
                          unsigned int& focalLengthFirst, unsigned int& focalLengthSecond) override;
    void GetPresetLocation(std::string preset, unsigned int& pan, int& tilt, unsigned int& zoom) override;

private:
    const bool _valid;
};

} // namespace korva::meridan
