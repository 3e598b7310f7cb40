#pragma once

#include "camera/onvif/Operations.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace camera::onvif {

/// Where the camera looks.
struct PtzPlace {
    double pan = 0;  ///< degrees clockwise, -180 to 180
    double tilt = 0; ///< degrees upwards
    double zoom = 1; ///< magnification
};

/// What the camera can reach, in the units of a place.
struct PtzLimits {
    double lowestPan = -180;
    double highestPan = 180;
    bool endless = true; ///< it turns round without end
    double lowestTilt = -90;
    double highestTilt = 90;
    double largestZoom = 30;
};

struct PtzPreset {
    std::string token;
    PtzPlace place;
};

/// One visit of a tour.
struct PtzStop {
    std::string preset; ///< its token
    std::chrono::milliseconds stay{5000};
    int speedPercent = 100; ///< of the way to it
};

struct PtzTour {
    std::string token;
    std::vector<PtzStop> stops;
};

/// What the camera tells of its movement.
struct PtzView {
    PtzPlace place;
    bool moving = false;
    double widthDegrees = 0;  ///< what the picture shows
    double heightDegrees = 0; ///< the same upwards
    PtzLimits limits;
    std::vector<PtzPreset> presets;
    std::vector<PtzTour> tours;
    std::string runningTour; ///< empty: none
    std::size_t stop = 0;    ///< of the tour that runs
    bool paused = false;
    std::size_t mostPresets = 0;
    std::size_t mostTours = 0;
    std::size_t mostStops = 0;
};

/// Speeds in percent, -100 to 100; an axis without one goes on as it does.
struct PtzDrive {
    std::optional<int> pan;
    std::optional<int> tilt;
    std::optional<int> zoom;
    std::chrono::milliseconds duration{0}; ///< 0: until it is stopped
};

/// What the PTZ service asks of the camera. Each is called on the thread of the service. Percents are 1 to 100.
struct PtzActions {
    std::function<bool()> moves; ///< whether the camera can move
    Ask<PtzView> view;
    std::function<void(const PtzPlace&, int speedPercent, Done)> moveTo;
    std::function<void(const PtzDrive&, Done)> drive; ///< speeds of 0 brake, and end a tour
    std::function<void(const std::string& preset, int speedPercent, Done)> goToPreset;
    std::function<void(const std::string& preset, Done)> savePreset; ///< where the camera looks
    std::function<void(const std::string& preset, Done)> removePreset;
    std::function<void(const PtzTour&, Done)> setTour; ///< adds it, or takes the place of the one of its token
    std::function<void(const std::string& tour, Done)> removeTour;
    std::function<void(const std::string& tour, Done)> startTour;
    std::function<void(Done)> stopTour;
    std::function<void(Done)> pauseTour;
    std::function<void(Done)> resumeTour;
};

} // namespace camera::onvif
