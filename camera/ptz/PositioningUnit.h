#pragma once

#include "camera/ptz/Axis.h"
#include "camera/ptz/CallbackList.h"
#include "camera/ptz/CameraDescription.h"
#include "camera/ptz/CommandResult.h"
#include "camera/ptz/Position.h"

#include "korva/meridan/PositioningManager.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace camera::ptz {

/// A movement at a speed, each axis in percent of its greatest, -100 to 100. An axis that is not
/// named keeps what it does while the camera is driven, and brakes otherwise.
struct Drive {
    std::optional<int> pan;
    std::optional<int> tilt;
    std::optional<int> zoom;
    std::optional<std::chrono::milliseconds> duration; ///< without: until it is stopped, at most the description's time
};

struct Axes {
    bool pan = true;
    bool tilt = true;
    bool zoom = true;
};

/// The tour that runs.
struct TourProgress {
    std::string tour;
    std::size_t stop = 0; ///< index of the stop it is at or on its way to
    std::string preset;   ///< of that stop
    bool dwelling = false;
    bool paused = false;
};

/**
 * The positioning unit behind korva::meridan::PositioningManager: a fixed camera, or a PTZ camera
 * whose axes move with real speeds.
 *
 * It reads no clock: advance() is the only thing that lets time pass. Whoever composes a camera calls
 * it, from the frame loop or with a PositioningDriver.
 *
 * Callbacks are posted, never made from inside a call. The events of one command, and those of one
 * step of time, are one task for the control thread, in order, so that nothing comes between them;
 * it calls whoever is registered at that moment. docs/positioning-events.md has the order.
 *
 * Every command is answered with a result that says why it was refused; a refused command changes and
 * posts nothing. Thread-safe.
 */
class PositioningUnit {
public:
    struct Options {
        bool movable = false; ///< false: a fixed camera, whatever the description says
        std::vector<Preset> presets;
        CameraDescription description;
    };

    /// What has changed of the state that serialize() writes.
    enum class Change {
        lists,   ///< presets or tours; reported before the command that did it returns, on its thread
        standing ///< where the camera stands; reported by advance()
    };

    /// Queues a task for the control thread.
    using Post = std::function<void(std::function<void()>)>;

    PositioningUnit(Options options, Post post);

    bool isAvailable() const { return _movable; }
    const CameraDescription& description() const { return _description; }
    const Optics& optics() const { return _description.optics; }
    Position position() const;
    bool moving() const;

    /// The preset that the camera stands at; empty while it moves and elsewhere.
    std::string activePreset() const;
    std::vector<Preset> presets() const;
    std::optional<Preset> preset(const std::string& name) const;
    std::vector<Tour> tours() const;
    std::optional<TourProgress> tourProgress() const;

    /// Who holds the camera: moves it, or did so a short time ago.
    std::optional<Commander> holder() const;

    // Movement.
    CommandResult moveTo(const Position& position, const Commander& commander);
    CommandResult setZoom(unsigned int zoom, const Commander& commander);
    CommandResult drive(const Drive& drive, const Commander& commander);
    CommandResult goToPreset(const std::string& name, const Commander& commander);

    /// Brakes these axes. Ends a tour, and a way to a place whatever axis is named. Done when nothing moves.
    CommandResult stop(const Axes& axes, const Commander& commander);

    // Presets. Names have 1 to 128 bytes and no control characters.
    CommandResult savePreset(const Preset& preset);        ///< adds it, or moves the one of that name
    CommandResult savePresetHere(const std::string& name); ///< at the current position
    CommandResult renamePreset(const std::string& name, const std::string& newName);
    CommandResult removePreset(const std::string& name);

    // Tours. Creating one of a known name replaces it, unless it runs.
    CommandResult createTour(const Tour& tour);
    CommandResult removeTour(const std::string& name);
    CommandResult startTour(const std::string& name, const Commander& commander);
    CommandResult stopTour(const Commander& commander);
    CommandResult pauseTour(const Commander& commander); ///< stays at the next stop that it reaches, or at this one
    CommandResult resumeTour(const Commander& commander);

    /**
     * Lets this much time pass: moves the axes, counts dwell, stability, holds and time-outs. The
     * result does not depend on how the time is cut. Negative time is none, more than an hour is one.
     */
    void advance(std::chrono::nanoseconds elapsed);

    /// Puts the camera at a preset at once and posts nothing: for a camera that is being set up.
    bool placeAt(const std::string& preset);

    /// Posts preset state 2 of the preset that the camera stands at, if it does.
    void announceStanding();

    /// The presets, tours, position and active preset as a JSON document.
    std::string serialize() const;

    /// Takes a document of serialize(): wholly or, with a sentence, not at all; presets that it does not
    /// name stay. For a camera that is being set up: nothing is posted. Any bytes may be given.
    CommandResult restore(const std::string& document);

    /// Called without a lock when the state has changed. Set it before the camera is used.
    void onChange(std::function<void(Change)> hook);

    /// The motors stay where they are, whatever they are told; for tests of what happens then.
    void jam(bool jammed);

    // For tests: each posts one event.
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
    class Batch; // the lock, the events of one command, and what has changed

    enum class Purpose { none, preset, place, drive };

    /// The move that runs. A released one only brakes.
    struct Move {
        Purpose purpose = Purpose::none;
        std::string preset; ///< whose arrival is reported
        bool released = false;
        std::int64_t steps = 0;       ///< how long it runs
        std::int64_t stableSteps = 0; ///< how long it has been in place
        std::int64_t lastStep = 0;    ///< it is released then
    };

    struct RunningTour {
        Tour tour;
        std::size_t stop = 0;
        bool paused = false;
        bool dwelling = false;
        bool ending = false; ///< its end is reported once the camera stands
        std::int64_t dwellLeft = 0;
    };

    // All of these need the lock; those with a batch add events to it.
    Position here() const;
    std::vector<Preset>::iterator find(const std::string& name);
    std::vector<Tour>::iterator findTour(const std::string& name);
    CommandResult refusal(const Commander& commander) const;
    CommandResult nameRefusal(const std::string& name) const;
    CommandResult tourRefusal(const Commander& commander) const;
    CommandResult keep(Batch& batch, const Preset& preset);
    std::optional<Position> checked(const Position& position) const;
    void takeOver(Batch& batch, const Commander& commander);
    void leave(Batch& batch, const std::string& headingFor);
    void setOut(Batch& batch, Purpose purpose, const std::string& preset, std::int64_t mostSteps);
    void head(Batch& batch, const Position& position, const std::string& preset, double speedPart);
    void go(Batch& batch, const Preset& preset, const Commander& commander, double speedPart);
    void release(const Axes& axes);
    void endTour(Batch& batch);
    void nextStop(Batch& batch, bool first);
    void step(Batch& batch);
    void stepMove(Batch& batch);
    void stepTour(Batch& batch);
    void finishMove(Batch& batch, bool arrived);
    std::int64_t idleSteps(std::int64_t most) const;

    const bool _movable;
    const CameraDescription _description;
    const Post _post;
    std::function<void(Change)> _hook;

    mutable std::mutex _mutex;
    std::vector<Preset> _presets;
    std::vector<Tour> _tours;
    Axis _pan;
    Axis _tilt;
    Axis _zoom;
    std::string _activePreset;
    Move _move;
    std::optional<RunningTour> _tour;
    Commander _holder;
    std::int64_t _heldSteps = 0; ///< left of the hold after a move
    std::chrono::nanoseconds _remainder{0};
    bool _jammed = false;
    std::atomic<bool> _quiet{false};
};

} // namespace camera::ptz
