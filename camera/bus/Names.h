#pragma once

#include "camera/bus/service_names.h"

#include <string>

namespace camera::bus {

// Services of one virtual camera. Each is the bus name ravel.<service>; its targets are the objects
// /ravel/<service>/<target id>, which have the interface ravel.<service>. Their names, camera::bus::service::kDayNight
// and so on, are written from the descriptions in camera/bus/interfaces/.

/// The id of the one target that each of this camera's services has.
constexpr const char* kTargetId = "main";

/// As a speed of ravel.positioning's drive: the axis goes on as it does.
constexpr int kAxisGoesOn = 127;

/// Errors that the camera's services answer with.
namespace error {
constexpr const char* kFailed = "ravel.Error.Failed";           ///< the operation itself failed
constexpr const char* kInvalidText = "ravel.Error.InvalidText"; ///< not UTF-8, or with a NUL byte
constexpr const char* kRefused = "ravel.Error.Refused";         ///< understood, but not done: see the text
constexpr const char* kUnavailable = "ravel.Error.Unavailable"; ///< no process serves this now
constexpr const char* kTooLarge = "ravel.Error.TooLarge";       ///< larger than one call may be

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
