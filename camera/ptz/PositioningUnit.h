#pragma once

#include "camera/base/Subscribers.h"
#include "camera/ptz/CameraDescription.h"
#include "camera/ptz/CommandResult.h"
#include "camera/ptz/Motion.h"
#include "camera/ptz/Position.h"
#include "camera/ptz/PositioningEvent.h"
#include "camera/ptz/PositioningNames.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace camera::ptz {

/// The tour that runs.
struct TourProgress {
    std::string tour;
    std::size_t stop = 0; ///< index of the stop it is at or on its way to
    std::string preset;   ///< of that stop
    bool dwelling = false;
    bool paused = false;
};

struct PositioningOptions {
    bool movable = false; ///< false: a fixed camera, also when the description says otherwise
    std::vector<Preset> presets;
    CameraDescription description;
};

/**
 * A camera that moves: its position, presets and tours, and who may command it. A fixed camera refuses every command.
 *
 * It reads no clock: time passes only by advance(), which the frame loop calls, or a PositioningDriver.
 *
 * Events are posted; no listener is called from inside a command. Those of one command, and those of one advance(), are
 * one task for the control thread, in order, so that nothing comes between them; it calls the listeners that are
 * subscribed when it runs. docs/positioning-events.md has the order.
 *
 * Every command is answered with a result that says why it was refused; a refused command changes and
 * posts nothing. Thread-safe.
 */
class PositioningUnit {
public:
    /// Stores a document of serialize(). Called without the lock that commands of movement and frames need.
    /// @return one sentence when it could not be stored.
    using Keep = std::function<std::string(const std::string& document)>;

    /// Queues a task for the control thread.
    using Post = std::function<void(std::function<void()>)>;

    PositioningUnit(PositioningOptions options, Post post);

    bool isAvailable() const { return _movable; }
    const CameraDescription& description() const { return _description; }
    const Optics& optics() const { return _description.optics; }
    Position position() const;
    bool moving() const;

    /// The preset that the camera stands at; empty while it moves and elsewhere.
    std::string activePreset() const { return copyOf(_activePreset); }
    std::vector<Preset> presets() const { return copyOf(_presets); }
    std::optional<Preset> preset(const std::string& name) const;
    std::vector<Tour> tours() const { return copyOf(_tours); }
    std::optional<TourProgress> tourProgress() const;

    /// Who holds the camera: moves it, or did so a short time ago.
    std::optional<Commander> holder() const;

    // Movement. Speeds on the way to a place are percent of the axes' greatest ones, 1 to 100.
    CommandResult moveTo(const Position& position, const Commander& commander, unsigned int speedPercent = 100);
    CommandResult setZoom(unsigned int zoom, const Commander& commander);
    CommandResult drive(const Drive& drive, const Commander& commander);
    CommandResult goToPreset(const std::string& name, const Commander& commander, unsigned int speedPercent = 100);

    /// Brakes these axes. Ends a tour; ends a move to a place whichever axis is named. Also done when nothing moves.
    CommandResult stop(const Axes& axes, const Commander& commander);

    // Presets and tours. What is done is stored: a change that cannot be stored is refused and changes nothing. Names
    // have 1 to 128 bytes and no control characters.
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
     * result does not depend on how the time is cut. Negative time counts as none, more than an hour as one hour.
     */
    void advance(std::chrono::nanoseconds elapsed);

    /// Puts the camera at a preset at once and posts nothing: for a camera that is being set up.
    bool placeAt(const std::string& preset);

    /// Posts that the preset that the camera stands at is reached, if it stands at one.
    void announceStanding();

    /// The presets, tours, position and active preset as a JSON document.
    std::string serialize() const;

    /// Reads a document of serialize(). A document that is refused, with a sentence, changes nothing; presets that it
    /// does not name stay. For a camera that is being set up: nothing is posted. Any bytes may be given.
    CommandResult restore(const std::string& document);

    /// The listener is called on the control thread.
    [[nodiscard]] base::Subscription onEvent(std::function<void(const PositioningEvent&)> listener);

    /// How presets and tours are stored, before they change. Set it before the camera is used.
    void keepListsBy(Keep keep) { _keep = std::move(keep); }

    /// Called by advance() when the camera stands somewhere else; it must not wait for a disk.
    void onStanding(std::function<void()> hook) { _standingHook = std::move(hook); }

    /// Calls store with what serialize() yields, while no command changes presets or tours.
    void serializeFor(const std::function<void(const std::string& document)>& store) const;

    /// Posts nothing more from now on.
    void quiesce() { _quiet = true; }

private:
    /// One command, or one advance(): change runs with the lock held. The events that it reports are posted as one
    /// task, with the lock held so that tasks are queued in the order of the changes; what has changed is told
    /// without the lock. A require that fails ends change and is the result.
    CommandResult transact(const std::function<void()>& change);
    CommandResult attempt(const std::function<void()>& change);

    /// A command that changes presets or tours. It is tried first and undone; when the result is stored it is done.
    CommandResult changeLists(const std::function<void()>& change);
    static void require(bool condition, CommandStatus status, const std::string& sentence);

    struct RunningTour {
        Tour tour;
        std::size_t stop = 0;
        bool paused = false;
        bool dwelling = false;
        bool ending = false; ///< its end is reported once the camera stands
        std::chrono::milliseconds dwellLeft{0};
    };

    template <class T>
    T copyOf(const T& member) const
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        return member;
    }

    // All of these need the lock; what requires or reports needs a transaction.
    void report(PositioningEvent event) { _events.push_back(std::move(event)); }
    void reportPresetState(PresetState state, const std::string& preset);
    bool held() const { return _motion.moving() || _tour || _holdLeft.count() > 0; }
    const Preset* findPreset(const std::string& name) const { return findNamed(_presets, name); }
    const Preset& knownPreset(const std::string& name) const;
    const Tour& knownTour(const std::string& name) const;
    void requireMovable() const;
    void requireMayMove(const Commander& commander) const;
    void requireName(const std::string& name) const;
    void requireStandingTour(const std::string& name) const;
    void requireRunningTour(const Commander& commander) const;
    void storePreset(const Preset& preset);
    template <class Start>
    void startMove(const Commander& commander, const std::string& preset, const Start& start);
    void goTo(const Preset& preset, const Commander& commander, double speedPart);
    void stopAxes(const Axes& axes, const Commander& commander);
    void hold(const Commander& commander);
    void endTour();
    void goToStop(std::size_t first);
    void step();
    void stepTour();
    void finishMove(bool arrived);

    const bool _movable;
    const CameraDescription _description;
    const Post _post;
    Keep _keep;
    std::function<void()> _standingHook;
    mutable std::mutex _keepMutex; ///< is taken before _mutex; a later state is never overwritten by an earlier one
    std::atomic<bool> _quiet{false};
    base::Subscribers<PositioningEvent> _subscribers;

    mutable std::mutex _mutex;
    std::vector<Preset> _presets;
    std::vector<Tour> _tours;
    Motion _motion;
    std::string _destination;  ///< the preset whose arrival is reported, while the camera is on its way to one
    std::string _activePreset; ///< the preset that it stands at
    std::optional<RunningTour> _tour;
    Commander _holder;
    std::chrono::milliseconds _holdLeft{0}; ///< of the hold after a move
    std::chrono::nanoseconds _remainder{0}; ///< of the time, less than a step

    // Of the transaction that runs.
    std::vector<PositioningEvent> _events;
    bool _standingChanged = false;
};

} // namespace camera::ptz
