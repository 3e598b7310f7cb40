// The tours of a camera. A tour that runs is a copy of the stored one. For each stop it goes to the preset with the
// priority of tours, and when the camera stands it waits for the dwell of the stop, also when the camera did not
// arrive; then it goes on to the next stop whose preset exists and can be reached, and after the last to the first.
// A pause stops the count of the dwell. A command of a user who may move the camera ends the tour at once; when it
// is stopped on its way, its end is reported after the camera stands.
#include "camera/ptz/PositioningNames.h"
#include "camera/ptz/PositioningUnit.h"

#include <algorithm>
#include <utility>

namespace camera::ptz {

namespace {

CommandResult unknownTour(const std::string& name)
{
    return {CommandStatus::unknownTour, "there is no tour '" + name + "'"};
}

CommandResult tourRuns(const std::string& name)
{
    return {CommandStatus::badRequest, "tour '" + name + "' is running: stop it first"};
}

} // namespace

CommandResult PositioningUnit::createTour(const Tour& tour)
{
    const Transaction transaction(*this);
    if (auto refused = nameRefusal(tour.name); !refused) {
        return refused;
    }
    if (const std::string problem = tourProblem(tour); !problem.empty()) {
        return {CommandStatus::badRequest, problem};
    }
    for (const TourStop& stop : tour.stops) {
        if (findPreset(stop.preset) == nullptr) {
            return unknownPreset(stop.preset);
        }
    }
    if (_tour && _tour->tour.name == tour.name) {
        return tourRuns(tour.name);
    }
    if (Tour* found = findNamed(_tours, tour.name)) {
        *found = tour;
    } else if (_tours.size() >= kMostTours) {
        return {CommandStatus::tooMany, "a camera keeps at most " + std::to_string(kMostTours) + " tours"};
    } else {
        _tours.push_back(tour);
    }
    _listsChanged = true;
    return {};
}

CommandResult PositioningUnit::removeTour(const std::string& name)
{
    const Transaction transaction(*this);
    const Tour* found = findNamed(_tours, name);
    if (found == nullptr) {
        return unknownTour(name);
    }
    if (_tour && _tour->tour.name == name) {
        return tourRuns(name);
    }
    _tours.erase(_tours.begin() + (found - _tours.data()));
    _listsChanged = true;
    return {};
}

CommandResult PositioningUnit::startTour(const std::string& name, const Commander& commander)
{
    const Transaction transaction(*this);
    if (auto refused = refusal(commander); !refused) {
        return refused;
    }
    const Tour* found = findNamed(_tours, name);
    if (found == nullptr) {
        return unknownTour(name);
    }
    if (std::none_of(found->stops.begin(), found->stops.end(),
                     [this](const TourStop& stop) { return findPreset(stop.preset) != nullptr; })) {
        return {CommandStatus::unknownPreset, "none of the presets of tour '" + name + "' exists any more"};
    }
    endTour();
    _tour.emplace();
    _tour->tour = *found;
    report(TourStateChange{TourState::running, name, 0});
    goToStop(0);
    return {};
}

CommandResult PositioningUnit::stopTour(const Commander& commander)
{
    const Transaction transaction(*this);
    if (auto refused = tourRefusal(commander); !refused) {
        return refused;
    }
    if (_motion.moving()) {
        _holder = commander;
        _tour->ending = true;
        _motion.stop(Axes());
    } else {
        endTour();
        hold(commander);
    }
    return {};
}

CommandResult PositioningUnit::pauseTour(const Commander& commander)
{
    const Transaction transaction(*this);
    if (auto refused = tourRefusal(commander); !refused) {
        return refused;
    }
    _tour->paused = true;
    return {};
}

CommandResult PositioningUnit::resumeTour(const Commander& commander)
{
    const Transaction transaction(*this);
    if (auto refused = tourRefusal(commander); !refused) {
        return refused;
    }
    if (!_tour->paused) {
        return {CommandStatus::notRunning, "tour '" + _tour->tour.name + "' is not paused"};
    }
    _tour->paused = false;
    return {};
}

// Why this commander may not command the tour that runs, or done.
CommandResult PositioningUnit::tourRefusal(const Commander& commander) const
{
    auto refused = refusal(commander);
    if (refused.ok() && (!_tour || _tour->ending)) {
        return {CommandStatus::notRunning, "no tour is running"};
    }
    return refused;
}

void PositioningUnit::endTour()
{
    if (_tour) {
        report(TourStateChange{TourState::ended, _tour->tour.name, _tour->stop});
        _tour.reset();
    }
}

// To the first stop from this index on, all the way round, whose preset exists and can be reached; without one the
// tour ends.
void PositioningUnit::goToStop(std::size_t first)
{
    const std::size_t count = _tour->tour.stops.size();
    for (std::size_t index = first; index < first + count; ++index) {
        const TourStop& stop = _tour->tour.stops[index % count];
        const Preset* preset = findPreset(stop.preset);
        if (preset != nullptr && _motion.canReach(preset->position)) {
            _tour->stop = index % count;
            _tour->dwelling = false;
            goTo(*preset, {"tour " + _tour->tour.name, kTourPriority}, stop.speedPercent / 100.0);
            return;
        }
    }
    endTour();
}

void PositioningUnit::stepTour()
{
    if (!_tour || _tour->paused) {
        return;
    }
    if (_tour->dwellLeft.count() > 0) {
        _tour->dwellLeft -= kStep;
    } else {
        goToStop(_tour->stop + 1);
    }
}

} // namespace camera::ptz
