// The bus has thousandths of a degree, pan from 0 to 359999, and hundredths of magnification.
#include "camera/gateway/PtzLink.h"

#include "camera/bus/Names.h"
#include "camera/gateway/Inquiry.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

namespace camera::gateway {

namespace {

using onvif::Done;
using onvif::PtzDrive;
using onvif::PtzPlace;
using onvif::PtzStop;
using onvif::PtzTour;
using onvif::PtzView;
using PresetRow = sdbus::Struct<std::string, std::uint32_t, std::int32_t, std::uint32_t>;
using StopRow = sdbus::Struct<std::string, std::uint32_t, std::uint32_t>;
using TourRow = sdbus::Struct<std::string, std::vector<StopRow>>;

constexpr const char* kMover = bus::service::kPositioning;
constexpr std::uint32_t kClientPriority = 100; // that of a person who drives the camera, as with "camera move"
constexpr long kTurn = 360000;

PtzPlace placeOf(std::uint32_t pan, std::int32_t tilt, std::uint32_t zoom)
{
    const double degrees = pan / 1000.0;
    return {degrees > 180 ? degrees - 360 : degrees, tilt / 1000.0, zoom / 100.0};
}

/// A place as the bus has it, whatever was stored.
struct BusPlace {
    explicit BusPlace(const PtzPlace& place)
        : pan(static_cast<std::uint32_t>((std::lround(std::fmod(place.pan, 360) * 1000) + kTurn) % kTurn)),
          tilt(static_cast<std::int32_t>(std::lround(std::clamp(place.tilt, -360.0, 360.0) * 1000))),
          zoom(static_cast<std::uint32_t>(std::lround(std::clamp(place.zoom, 0.0, 1e6) * 100)))
    {
    }

    std::uint32_t pan;
    std::int32_t tilt;
    std::uint32_t zoom;
};

PtzTour tourOf(const TourRow& row)
{
    PtzTour tour{row.get<0>(), {}};
    for (const StopRow& stop : row.get<1>()) {
        tour.stops.push_back(
            {stop.get<0>(), std::chrono::milliseconds(stop.get<1>()), static_cast<int>(stop.get<2>())});
    }
    return tour;
}

std::vector<StopRow> stopRows(const PtzTour& tour)
{
    std::vector<StopRow> rows;
    for (const PtzStop& stop : tour.stops) {
        rows.emplace_back(stop.preset, static_cast<std::uint32_t>(stop.stay.count()),
                          static_cast<std::uint32_t>(stop.speedPercent));
    }
    return rows;
}

/// What is asked for, and what the height of the view is made of.
struct Seen {
    PtzView view;
    double heightPerWidth = 0;
};

void askPosition(Inquiry<Seen>& inquiry)
{
    const auto where = [](Seen& seen, std::uint32_t pan, std::int32_t tilt, std::uint32_t zoom,
                          std::uint32_t angleOfView, bool moving, const std::string& /*preset*/) {
        seen.view.place = placeOf(pan, tilt, zoom);
        seen.view.widthDegrees = angleOfView / 1000.0;
        seen.view.moving = moving;
    };
    inquiry.call<std::uint32_t, std::int32_t, std::uint32_t, std::uint32_t, bool, std::string>(kMover, "getPosition",
                                                                                               where);
    using Format = sdbus::Struct<std::uint32_t, std::uint32_t, double>;
    inquiry.property<Format>(bus::service::kPipeline, "PictureFormat", [](Seen& seen, const Format& format) {
        const std::uint32_t width = format.get<0>();
        seen.heightPerWidth = width == 0 ? 0 : static_cast<double>(format.get<1>()) / width;
    });
}

void askLimits(Inquiry<Seen>& inquiry)
{
    using Whole = std::int32_t;
    using Count = std::uint32_t;
    const auto limits = [](Seen& seen, Whole lowestPan, Whole highestPan, bool endless, Whole lowestTilt,
                           Whole highestTilt, Count largestZoom, Count presets, Count tours, Count stops) {
        seen.view.limits = {lowestPan / 1000.0,  highestPan / 1000.0,  endless,
                            lowestTilt / 1000.0, highestTilt / 1000.0, largestZoom / 100.0};
        seen.view.mostPresets = presets;
        seen.view.mostTours = tours;
        seen.view.mostStops = stops;
    };
    inquiry.call<Whole, Whole, bool, Whole, Whole, Count, Count, Count, Count>(kMover, "getLimits", limits);
}

void askPresetPlaces(Inquiry<Seen>& inquiry)
{
    using Rows = std::vector<PresetRow>;
    inquiry.call<Rows>(kMover, "listPresets", [](Seen& seen, const Rows& rows) {
        for (const PresetRow& row : rows) {
            seen.view.presets.push_back({row.get<0>(), placeOf(row.get<1>(), row.get<2>(), row.get<3>())});
        }
    });
}

void askTours(Inquiry<Seen>& inquiry)
{
    using Rows = std::vector<TourRow>;
    using Running = sdbus::Struct<std::string, std::uint32_t>;
    inquiry.call<Rows>(kMover, "listTours", [](Seen& seen, const Rows& rows) {
        std::transform(rows.begin(), rows.end(), std::back_inserter(seen.view.tours), tourOf);
    });
    inquiry.property<Running>(kMover, "Tour", [](Seen& seen, const Running& running) {
        seen.view.runningTour = running.get<0>();
        seen.view.stop = running.get<1>();
    });
    inquiry.property<bool>(kMover, "TourPaused", [](Seen& seen, bool paused) { seen.view.paused = paused; });
}

void askMovement(CameraLink& link, const std::function<void(onvif::Outcome<PtzView>)>& done)
{
    const auto tell = [done](onvif::Outcome<Seen> outcome) {
        if (const auto* const fault = std::get_if<onvif::Fault>(&outcome)) {
            done(*fault);
            return;
        }
        auto& seen = std::get<Seen>(outcome);
        // As the picture: its pixels are as many to a degree upwards as to the side.
        seen.view.heightDegrees = seen.view.widthDegrees * seen.heightPerWidth;
        done(std::move(seen.view));
    };
    Inquiry<Seen>::begin(link, tell, [](Inquiry<Seen>& inquiry) {
        askPosition(inquiry);
        askLimits(inquiry);
        askPresetPlaces(inquiry);
        askTours(inquiry);
    });
}

void driveAxes(CameraLink& link, const PtzDrive& wanted, const Done& done)
{
    const auto speed = [](const std::optional<int>& percent) {
        return static_cast<std::int32_t>(percent.value_or(bus::kAxisGoesOn));
    };
    link.perform(kMover, "drive", done, speed(wanted.pan), speed(wanted.tilt), speed(wanted.zoom),
                 static_cast<std::uint32_t>(wanted.duration.count()), kClientPriority);
}

void addMovement(onvif::PtzActions& actions, CameraLink& link)
{
    actions.moveTo = [&link](const PtzPlace& wanted, int speedPercent, const Done& done) {
        const BusPlace place(wanted);
        link.perform(kMover, "moveAtSpeed", done, place.pan, place.tilt, place.zoom,
                     static_cast<std::uint32_t>(speedPercent), kClientPriority);
    };
    actions.drive = [&link](const PtzDrive& wanted, const Done& done) { driveAxes(link, wanted, done); };
    actions.goToPreset = [&link](const std::string& preset, int speedPercent, const Done& done) {
        link.perform(kMover, "goToPresetAtSpeed", done, preset, static_cast<std::uint32_t>(speedPercent),
                     kClientPriority);
    };
}

} // namespace

onvif::PtzActions ptzActions(CameraLink& link)
{
    const auto withName = [&link](const char* method) {
        return [&link, method](const std::string& name, const Done& done) { link.perform(kMover, method, done, name); };
    };
    const auto alone = [&link](const char* method) {
        return [&link, method](const Done& done) { link.perform(kMover, method, done); };
    };
    onvif::PtzActions actions;
    actions.moves = [&link] { return link.moves(); };
    actions.view = [&link](const auto& done) { askMovement(link, done); };
    addMovement(actions, link);
    actions.savePreset = withName("savePreset");
    actions.removePreset = withName("removePreset");
    actions.setTour = [&link](const PtzTour& tour, const Done& done) {
        link.perform(kMover, "createTour", done, tour.token, stopRows(tour));
    };
    actions.removeTour = withName("removeTour");
    actions.startTour = [&link](const std::string& tour, const Done& done) {
        link.perform(kMover, "startTour", done, tour, kClientPriority);
    };
    actions.stopTour = alone("stopTour");
    actions.pauseTour = alone("pauseTour");
    actions.resumeTour = alone("resumeTour");
    return actions;
}

} // namespace camera::gateway
