#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace camera::ptz {

/// Where a camera looks: thousandths of a degree, magnification in hundredths.
struct Position {
    unsigned int pan = 0; ///< 0 to 359999, clockwise
    int tilt = 0;         ///< -90000 to 90000, upwards
    unsigned int zoom = 100;

    bool operator==(const Position& other) const
    {
        return pan == other.pan && tilt == other.tilt && zoom == other.zoom;
    }
    bool operator!=(const Position& other) const { return !(*this == other); }
};

struct Preset {
    std::string name;
    Position position;
};

/// One stop of a tour.
struct TourStop {
    std::string preset;
    std::chrono::milliseconds dwell{5000}; ///< how long the camera stays after it has arrived
    int speedPercent = 100;                ///< 1 to 100, of the axes' greatest speeds
};

/// Presets that the camera visits in order, again and again until the tour is ended.
struct Tour {
    std::string name;
    std::vector<TourStop> stops;
};

} // namespace camera::ptz
