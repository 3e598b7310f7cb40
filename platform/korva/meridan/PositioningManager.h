#pragma once

#include <string>

#pragma GCC visibility push(default)

namespace korva::meridan {

/**
 * The camera's positioning unit: where it looks, its optics, movement, presets and tours.
 *
 * Pan, tilt and angles are in thousandths of a degree. Every query works without a positioning
 * unit too; the outputs are then left as they are and the result is false.
 *
 * Thread: queries and commands are thread-safe. Callbacks are posted to the process' control
 * thread, one at a time, never made from inside a call into this class.
 */
class __attribute__((visibility("default"))) PositioningManager {
public:
    using MotionStateCallback = void (*)(bool moving, unsigned int pan, int tilt, unsigned int zoom, void* context);
    using CommandPriorityCallback = void (*)(bool panTiltHeld, bool zoomHeld, unsigned int priority, void* context);
    using PresetStateCallback = void (*)(int state, const std::string& presetName, bool byTour, const std::string& user,
                                         void* context);
    using PresetModifiedCallback = void (*)(const std::string& presetName, bool created, bool changed, bool removed,
                                            void* context);
    using TourStateCallback = void (*)(int tourState, const std::string& tourName, unsigned int stopIndex, int stopType,
                                       void* context);

    /// The process-wide unit.
    static PositioningManager& instance();

    /// Whether this camera can move and report a position.
    bool isAvailable() const;

    bool getCurrentPosition(unsigned int& pan, int& tilt, unsigned int& zoom, unsigned int& angleOfView) const;
    bool getAngleOfViewLimits(unsigned int& first, unsigned int& second) const;
    bool getFocalLengthLimits(unsigned int& first, unsigned int& second) const;
    bool getSensorDimensions(unsigned int& first, unsigned int& second) const;

    /// Starts or changes a movement with constant speed; each axis has a flag (move it) and a speed.
    bool startLinearContinuousMovement(bool movePan, int panSpeed, bool moveTilt, int tiltSpeed, bool moveZoom,
                                       int zoomSpeed);
    bool stopLinearContinuousMovement(bool stopPan, bool stopTilt, bool stopZoom);
    bool setZoomPosition(unsigned int zoom);
    bool goToPreset(std::string presetName, bool flag);
    bool getPresetLocation(std::string presetName, unsigned int& pan, int& tilt, unsigned int& zoom) const;

    /// The name of the preset that the camera stands at, empty when at none.
    std::string getActivePreset(bool flag) const;

    bool registerMotionStateCallback(MotionStateCallback callback, void* context);
    bool registerCommandPriorityCallback(CommandPriorityCallback callback, void* context);
    bool registerPresetStateCallback(PresetStateCallback callback, void* context);
    bool registerPresetModifiedCallback(PresetModifiedCallback callback, void* context);
    bool registerTourStateCallback(TourStateCallback callback, void* context);

    bool unregisterMotionStateCallback(MotionStateCallback callback, void* context);
    bool unregisterCommandPriorityCallback(CommandPriorityCallback callback, void* context);
    bool unregisterPresetStateCallback(PresetStateCallback callback, void* context);
    bool unregisterPresetModifiedCallback(PresetModifiedCallback callback, void* context);
    bool unregisterTourStateCallback(TourStateCallback callback, void* context);

private:
    PositioningManager() = default;
    ~PositioningManager() = default;
    PositioningManager(const PositioningManager&) = delete;
    PositioningManager& operator=(const PositioningManager&) = delete;
};

} // namespace korva::meridan

#pragma GCC visibility pop
