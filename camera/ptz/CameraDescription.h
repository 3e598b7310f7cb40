#pragma once

#include "camera/ptz/Optics.h"

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

namespace camera::ptz {

/// What one axis can do, in its own unit: thousandths of a degree, or hundredths of magnification.
struct AxisDescription {
    double lowest = 0;
    double highest = 0;
    bool endless = false;     ///< a full turn has no end; lowest and highest then mean nothing
    double fullTurn = 0;      ///< the length of a turn when the axis is endless
    double greatestSpeed = 0; ///< units per second
    double acceleration = 0;  ///< units per second, per second
    double tolerance = 0;     ///< an axis this close to its target is there; below 0: it never is
};

/// A model of camera: what it can do, how fast, through which lens. The default is a PTZ camera. In a file it is a
/// JSON object; docs/positioning-events.md lists its keys.
struct CameraDescription {
    std::string model = "ptz";
    bool movable = true; ///< false: a fixed camera; the values about movement are then ignored
    Optics optics;
    double sceneAngleDegrees = 128; ///< what the width of the source picture covers

    AxisDescription pan{0, 0, true, 360000, 120000, 240000, 50};
    AxisDescription tilt{-90000, 90000, false, 0, 90000, 180000, 50};
    AxisDescription zoom{100, 3000, false, 0, 1000, 2000, 1};

    std::chrono::milliseconds stableFor{300};      ///< the camera has arrived when it was in place for this long
    std::chrono::milliseconds arrivalMargin{3000}; ///< a move that takes this much longer than calculated is given up
    std::chrono::milliseconds holdFor{5000};       ///< for this long after a move its user holds the camera
    std::chrono::milliseconds driveFor{60000};     ///< a drive ends after this time
};

/// The most bytes that a description may have.
constexpr std::size_t kLargestDescription = 64 * 1024;

/**
 * Reads a description. The text may be any bytes.
 *
 * @param origin  what the text is called in messages, usually its path
 * @throws std::invalid_argument with one sentence that names the origin, the key and what is allowed.
 */
CameraDescription parseDescription(std::string_view text, const std::string& origin);

/// @throws std::invalid_argument as parseDescription, also when the file cannot be read.
CameraDescription readDescription(const std::filesystem::path& file);

/**
 * The description of that name or path: a name without a slash and without ".json" is looked for in
 * `cameras` next to the program and where an installation or the build tree has it; anything else is a path.
 * @throws std::invalid_argument with one sentence that names the folders that were searched, or that a .toml file is
 * not read.
 */
CameraDescription findDescription(const std::string& nameOrPath, const std::filesystem::path& programFolder);

} // namespace camera::ptz
