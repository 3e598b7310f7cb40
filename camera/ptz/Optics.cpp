#include "camera/ptz/Optics.h"

#include <cmath>

namespace camera::ptz {

unsigned int Optics::angleOfView(unsigned int zoom) const
{
    // Pinhole: half the sensor's width over the focal length is the tangent of half the angle.
    const double focalLength = shortestFocalLength * (static_cast<double>(zoom) / 100);
    const double halfAngle = std::atan(sensorWidth / 2.0 / focalLength);
    return static_cast<unsigned int>(std::lround(2.0 * halfAngle * 180000.0 / std::acos(-1.0)));
}

} // namespace camera::ptz
