// How a camera is commanded and what it reports. Every command is one transaction: first come the requirements, of
// which one that fails is the command's refusal, then it changes the state and collects events in the order in which
// the plug-in needs them, and at its end these events are posted as one task. advance() is a transaction too: it cuts
// the time into steps of 5 ms. A step moves the axes while a move runs (Motion.cpp); otherwise it counts down the hold
// and the dwell of a tour. PositioningMovement.cpp, PositioningPresets.cpp and PositioningTours.cpp have the commands;
// this file has the rest: what can be asked, how time passes, and what is stored.
#include "camera/ptz/PositioningUnit.h"

#include "camera/ptz/PositioningDocument.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace camera::ptz {

namespace {

// Ends a transaction before it has changed anything.
struct Refused {
    CommandResult result;
};

} // namespace

PositioningUnit::PositioningUnit(PositioningOptions options, Post post)
    : _movable(options.movable && options.description.movable),
      _description(std::move(options.description)),
      _post(std::move(post)),
      _presets(std::move(options.presets)),
      _motion(_description)
{
}

CommandResult PositioningUnit::attempt(const std::function<void()>& change)
{
    try {
        change();
    } catch (const Refused& refused) {
        return refused.result;
    }
    return {};
}

CommandResult PositioningUnit::transact(const std::function<void()>& change)
{
    std::unique_lock<std::mutex> lock(_mutex);
    CommandResult result = attempt(change);
    const auto events = std::exchange(_events, {});
    const bool standingChanged = std::exchange(_standingChanged, false);
    if (!events.empty() && !_quiet) {
        _post([subscribers = _subscribers, events] { subscribers.tell(events); });
    }
    lock.unlock();
    if (_standingHook && standingChanged) {
        _standingHook();
    }
    return result;
}

CommandResult PositioningUnit::changeLists(const std::function<void()>& change)
{
    const std::lock_guard<std::mutex> oneAtATime(_keepMutex);
    if (!_keep) {
        return transact(change);
    }
    PositioningState changed;
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        auto before = std::make_tuple(_presets, _tours, _tour, _destination, _activePreset);
        const CommandResult tried = attempt(change);
        changed = {_motion.position(), _activePreset, _presets, _tours};
        std::tie(_presets, _tours, _tour, _destination, _activePreset) = std::move(before);
        _events.clear();
        if (!tried) {
            return tried;
        }
    }
    if (const std::string problem = _keep(writePositioning(changed)); !problem.empty()) {
        return {CommandStatus::notStored, problem};
    }
    CommandResult result = transact(change);
    if (!result) { // a tour was started meanwhile
        _keep(serialize());
    }
    return result;
}

void PositioningUnit::serializeFor(const std::function<void(const std::string& document)>& store) const
{
    const std::lock_guard<std::mutex> oneAtATime(_keepMutex);
    store(serialize());
}

void PositioningUnit::require(bool condition, CommandStatus status, const std::string& sentence)
{
    if (!condition) {
        throw Refused{{status, sentence}};
    }
}

Position PositioningUnit::position() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _motion.position();
}

bool PositioningUnit::moving() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _motion.moving();
}

std::optional<Preset> PositioningUnit::preset(const std::string& name) const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    const Preset* found = findPreset(name);
    return found == nullptr ? std::nullopt : std::make_optional(*found);
}

std::optional<TourProgress> PositioningUnit::tourProgress() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    if (!_tour || _tour->ending) {
        return std::nullopt;
    }
    return TourProgress{_tour->tour.name, _tour->stop, _tour->tour.stops[_tour->stop].preset, _tour->dwelling,
                        _tour->paused};
}

std::optional<Commander> PositioningUnit::holder() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return held() ? std::make_optional(_holder) : std::nullopt;
}

base::Subscription PositioningUnit::onEvent(std::function<void(const PositioningEvent&)> listener)
{
    return _subscribers.add(std::move(listener));
}

void PositioningUnit::advance(std::chrono::nanoseconds elapsed)
{
    if (!_movable) {
        return;
    }
    transact([&] {
        _remainder += std::clamp<std::chrono::nanoseconds>(elapsed, std::chrono::nanoseconds(0), std::chrono::hours(1));
        for (; _remainder >= kStep; _remainder -= kStep) {
            step();
        }
    });
}

void PositioningUnit::step()
{
    if (_motion.moving()) {
        const Motion::Progress progress = _motion.step();
        if (progress != Motion::Progress::moving) {
            finishMove(progress == Motion::Progress::arrived);
        }
    } else {
        _holdLeft = std::max(_holdLeft - kStep, std::chrono::milliseconds(0));
        stepTour();
    }
}

bool PositioningUnit::placeAt(const std::string& preset)
{
    return transact([&] {
               requireMovable();
               const Position& position = knownPreset(preset).position;
               require(_motion.canReach(position), CommandStatus::outOfLimits, "it cannot be reached");
               _motion.placeAt(position);
               _activePreset = preset;
           })
        .ok();
}

void PositioningUnit::announceStanding()
{
    transact([this] {
        if (!_activePreset.empty()) {
            reportPresetState(PresetState::reached, _activePreset);
        }
    });
}

std::string PositioningUnit::serialize() const
{
    PositioningState state;
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        state = {_motion.position(), _activePreset, _presets, _tours};
    }
    return writePositioning(state);
}

CommandResult PositioningUnit::restore(const std::string& document)
{
    PositioningState state;
    if (const std::string problem = readPositioning(document, state); !problem.empty()) {
        return {CommandStatus::badDocument, problem};
    }
    return transact([&] {
        requireMovable();
        // The description may have changed since the document was written: what cannot be reached any more is brought
        // to the nearest end.
        const bool reachable = _motion.canReach(state.position);
        _motion.placeAt(state.position);
        _activePreset = reachable ? state.activePreset : std::string();
        std::swap(_presets, state.presets);
        for (Preset& own : state.presets) {
            if (findPreset(own.name) == nullptr) {
                _presets.push_back(std::move(own));
            }
        }
        _tours = std::move(state.tours);
        _tour.reset();
    });
}

} // namespace camera::ptz
