#pragma once

#include <string>

namespace camera::bus {

/// Services of one virtual camera. Each is the bus name ravel.<service>; its targets are the objects
/// /ravel/<service>/<target id>, which have the interface ravel.<service>.
namespace service {
constexpr const char* kAnalytics = "onvif_analytic_service";
constexpr const char* kMetadataStreamer = "onvif_metadata_streamer";
constexpr const char* kDayNight = "day_night";
constexpr const char* kWindowBlanking = "window_blanking";
constexpr const char* kRotate = "rotate";
constexpr const char* kConfiguration = "configuration"; ///< integer configuration values
constexpr const char* kPositioning = "positioning";     ///< movement, presets, tours
constexpr const char* kPipeline = "pipeline";           ///< the pipeline process itself
constexpr const char* kServices = "services";           ///< the process of the device services itself: faults
constexpr const char* kSupervisor = "supervisor";       ///< the process that started the others
} // namespace service

/// The id of the one target that each of this camera's services has.
constexpr const char* kTargetId = "main";

/// Errors that the camera's services answer with.
namespace error {
constexpr const char* kFailed = "ravel.Error.Failed";           ///< the operation itself failed
constexpr const char* kInvalidText = "ravel.Error.InvalidText"; ///< not UTF-8, or with a NUL byte
constexpr const char* kRefused = "ravel.Error.Refused";         ///< understood, but not done: see the text
constexpr const char* kUnavailable = "ravel.Error.Unavailable"; ///< nobody serves this now
constexpr const char* kTooLarge = "ravel.Error.TooLarge";       ///< beyond what one call may bring

// Those of the bus itself.
constexpr const char* kNoReply = "org.freedesktop.DBus.Error.NoReply";
constexpr const char* kTimeout = "org.freedesktop.DBus.Error.Timeout";
constexpr const char* kServiceUnknown = "org.freedesktop.DBus.Error.ServiceUnknown";
constexpr const char* kNoOwner = "org.freedesktop.DBus.Error.NameHasNoOwner";
} // namespace error

inline std::string busName(const std::string& service)
{
    return "ravel." + service;
}

inline std::string interfaceName(const std::string& service)
{
    return "ravel." + service;
}

inline std::string objectPath(const std::string& service, const std::string& targetId = kTargetId)
{
    return "/ravel/" + service + "/" + targetId;
}

} // namespace camera::bus
