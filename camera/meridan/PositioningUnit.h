#pragma once

#include "camera/meridan/CallbackList.h"

#include "korva/meridan/PositioningManager.h"

#include <atomic>
#include <cstddef>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace camera::meridan {

/// Where a camera looks: thousandths of a degree, magnification in hundredths.
struct Position {
    unsigned int pan = 0;
    int tilt = 0;
    unsigned int zoom = 100;
};

struct Preset {
    std::string name;
    Position position;
};

/// A varifocal lens over a sensor; lengths in micrometres, the widest view at zoom 100.
struct Optics {
    unsigned int shortestFocalLength = 4300;
    unsigned int largestZoom = 3000;
    unsigned int sensorWidth = 5376;
    unsigned int sensorHeight = 3024;

    unsigned int longestFocalLength() const { return shortestFocalLength * (largestZoom / 100); }

    /// The horizontal angle of view at a zoom, in thousandths of a degree.
    unsigned int angleOfView(unsigned int zoom) const;
};

/**
 * The positioning unit behind korva::meridan::PositioningManager: a fixed camera, or a still PTZ
 * camera that jumps from place to place. What it would need time for, movement at a speed, it
 * refuses.
 *
 * Callbacks are posted, never made from inside a call: each event becomes one task for the control
 * thread, which then calls whoever is registered at that moment. Thread-safe.
 */
class PositioningUnit {
public:
    struct Options {
        bool movable = false; ///< false: a fixed camera
        std::vector<Preset> presets;
        Optics optics;
    };

    /// Queues a task for the control thread.
    using Post = std::function<void(std::function<void()>)>;

    PositioningUnit(Options options, Post post);

    bool isAvailable() const { return _movable; }
    const Optics& optics() const { return _optics; }
    Position position() const;
    std::string activePreset() const;
    std::vector<Preset> presets() const;
    std::optional<Preset> preset(const std::string& name) const;

    /// Jumps there and posts the arrival, preset state 2. False for an unknown name or a fixed camera.
    bool goToPreset(const std::string& name);

    /// Turns the lens: posts that the camera left its preset (state 0) when it stood at one, that it
    /// moves and that it stands again. False beyond the lens' range or on a fixed camera.
    bool setZoom(unsigned int zoom);

    /// Adds a preset or moves the one of that name, and posts that it was created or changed.
    bool savePreset(const Preset& preset);

    /// Forgets a preset and posts that it was removed; a camera that stands there stands at none now.
    bool removePreset(const std::string& name);

    // What the seam does not let a still camera do by itself, for tests: each posts one event.
    void postMotion(bool moving);
    void postCommandPriority(unsigned int priority);
    void postPresetState(int state, const std::string& name);
    void postTourState(int tourState, int stopType);

    CallbackList<korva::meridan::PositioningManager::MotionStateCallback> motionCallbacks;
    CallbackList<korva::meridan::PositioningManager::CommandPriorityCallback> priorityCallbacks;
    CallbackList<korva::meridan::PositioningManager::PresetStateCallback> presetStateCallbacks;
    CallbackList<korva::meridan::PositioningManager::PresetModifiedCallback> presetModifiedCallbacks;
    CallbackList<korva::meridan::PositioningManager::TourStateCallback> tourCallbacks;

    std::size_t registrations() const;

    /// Posts nothing more from now on.
    void quiesce();

    /// Forgets every registration; returns how many there were.
    std::size_t discardRegistrations();

private:
    template <class Callback, class Call>
    void announce(const CallbackList<Callback>& list, Call call);
    void announceModified(const std::string& name, bool created, bool changed, bool removed);
    std::vector<Preset>::iterator find(const std::string& name);

    const bool _movable;
    const Optics _optics;
    const Post _post;
    mutable std::mutex _mutex;
    std::vector<Preset> _presets;
    Position _position;
    std::string _activePreset;
    std::atomic<bool> _quiet{false};
};

} // namespace camera::meridan
