#include "camera/pipeline/Scenario.h"

#include "camera/base/PluginPath.h"
#include "camera/onvif/ConfigurationFile.h"
#include "camera/pipeline/CameraBuilder.h"
#include "camera/ptz/PositioningUnit.h"
#include "camera/serviceapi/ControlThread.h"

#include <chrono>
#include <cmath>
#include <stdexcept>

namespace camera::pipeline {

namespace {

constexpr const char* kTourName = "start";

PresetOption presetOf(const base::PlaceOption& place)
{
    constexpr long kTurn = 360000;
    const long pan = std::lround(place.pan * 1000) % kTurn;
    return {place.name, static_cast<unsigned int>(pan < 0 ? pan + kTurn : pan),
            static_cast<int>(std::lround(place.tilt * 1000)), static_cast<unsigned int>(std::lround(place.zoom * 100))};
}

void requireDone(const ptz::CommandResult& result)
{
    if (!result) {
        throw std::runtime_error(result.sentence);
    }
}

} // namespace

Scenario::Scenario(const base::RunOptions& options) : _options(options)
{
    for (const std::string& file : options.configFiles) {
        _files.push_back({file, onvif::readConfiguration(file)});
    }
}

PtzOption Scenario::positioning(const base::RunOptions& options)
{
    PtzOption result;
    for (const base::PlaceOption& place : options.places) {
        result.presets.push_back(presetOf(place));
    }
    result.arriveAt = options.camera.preset;
    if (!options.camera.model.empty()) {
        try {
            result.description = ptz::findDescription(options.camera.model, base::programFolder());
        } catch (const std::invalid_argument& error) {
            throw base::UsageError(error.what());
        }
    }
    return result;
}

std::vector<std::string> Scenario::configure(Device& device) const
{
    std::vector<std::string> notices;
    for (const File& file : _files) {
        const bool active = pipeline::configure(device, file.xml, file.name);
        if (!active && _options.tour.empty()) {
            notices.push_back("'" + file.name + "' is stored for another place than the one where the camera stands.");
        }
    }
    return notices;
}

void Scenario::startTour(Device& device) const
{
    if (_options.tour.empty()) {
        return;
    }
    ptz::PositioningUnit& unit = device.positioning();
    ptz::Tour tour;
    tour.name = kTourName;
    for (const base::TourStopOption& stop : _options.tour) {
        ptz::TourStop entry;
        entry.preset = stop.preset;
        entry.dwell = std::chrono::milliseconds(std::lround(stop.seconds * 1000));
        tour.stops.push_back(entry);
    }
    const ptz::CommandResult created = unit.createTour(tour);
    if (created.status == ptz::CommandStatus::unknownPreset) {
        throw base::UsageError("--tour: " + created.sentence);
    }
    requireDone(created);
    requireDone(unit.startTour(kTourName, {"the command line", ptz::kOperatorPriority}));
    device.control().drain(); // the first frame already comes from a camera on its way
}

} // namespace camera::pipeline
