#pragma once

#include <chrono>
#include <string>

namespace camera::onvif {

// The coordinate systems that the camera has.
namespace space {
inline constexpr const char* kPosition = "http://www.onvif.org/ver10/tptz/PanTiltSpaces/PositionGenericSpace";
inline constexpr const char* kDegrees = "http://www.onvif.org/ver10/tptz/PanTiltSpaces/SphericalPositionSpaceDegrees";
inline constexpr const char* kZoomPosition = "http://www.onvif.org/ver10/tptz/ZoomSpaces/PositionGenericSpace";
inline constexpr const char* kTranslation = "http://www.onvif.org/ver10/tptz/PanTiltSpaces/TranslationGenericSpace";
inline constexpr const char* kFieldOfView = "http://www.onvif.org/ver10/tptz/PanTiltSpaces/TranslationSpaceFov";
inline constexpr const char* kZoomTranslation = "http://www.onvif.org/ver10/tptz/ZoomSpaces/TranslationGenericSpace";
inline constexpr const char* kVelocity = "http://www.onvif.org/ver10/tptz/PanTiltSpaces/VelocityGenericSpace";
inline constexpr const char* kZoomVelocity = "http://www.onvif.org/ver10/tptz/ZoomSpaces/VelocityGenericSpace";
inline constexpr const char* kSpeed = "http://www.onvif.org/ver10/tptz/PanTiltSpaces/GenericSpeedSpace";
inline constexpr const char* kZoomSpeed = "http://www.onvif.org/ver10/tptz/ZoomSpaces/ZoomGenericSpeedSpace";
} // namespace space

/// What holds where a request does not say it.
struct PtzDefaults {
    std::string absoluteSpace = space::kPosition;    ///< of pan and tilt, also for places that are told
    std::string relativeSpace = space::kFieldOfView; ///< of pan and tilt; recorders that follow an object need this one
    double panTiltSpeed = 1;                         ///< 0 to 1
    double zoomSpeed = 1;
    std::chrono::milliseconds timeout{60000}; ///< of a movement at a speed
};

inline constexpr std::chrono::milliseconds kShortestDrive{100};
inline constexpr std::chrono::milliseconds kLongestDrive{3600000};

/// Whether all is within the limits.
bool isPossible(const PtzDefaults& defaults);

} // namespace camera::onvif
