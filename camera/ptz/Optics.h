#pragma once

namespace camera::ptz {

/// A varifocal lens over a sensor; lengths in micrometres, the widest view at zoom 100.
struct Optics {
    unsigned int shortestFocalLength = 4300;
    unsigned int largestZoom = 3000;
    unsigned int sensorWidth = 5376;
    unsigned int sensorHeight = 3024;

    unsigned int longestFocalLength() const { return shortestFocalLength * (largestZoom / 100); }

    /// The horizontal angle of view at a zoom, in thousandths of a degree.
    unsigned int angleOfView(unsigned int zoom) const;
};

} // namespace camera::ptz
