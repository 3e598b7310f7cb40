#include "camera/pipeline/PositioningObject.h"

#include "camera/bus/Names.h"
#include "camera/ptz/PositioningNames.h"
#include "camera/ptz/PositioningUnit.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace camera::pipeline {

namespace {

using ptz::Commander;
using ptz::CommandResult;
using ptz::PositioningUnit;
using StopRow = sdbus::Struct<std::string, std::uint32_t, std::uint32_t>;

// A command that is not done is refused with the unit's own sentence.
void require(const CommandResult& outcome)
{
    if (!outcome) {
        throw bus::Refusal(outcome.sentence);
    }
}

// Clients of the bus differ by the priority that they give; all of them are called operator.
Commander commander(std::uint32_t priority)
{
    return {"operator", priority};
}

ptz::Position position(std::uint32_t pan, std::int32_t tilt, std::uint32_t zoom)
{
    ptz::Position result;
    result.pan = pan;
    result.tilt = tilt;
    result.zoom = zoom;
    return result;
}

/// The speed of an axis; nothing: it goes on as it does.
std::optional<int> speedOf(std::int32_t percent)
{
    return percent == bus::kAxisGoesOn ? std::nullopt : std::optional<int>(percent);
}

ptz::Tour tourOf(const std::string& name, const std::vector<StopRow>& rows)
{
    ptz::Tour tour;
    tour.name = name;
    for (const StopRow& row : rows) {
        ptz::TourStop stop;
        stop.preset = row.get<0>();
        stop.dwell = std::chrono::milliseconds(row.get<1>());
        stop.speedPercent = static_cast<decltype(stop.speedPercent)>(std::min<std::uint32_t>(row.get<2>(), 1000));
        tour.stops.push_back(std::move(stop));
    }
    return tour;
}

sdbus::Struct<std::string, std::vector<StopRow>> rowOf(const ptz::Tour& tour)
{
    std::vector<StopRow> stops;
    for (const ptz::TourStop& stop : tour.stops) {
        stops.emplace_back(stop.preset, static_cast<std::uint32_t>(stop.dwell.count()),
                           static_cast<std::uint32_t>(stop.speedPercent));
    }
    return {tour.name, std::move(stops)};
}

} // namespace

PositioningObject::PositioningObject(const std::shared_ptr<bus::Session>& session, PositioningUnit& unit)
    : PositioningServer(session->connection()), _unit(unit)
{
    takeName();
}

PositioningObject::Where PositioningObject::getPosition()
{
    const ptz::Position at = _unit.position();
    return {at.pan, at.tilt, at.zoom, _unit.optics().angleOfView(at.zoom), _unit.moving(), _unit.activePreset()};
}

PositioningObject::Limits PositioningObject::getLimits()
{
    constexpr std::int32_t kHalfTurn = 180000;
    const ptz::CameraDescription& camera = _unit.description();
    const auto whole = [](double value) { return static_cast<std::int32_t>(std::lround(value)); };
    const auto count = [](std::size_t most) { return static_cast<std::uint32_t>(most); };
    return {camera.pan.endless ? -kHalfTurn : whole(camera.pan.lowest),
            camera.pan.endless ? kHalfTurn : whole(camera.pan.highest),
            camera.pan.endless,
            whole(camera.tilt.lowest),
            whole(camera.tilt.highest),
            static_cast<std::uint32_t>(whole(camera.zoom.highest)),
            count(ptz::kMostPresets),
            count(ptz::kMostTours),
            count(ptz::kMostStops)};
}

std::vector<PositioningObject::PresetRow> PositioningObject::listPresets()
{
    std::vector<PresetRow> rows;
    for (const ptz::Preset& preset : _unit.presets()) {
        rows.emplace_back(preset.name, preset.position.pan, preset.position.tilt, preset.position.zoom);
    }
    return rows;
}

std::vector<PositioningObject::TourRow> PositioningObject::listTours()
{
    std::vector<TourRow> rows;
    for (const ptz::Tour& tour : _unit.tours()) {
        rows.push_back(rowOf(tour));
    }
    return rows;
}

void PositioningObject::goToPreset(const std::string& name, std::uint32_t priority)
{
    require(_unit.goToPreset(name, commander(priority)));
}

void PositioningObject::goToPresetAtSpeed(const std::string& name, std::uint32_t speed, std::uint32_t priority)
{
    require(_unit.goToPreset(name, commander(priority), speed));
}

void PositioningObject::moveAtSpeed(std::uint32_t pan, std::int32_t tilt, std::uint32_t zoom, std::uint32_t speed,
                                    std::uint32_t priority)
{
    require(_unit.moveTo(position(pan, tilt, zoom), commander(priority), speed));
}

void PositioningObject::moveTo(std::uint32_t pan, std::int32_t tilt, std::uint32_t zoom, std::uint32_t priority)
{
    require(_unit.moveTo(position(pan, tilt, zoom), commander(priority)));
}

void PositioningObject::drive(std::int32_t pan, std::int32_t tilt, std::int32_t zoom, std::uint32_t milliseconds,
                              std::uint32_t priority)
{
    ptz::Drive drive;
    drive.pan = speedOf(pan);
    drive.tilt = speedOf(tilt);
    drive.zoom = speedOf(zoom);
    if (milliseconds != 0) {
        drive.duration = std::chrono::milliseconds(milliseconds);
    }
    require(_unit.drive(drive, commander(priority)));
}

void PositioningObject::stop(std::uint32_t priority)
{
    require(_unit.stop({}, commander(priority)));
}

void PositioningObject::savePreset(const std::string& name)
{
    require(_unit.savePresetHere(name));
}

void PositioningObject::savePresetAt(const std::string& name, std::uint32_t pan, std::int32_t tilt, std::uint32_t zoom)
{
    require(_unit.savePreset({name, position(pan, tilt, zoom)}));
}

void PositioningObject::renamePreset(const std::string& name, const std::string& newName)
{
    require(_unit.renamePreset(name, newName));
}

void PositioningObject::removePreset(const std::string& name)
{
    require(_unit.removePreset(name));
}

void PositioningObject::createTour(const std::string& name, const std::vector<StopRow>& stops)
{
    require(_unit.createTour(tourOf(name, stops)));
}

void PositioningObject::removeTour(const std::string& name)
{
    require(_unit.removeTour(name));
}

void PositioningObject::startTour(const std::string& name, std::uint32_t priority)
{
    require(_unit.startTour(name, commander(priority)));
}

void PositioningObject::stopTour()
{
    require(_unit.stopTour(commander(ptz::kOperatorPriority)));
}

void PositioningObject::pauseTour()
{
    require(_unit.pauseTour(commander(ptz::kOperatorPriority)));
}

void PositioningObject::resumeTour()
{
    require(_unit.resumeTour(commander(ptz::kOperatorPriority)));
}

bool PositioningObject::available()
{
    return _unit.isAvailable();
}

sdbus::Struct<std::string, std::uint32_t> PositioningObject::tour()
{
    const auto progress = _unit.tourProgress();
    return progress
               ? sdbus::Struct<std::string, std::uint32_t>(progress->tour, static_cast<std::uint32_t>(progress->stop))
               : sdbus::Struct<std::string, std::uint32_t>();
}

bool PositioningObject::tourPaused()
{
    const auto progress = _unit.tourProgress();
    return progress && progress->paused;
}

void PositioningObject::emit(const ptz::PositioningEvent& event)
{
    std::visit([this](const auto& kind) { emitEvent(kind); }, event);
}

void PositioningObject::emitEvent(const ptz::MotionState& event)
{
    emitMotionState(event.moving, event.position.pan, event.position.tilt, event.position.zoom);
}

void PositioningObject::emitEvent(const ptz::CommandPriority& event)
{
    emitCommandPriority(true, true, event.priority);
}

void PositioningObject::emitEvent(const ptz::PresetStateChange& event)
{
    emitPresetState(static_cast<int>(event.state), event.preset, event.byTour, event.user);
}

void PositioningObject::emitEvent(const ptz::PresetModified& event)
{
    emitPresetModified(event.preset, event.change == ptz::PresetChange::created,
                       event.change == ptz::PresetChange::changed, event.change == ptz::PresetChange::removed);
}

void PositioningObject::emitEvent(const ptz::TourStateChange& event)
{
    emitTourState(static_cast<int>(event.state), event.tour, static_cast<std::uint32_t>(event.stop), 0);
}

} // namespace camera::pipeline
