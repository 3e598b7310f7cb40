#include "camera/pipeline/PositioningObject.h"

#include "camera/base/Log.h"
#include "camera/base/Utf8.h"
#include "camera/bus/Answer.h"
#include "camera/bus/Names.h"
#include "camera/ptz/PositioningUnit.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <utility>
#include <vector>

namespace camera::pipeline {

namespace {

using ptz::Commander;
using ptz::CommandResult;
using ptz::PositioningUnit;
using PresetRow = sdbus::Struct<std::string, std::uint32_t, std::int32_t, std::uint32_t>;
using StopRow = sdbus::Struct<std::string, std::uint32_t, std::uint32_t>;
using TourRow = sdbus::Struct<std::string, std::vector<StopRow>>;

const std::string kInterface = bus::interfaceName(bus::service::kPositioning);

// Users of the bus are told apart by what they claim to be worth; all are operators by name.
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

TourRow rowOf(const ptz::Tour& tour)
{
    std::vector<StopRow> stops;
    for (const ptz::TourStop& stop : tour.stops) {
        stops.emplace_back(base::sendable(stop.preset), static_cast<std::uint32_t>(stop.dwell.count()),
                           static_cast<std::uint32_t>(stop.speedPercent));
    }
    return TourRow(base::sendable(tour.name), std::move(stops));
}

} // namespace

PositioningObject::PositioningObject(const std::shared_ptr<bus::Session>& session, ptz::PositioningUnit& unit)
    : _unit(unit), _object(sdbus::createObject(session->connection(), bus::objectPath(bus::service::kPositioning)))
{
    registerQueries();
    registerMovement();
    registerPresets();
    registerTours();
    registerSignals();
    _object->finishRegistration();
    session->connection().requestName(bus::busName(bus::service::kPositioning));
}

template <class... In, class Command>
void PositioningObject::registerCommand(const char* method, std::vector<std::string> inputs, Command command)
{
    _object->registerMethod(method)
        .onInterface(kInterface)
        .withInputParamNames(std::move(inputs))
        .implementedAs([command = std::move(command)](sdbus::Result<>&& result, const In&... arguments) {
            bus::answer(result, [&] {
                const CommandResult outcome = command(arguments...);
                if (!outcome) {
                    throw bus::Refusal(outcome.sentence);
                }
            });
        });
}

void PositioningObject::registerQueries()
{
    using Where = sdbus::Result<std::uint32_t, std::int32_t, std::uint32_t, std::uint32_t, bool, std::string>;
    _object->registerMethod("getPosition")
        .onInterface(kInterface)
        .withOutputParamNames("pan", "tilt", "zoom", "angleOfView", "moving", "activePreset")
        .implementedAs([this](Where&& result) {
            bus::answer(result, [&](const Where& reply) {
                const ptz::Position at = _unit.position();
                reply.returnResults(at.pan, at.tilt, at.zoom, _unit.optics().angleOfView(at.zoom), _unit.moving(),
                                    base::sendable(_unit.activePreset()));
            });
        });
    _object->registerMethod("listPresets")
        .onInterface(kInterface)
        .withOutputParamNames("presets")
        .implementedAs([this](sdbus::Result<std::vector<PresetRow>>&& result) {
            bus::answer(result, [this] {
                std::vector<PresetRow> rows;
                for (const ptz::Preset& preset : _unit.presets()) {
                    rows.emplace_back(base::sendable(preset.name), preset.position.pan, preset.position.tilt,
                                      preset.position.zoom);
                }
                return rows;
            });
        });
    _object->registerMethod("listTours")
        .onInterface(kInterface)
        .withOutputParamNames("tours")
        .implementedAs([this](sdbus::Result<std::vector<TourRow>>&& result) {
            bus::answer(result, [this] {
                std::vector<TourRow> rows;
                for (const ptz::Tour& tour : _unit.tours()) {
                    rows.push_back(rowOf(tour));
                }
                return rows;
            });
        });
}

void PositioningObject::registerMovement()
{
    registerCommand<std::string, std::uint32_t>(
        "goToPreset", {"name", "priority"},
        [this](const auto& name, const auto& priority) { return _unit.goToPreset(name, commander(priority)); });
    registerCommand<std::uint32_t, std::int32_t, std::uint32_t, std::uint32_t>(
        "moveTo", {"pan", "tilt", "zoom", "priority"},
        [this](const auto& pan, const auto& tilt, const auto& zoom, const auto& priority) {
            return _unit.moveTo(position(pan, tilt, zoom), commander(priority));
        });
    registerCommand<std::int32_t, std::int32_t, std::int32_t, std::uint32_t, std::uint32_t>(
        "drive", {"pan", "tilt", "zoom", "milliseconds", "priority"},
        [this](const auto& pan, const auto& tilt, const auto& zoom, const auto& milliseconds, const auto& priority) {
            ptz::Drive drive;
            drive.pan = pan;
            drive.tilt = tilt;
            drive.zoom = zoom;
            if (milliseconds != 0) {
                drive.duration = std::chrono::milliseconds(milliseconds);
            }
            return _unit.drive(drive, commander(priority));
        });
    registerCommand<std::uint32_t>("stop", {"priority"},
                                   [this](const auto& priority) { return _unit.stop({}, commander(priority)); });
}

void PositioningObject::registerPresets()
{
    registerCommand<std::string>("savePreset", {"name"},
                                 [this](const auto& name) { return _unit.savePresetHere(name); });
    registerCommand<std::string, std::uint32_t, std::int32_t, std::uint32_t>(
        "savePresetAt", {"name", "pan", "tilt", "zoom"},
        [this](const auto& name, const auto& pan, const auto& tilt, const auto& zoom) {
            return _unit.savePreset({name, position(pan, tilt, zoom)});
        });
    registerCommand<std::string, std::string>(
        "renamePreset", {"name", "newName"},
        [this](const auto& name, const auto& newName) { return _unit.renamePreset(name, newName); });
    registerCommand<std::string>("removePreset", {"name"},
                                 [this](const auto& name) { return _unit.removePreset(name); });
}

void PositioningObject::registerTours()
{
    registerCommand<std::string, std::vector<StopRow>>(
        "createTour", {"name", "stops"},
        [this](const auto& name, const auto& stops) { return _unit.createTour(tourOf(name, stops)); });
    registerCommand<std::string>("removeTour", {"name"}, [this](const auto& name) { return _unit.removeTour(name); });
    registerCommand<std::string, std::uint32_t>(
        "startTour", {"name", "priority"},
        [this](const auto& name, const auto& priority) { return _unit.startTour(name, commander(priority)); });
    const auto onTour = [this](CommandResult (PositioningUnit::*command)(const Commander&)) {
        return [this, command] { return (_unit.*command)(commander(ptz::kOperatorPriority)); };
    };
    registerCommand<>("stopTour", {}, onTour(&PositioningUnit::stopTour));
    registerCommand<>("pauseTour", {}, onTour(&PositioningUnit::pauseTour));
    registerCommand<>("resumeTour", {}, onTour(&PositioningUnit::resumeTour));
}

void PositioningObject::registerSignals()
{
    using U = std::uint32_t;
    using I = std::int32_t;
    _object->registerSignal("motionState")
        .onInterface(kInterface)
        .withParameters<bool, U, I, U>("moving", "pan", "tilt", "zoom");
    _object->registerSignal("commandPriority")
        .onInterface(kInterface)
        .withParameters<bool, bool, U>("panTiltHeld", "zoomHeld", "priority");
    _object->registerSignal("presetState")
        .onInterface(kInterface)
        .withParameters<I, std::string, bool, std::string>("state", "preset", "byTour", "user");
    _object->registerSignal("presetModified")
        .onInterface(kInterface)
        .withParameters<std::string, bool, bool, bool>("preset", "created", "changed", "removed");
    _object->registerSignal("tourState")
        .onInterface(kInterface)
        .withParameters<I, std::string, U, I>("state", "tour", "stop", "stopType");
}

void PositioningObject::emit(const ptz::PositioningEvent& event)
{
    std::visit([this](const auto& kind) { emitEvent(kind); }, event);
}

template <class... Arguments>
void PositioningObject::send(const char* signal, const Arguments&... arguments)
{
    try {
        _object->emitSignal(signal).onInterface(kInterface).withArguments(arguments...);
    } catch (const std::exception& error) {
        base::Log::instance().write(base::LogLevel::info, "bus",
                                    std::string(signal) + " was not sent: " + error.what());
    }
}

void PositioningObject::emitEvent(const ptz::MotionState& event)
{
    send("motionState", event.moving, event.position.pan, event.position.tilt, event.position.zoom);
}

void PositioningObject::emitEvent(const ptz::CommandPriority& event)
{
    send("commandPriority", true, true, event.priority);
}

void PositioningObject::emitEvent(const ptz::PresetStateChange& event)
{
    send("presetState", static_cast<int>(event.state), base::sendable(event.preset), event.byTour,
         base::sendable(event.user));
}

void PositioningObject::emitEvent(const ptz::PresetModified& event)
{
    send("presetModified", base::sendable(event.preset), event.change == ptz::PresetChange::created,
         event.change == ptz::PresetChange::changed, event.change == ptz::PresetChange::removed);
}

void PositioningObject::emitEvent(const ptz::TourStateChange& event)
{
    send("tourState", static_cast<int>(event.state), base::sendable(event.tour), static_cast<std::uint32_t>(event.stop),
         0);
}

} // namespace camera::pipeline
