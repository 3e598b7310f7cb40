#include "camera/onvif/PtzConfiguration.h"

#include "camera/onvif/Fault.h"
#include "camera/onvif/MediaSettings.h"
#include "camera/onvif/PtzSpaces.h"
#include "camera/onvif/Requests.h"
#include "camera/onvif/Times.h"

#include <algorithm>
#include <initializer_list>

namespace camera::onvif {

namespace {

Fault cannotHave(const std::string& what)
{
    return Fault::invalid("ter:ConfigModify", what);
}

/// A default space, where a client names one.
std::string readSpace(const pugi::xml_node& configuration, const char* name, const std::string& now,
                      std::initializer_list<const char*> possible)
{
    const auto wanted = optionalText(configuration, name);
    if (wanted && std::find(possible.begin(), possible.end(), *wanted) == possible.end()) {
        throw cannotHave(std::string(name) + " cannot be '" + *wanted + "'");
    }
    return wanted.value_or(now);
}

} // namespace

bool isPossible(const PtzDefaults& defaults)
{
    const auto isOne = [](const std::string& space, std::initializer_list<const char*> possible) {
        return std::find(possible.begin(), possible.end(), space) != possible.end();
    };
    const auto isSpeed = [](double speed) { return speed >= 0 && speed <= 1; };
    return isOne(defaults.absoluteSpace, {space::kPosition, space::kDegrees}) &&
           isOne(defaults.relativeSpace, {space::kTranslation, space::kFieldOfView}) &&
           isSpeed(defaults.panTiltSpeed) && isSpeed(defaults.zoomSpeed) && defaults.timeout >= kShortestDrive &&
           defaults.timeout <= kLongestDrive;
}

void fillPtzConfiguration(pugi::xml_node node, const PtzDefaults& defaults)
{
    put(node, "tt:DefaultAbsolutePantTiltPositionSpace", defaults.absoluteSpace); // spelled so in the schema
    put(node, "tt:DefaultAbsoluteZoomPositionSpace", space::kZoomPosition);
    put(node, "tt:DefaultRelativePanTiltTranslationSpace", defaults.relativeSpace);
    put(node, "tt:DefaultRelativeZoomTranslationSpace", space::kZoomTranslation);
    put(node, "tt:DefaultContinuousPanTiltVelocitySpace", space::kVelocity);
    put(node, "tt:DefaultContinuousZoomVelocitySpace", space::kZoomVelocity);
    putSpeed(node, "tt:DefaultPTZSpeed", defaults.panTiltSpeed, defaults.zoomSpeed);
    put(node, "tt:DefaultPTZTimeout", durationText(defaults.timeout));
}

std::optional<std::chrono::milliseconds> driveTimeout(const std::string& text)
{
    const auto duration = parseDuration(text);
    if (!duration) {
        throw Fault::sender({"ter:InvalidArgVal"}, "'" + text + "' is no duration; 'PT5S' is one");
    }
    return *duration >= kShortestDrive && *duration <= kLongestDrive ? duration : std::nullopt;
}

void readPtzConfiguration(const pugi::xml_node& node, PtzDefaults& defaults)
{
    if (optionalText(node, "tt:NodeToken").value_or(kPtzNode) != kPtzNode) {
        throw cannotHave(std::string("the node of this configuration is '") + kPtzNode + "'");
    }
    for (const char* const limits : {"tt:PanTiltLimits", "tt:ZoomLimits"}) {
        if (node.child(limits)) {
            throw cannotHave(std::string(limits) + " cannot be set; the ends of the axes are those of the camera");
        }
    }
    defaults.absoluteSpace = readSpace(node, "tt:DefaultAbsolutePantTiltPositionSpace", defaults.absoluteSpace,
                                       {space::kPosition, space::kDegrees});
    defaults.relativeSpace = readSpace(node, "tt:DefaultRelativePanTiltTranslationSpace", defaults.relativeSpace,
                                       {space::kTranslation, space::kFieldOfView});
    readSpace(node, "tt:DefaultAbsoluteZoomPositionSpace", "", {space::kZoomPosition});
    readSpace(node, "tt:DefaultRelativeZoomTranslationSpace", "", {space::kZoomTranslation});
    readSpace(node, "tt:DefaultContinuousPanTiltVelocitySpace", "", {space::kVelocity});
    readSpace(node, "tt:DefaultContinuousZoomVelocitySpace", "", {space::kZoomVelocity});
    if (const pugi::xml_node speed = node.child("tt:DefaultPTZSpeed")) {
        try {
            readSpeed(speed, defaults);
        } catch (const Fault& fault) {
            throw cannotHave("tt:DefaultPTZSpeed: " + std::string(fault.what()));
        }
    }
    if (const auto text = optionalText(node, "tt:DefaultPTZTimeout")) {
        const auto timeout = driveTimeout(*text);
        if (!timeout) {
            throw cannotHave("tt:DefaultPTZTimeout is " + durationText(kShortestDrive) + " to " +
                             durationText(kLongestDrive));
        }
        defaults.timeout = *timeout;
    }
}

} // namespace camera::onvif
