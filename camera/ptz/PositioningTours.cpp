// The tours of a camera. A tour that runs is a copy of the stored one. For each stop it goes to the preset with the
// priority of tours, and when the camera stands it waits for the dwell of the stop, also when the camera did not
// arrive; then it goes on to the next stop whose preset exists and can be reached, and after the last to the first.
// A pause stops the count of the dwell. A command of a user who may move the camera ends the tour at once; when it
// is stopped on its way, its end is reported after the camera stands.
#include "camera/ptz/PositioningUnit.h"

#include <algorithm>
#include <utility>

namespace camera::ptz {

const Tour& PositioningUnit::knownTour(const std::string& name) const
{
    const Tour* found = findNamed(_tours, name);
    require(found != nullptr, CommandStatus::unknownTour, "there is no tour '" + name + "'");
    return *found;
}

void PositioningUnit::requireStandingTour(const std::string& name) const
{
    require(!_tour || _tour->tour.name != name, CommandStatus::badRequest,
            "tour '" + name + "' is running: stop it first");
}

// A tour runs, and this commander may command it.
void PositioningUnit::requireRunningTour(const Commander& commander) const
{
    requireMayMove(commander);
    require(_tour && !_tour->ending, CommandStatus::notRunning, "no tour is running");
}

CommandResult PositioningUnit::createTour(const Tour& tour)
{
    return changeLists([&] {
        requireName(tour.name);
        const std::string problem = tourProblem(tour);
        require(problem.empty(), CommandStatus::badRequest, problem);
        for (const TourStop& stop : tour.stops) {
            knownPreset(stop.preset);
        }
        requireStandingTour(tour.name);
        if (Tour* found = findNamed(_tours, tour.name)) {
            *found = tour;
        } else {
            require(_tours.size() < kMostTours, CommandStatus::tooMany,
                    "a camera keeps at most " + std::to_string(kMostTours) + " tours");
            _tours.push_back(tour);
        }
    });
}

CommandResult PositioningUnit::removeTour(const std::string& name)
{
    return changeLists([&] {
        const Tour& found = knownTour(name);
        requireStandingTour(name);
        _tours.erase(_tours.begin() + (&found - _tours.data()));
    });
}

CommandResult PositioningUnit::startTour(const std::string& name, const Commander& commander)
{
    return transact([&] {
        requireMayMove(commander);
        const Tour& tour = knownTour(name);
        require(std::any_of(tour.stops.begin(), tour.stops.end(),
                            [this](const TourStop& stop) { return findPreset(stop.preset) != nullptr; }),
                CommandStatus::unknownPreset, "none of the presets of tour '" + name + "' exists any more");
        endTour();
        RunningTour running;
        running.tour = tour;
        _tour = std::move(running);
        report(TourStateChange{TourState::running, name, 0});
        goToStop(0);
    });
}

CommandResult PositioningUnit::stopTour(const Commander& commander)
{
    return transact([&] {
        requireRunningTour(commander);
        stopAxes(Axes(), commander);
    });
}

CommandResult PositioningUnit::pauseTour(const Commander& commander)
{
    return transact([&] {
        requireRunningTour(commander);
        _tour->paused = true;
    });
}

CommandResult PositioningUnit::resumeTour(const Commander& commander)
{
    return transact([&] {
        requireRunningTour(commander);
        require(_tour->paused, CommandStatus::notRunning, "tour '" + _tour->tour.name + "' is not paused");
        _tour->paused = false;
    });
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
