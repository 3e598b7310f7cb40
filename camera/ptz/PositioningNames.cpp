#include "camera/ptz/PositioningNames.h"

#include "camera/base/Text.h"

namespace camera::ptz {

std::string nameProblem(const std::string& name)
{
    if (name.empty()) {
        return "a name has at least one character";
    }
    if (name.size() > kLongestName) {
        return "a name has at most " + std::to_string(kLongestName) + " bytes, this one has " +
               std::to_string(name.size());
    }
    return base::printable(name) == name ? std::string() : "a name has no control characters";
}

std::string tourProblem(const Tour& tour)
{
    if (tour.stops.empty() || tour.stops.size() > kMostStops) {
        return "a tour has 1 to " + std::to_string(kMostStops) + " stops";
    }
    for (const TourStop& stop : tour.stops) {
        if (stop.dwell < std::chrono::milliseconds(0) || stop.dwell > kLongestDwell) {
            return "the stop at '" + stop.preset + "' lasts 0 ms to a day";
        }
        if (stop.speedPercent < 1 || stop.speedPercent > 100) {
            return "the speed to '" + stop.preset + "' is 1 to 100 percent";
        }
    }
    return std::string();
}

} // namespace camera::ptz
