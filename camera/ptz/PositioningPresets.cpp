// Presets and tours: the lists, and the tour that runs.
#include "camera/ptz/PositioningBatch.h"
#include "camera/ptz/PositioningNames.h"
#include "camera/ptz/PositioningSteps.h"

#include <algorithm>
#include <utility>

namespace camera::ptz {

namespace {

constexpr int kLeft = 0;
constexpr int kReached = 2;
constexpr int kTourEnded = 0;
constexpr int kTourRuns = 1;

CommandResult unknownPreset(const std::string& name)
{
    return {CommandStatus::unknownPreset, "there is no preset '" + name + "'"};
}

CommandResult unknownTour(const std::string& name)
{
    return {CommandStatus::unknownTour, "there is no tour '" + name + "'"};
}

void renameStops(Tour& tour, const std::string& name, const std::string& newName)
{
    for (TourStop& stop : tour.stops) {
        if (stop.preset == name) {
            stop.preset = newName;
        }
    }
}

} // namespace

std::vector<Preset>::iterator PositioningUnit::find(const std::string& name)
{
    return std::find_if(_presets.begin(), _presets.end(), [&](const Preset& entry) { return entry.name == name; });
}

std::vector<Tour>::iterator PositioningUnit::findTour(const std::string& name)
{
    return std::find_if(_tours.begin(), _tours.end(), [&](const Tour& entry) { return entry.name == name; });
}

// Why a new thing may not be called that, or done.
CommandResult PositioningUnit::nameRefusal(const std::string& name) const
{
    if (!_movable) {
        return {CommandStatus::fixedCamera, "this camera is fixed: it cannot move and has no presets"};
    }
    const std::string problem = nameProblem(name);
    return problem.empty() ? CommandResult() : CommandResult{CommandStatus::badName, problem};
}

CommandResult PositioningUnit::savePreset(const Preset& preset)
{
    Batch batch(*this);
    if (auto refused = nameRefusal(preset.name); !refused) {
        return refused;
    }
    if (!checked(preset.position)) {
        return {CommandStatus::outOfLimits,
                "the place of preset '" + preset.name + "' is beyond what this camera can reach"};
    }
    return keep(batch, preset);
}

CommandResult PositioningUnit::savePresetHere(const std::string& name)
{
    Batch batch(*this);
    if (auto refused = nameRefusal(name); !refused) {
        return refused;
    }
    return keep(batch, {name, here()});
}

CommandResult PositioningUnit::keep(Batch& batch, const Preset& preset)
{
    const auto found = find(preset.name);
    const bool created = found == _presets.end();
    if (created && _presets.size() >= kMostPresets) {
        return {CommandStatus::tooMany, "a camera keeps at most " + std::to_string(kMostPresets) + " presets"};
    }
    created ? _presets.push_back(preset) : void(found->position = preset.position);
    batch.presetModified(preset.name, created, !created, false);
    batch.changed(Change::lists);
    return {};
}

CommandResult PositioningUnit::renamePreset(const std::string& name, const std::string& newName)
{
    Batch batch(*this);
    if (auto refused = nameRefusal(newName); !refused) {
        return refused;
    }
    const auto found = find(name);
    if (found == _presets.end()) {
        return unknownPreset(name);
    }
    if (find(newName) != _presets.end()) {
        return {CommandStatus::nameTaken, "there is a preset '" + newName + "' already"};
    }
    const std::string old = name; // the caller's text may be the list's own
    found->name = newName;
    for (Tour& tour : _tours) {
        renameStops(tour, old, newName);
    }
    if (_tour) {
        renameStops(_tour->tour, old, newName);
    }
    batch.presetModified(newName, true, false, false);
    batch.presetModified(old, false, false, true);
    if (_move.preset == old) {
        _move.preset = newName;
    }
    if (_activePreset == old) {
        _activePreset = newName;
        batch.presetState(kReached, newName);
    }
    batch.changed(Change::lists);
    return {};
}

CommandResult PositioningUnit::removePreset(const std::string& name)
{
    Batch batch(*this);
    if (!_movable) {
        return nameRefusal(name);
    }
    const auto found = find(name);
    if (found == _presets.end()) {
        return unknownPreset(name);
    }
    _presets.erase(found);
    batch.presetModified(name, false, false, true);
    if (_move.preset == name) {
        _move.preset.clear(); // it goes on to the place, which has no name any more
    }
    if (_activePreset == name) {
        _activePreset.clear();
        batch.presetState(kLeft, name);
    }
    batch.changed(Change::lists);
    return {};
}

CommandResult PositioningUnit::createTour(const Tour& tour)
{
    Batch batch(*this);
    if (auto refused = nameRefusal(tour.name); !refused) {
        return refused;
    }
    if (const std::string problem = tourProblem(tour); !problem.empty()) {
        return {CommandStatus::badRequest, problem};
    }
    for (const TourStop& stop : tour.stops) {
        if (find(stop.preset) == _presets.end()) {
            return unknownPreset(stop.preset);
        }
    }
    if (_tour && _tour->tour.name == tour.name) {
        return {CommandStatus::badRequest, "tour '" + tour.name + "' is running: stop it first"};
    }
    const auto found = findTour(tour.name);
    if (found == _tours.end() && _tours.size() >= kMostTours) {
        return {CommandStatus::tooMany, "a camera keeps at most " + std::to_string(kMostTours) + " tours"};
    }
    found == _tours.end() ? _tours.push_back(tour) : void(*found = tour);
    batch.changed(Change::lists);
    return {};
}

CommandResult PositioningUnit::removeTour(const std::string& name)
{
    Batch batch(*this);
    const auto found = findTour(name);
    if (found == _tours.end()) {
        return unknownTour(name);
    }
    if (_tour && _tour->tour.name == name) {
        return {CommandStatus::badRequest, "tour '" + name + "' is running: stop it first"};
    }
    _tours.erase(found);
    batch.changed(Change::lists);
    return {};
}

CommandResult PositioningUnit::startTour(const std::string& name, const Commander& commander)
{
    Batch batch(*this);
    if (auto refused = refusal(commander); !refused) {
        return refused;
    }
    const auto found = findTour(name);
    if (found == _tours.end()) {
        return unknownTour(name);
    }
    if (std::none_of(found->stops.begin(), found->stops.end(),
                     [this](const TourStop& stop) { return find(stop.preset) != _presets.end(); })) {
        return {CommandStatus::unknownPreset, "none of the presets of tour '" + name + "' exists any more"};
    }
    endTour(batch);
    RunningTour running;
    running.tour = *found;
    _tour = std::move(running);
    batch.tourState(kTourRuns, name, 0, 0);
    nextStop(batch, true);
    return {};
}

CommandResult PositioningUnit::stopTour(const Commander& commander)
{
    Batch batch(*this);
    if (auto refused = tourRefusal(commander); !refused) {
        return refused;
    }
    _holder = commander;
    if (_move.purpose == Purpose::none) {
        endTour(batch);
        _heldSteps = stepsOf(_description.holdFor);
    } else {
        _tour->ending = true;
        _move.released = true;
        _move.preset.clear();
        release(Axes());
    }
    return {};
}

CommandResult PositioningUnit::pauseTour(const Commander& commander)
{
    Batch batch(*this);
    if (auto refused = tourRefusal(commander); !refused) {
        return refused;
    }
    _tour->paused = true;
    return {};
}

CommandResult PositioningUnit::resumeTour(const Commander& commander)
{
    Batch batch(*this);
    if (auto refused = tourRefusal(commander); !refused) {
        return refused;
    }
    if (!_tour->paused) {
        return {CommandStatus::notRunning, "tour '" + _tour->tour.name + "' is not paused"};
    }
    _tour->paused = false;
    return {};
}

// Why this commander may not touch the running tour, or done.
CommandResult PositioningUnit::tourRefusal(const Commander& commander) const
{
    auto refused = refusal(commander);
    if (refused.ok() && (!_tour || _tour->ending)) {
        return {CommandStatus::notRunning, "no tour is running"};
    }
    return refused;
}

void PositioningUnit::endTour(Batch& batch)
{
    if (_tour) {
        batch.tourState(kTourEnded, _tour->tour.name, _tour->stop, 0);
        _tour.reset();
    }
}

// To the next stop whose preset exists and can be reached; without one the tour is over.
void PositioningUnit::nextStop(Batch& batch, bool first)
{
    const std::size_t count = _tour->tour.stops.size();
    const std::size_t start = first ? 0 : _tour->stop + 1;
    for (std::size_t index = 0; index < count; ++index) {
        const TourStop& stop = _tour->tour.stops[(start + index) % count];
        const auto found = find(stop.preset);
        if (found != _presets.end() && checked(found->position)) {
            _tour->stop = (start + index) % count;
            _tour->dwelling = false;
            go(batch, *found, {"tour " + _tour->tour.name, kTourPriority}, stop.speedPercent / 100.0);
            return;
        }
    }
    endTour(batch);
}

void PositioningUnit::stepTour(Batch& batch)
{
    if (!_tour || _tour->paused) {
        return;
    }
    if (_tour->dwellLeft > 0) {
        --_tour->dwellLeft;
    } else {
        nextStop(batch, false);
    }
}

} // namespace camera::ptz
