#include "camera/pipeline/Scenario.h"

#include "camera/cli/CameraBuilder.h"
#include "camera/cli/ConfigurationFile.h"
#include "camera/cli/PluginPath.h"
#include "camera/meridan/PositioningUnit.h"
#include "camera/ravel/ControlThread.h"

#include <chrono>
#include <cmath>
#include <stdexcept>

namespace camera::pipeline {

namespace {

constexpr const char* kTourName = "start";

device::PresetOption presetOf(const cli::PlaceOption& place)
{
    constexpr long kTurn = 360000;
    const long pan = std::lround(place.pan * 1000) % kTurn;
    return {place.name, static_cast<unsigned int>(pan < 0 ? pan + kTurn : pan),
            static_cast<int>(std::lround(place.tilt * 1000)), static_cast<unsigned int>(std::lround(place.zoom * 100))};
}

void requireDone(const meridan::CommandResult& result)
{
    if (!result) {
        throw std::runtime_error(result.sentence);
    }
}

} // namespace

Scenario::Scenario(const cli::RunOptions& options) : _options(options)
{
    for (const std::string& file : options.configFiles) {
        _files.push_back({file, cli::readConfiguration(file)});
    }
}

device::PtzOption Scenario::positioning(const cli::RunOptions& options)
{
    device::PtzOption result;
    for (const cli::PlaceOption& place : options.places) {
        result.presets.push_back(presetOf(place));
    }
    result.arriveAt = options.camera.preset;
    if (!options.camera.model.empty()) {
        result.description = meridan::findDescription(options.camera.model, cli::programFolder());
    }
    return result;
}

std::vector<std::string> Scenario::begin(device::Device& device) const
{
    std::vector<std::string> notices;
    for (const File& file : _files) {
        const bool active = cli::configure(device, file.xml, file.name);
        if (!active && _options.tour.empty()) {
            notices.push_back("'" + file.name + "' is stored for another place than the one where the camera stands.");
        }
    }
    if (!_options.tour.empty()) {
        startTour(device);
    }
    return notices;
}

void Scenario::startTour(device::Device& device) const
{
    meridan::PositioningUnit& unit = device.positioning();
    meridan::Tour tour;
    tour.name = kTourName;
    for (const cli::TourStopOption& stop : _options.tour) {
        meridan::TourStop entry;
        entry.preset = stop.preset;
        entry.dwell = std::chrono::milliseconds(std::lround(stop.seconds * 1000));
        tour.stops.push_back(entry);
    }
    requireDone(unit.createTour(tour));
    requireDone(unit.startTour(kTourName, {"the command line", meridan::kOperatorPriority}));
    device.control().drain(); // the first frame already comes from a camera on its way
}

} // namespace camera::pipeline
