// Units: a generic position is 1 at the half turn to the right, at the highest tilt and at the largest zoom; -1, -1 and
// 0 are the other ends. A generic translation has the same scale. In the field of view 1 is half of what the picture
// shows, so that a client that names a point of the picture gets it into the middle.
#include "camera/onvif/PtzSpaces.h"

#include "camera/base/Text.h"
#include "camera/onvif/Fault.h"
#include "camera/onvif/MediaAnswers.h"
#include "camera/onvif/Requests.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>

namespace camera::onvif {

namespace {

constexpr double kHalfTurn = 180;
constexpr double kRounding = 1e-5; // of a float in a request

struct Range {
    double lowest = 0;
    double highest = 0;

    bool has(double value) const { return value >= lowest - kRounding && value <= highest + kRounding; }
};

constexpr Range kWholeRange{-1, 1};
constexpr Range kPositiveRange{0, 1};

/// A point or way on one axis or two, in one of the spaces that it may be in.
struct Coordinates {
    double x = 0;
    double y = 0;
    std::string space;
};

struct Vector {
    std::optional<Coordinates> panTilt;
    std::optional<Coordinates> zoom;
};

using Spaces = std::initializer_list<std::string>;

double coordinate(const pugi::xml_node& node, const char* name)
{
    const pugi::xml_attribute attribute = node.attribute(name);
    if (!attribute) {
        throw Fault::sender({"ter:InvalidArgs"}, std::string(node.name()) + " has no '" + name + "'");
    }
    return numberIn(name, base::trimmed(attribute.value()));
}

/// @param spaces  the first one is what holds without any.
std::string spaceOf(const pugi::xml_node& node, const Spaces& spaces)
{
    const std::string given = base::trimmed(node.attribute("space").value());
    if (given.empty()) {
        return *spaces.begin();
    }
    if (std::find(spaces.begin(), spaces.end(), given) == spaces.end()) {
        throw Fault::invalid("ter:SpaceNotSupported",
                             "the space '" + given + "' is not one of " + node.name() + " here");
    }
    return given;
}

/// @param subcode  for a vector without any coordinates
Vector vectorOf(const pugi::xml_node& node, const Spaces& panTiltSpaces, const Spaces& zoomSpaces, const char* subcode)
{
    Vector vector;
    if (const pugi::xml_node panTilt = node.child("tt:PanTilt")) {
        vector.panTilt = {coordinate(panTilt, "x"), coordinate(panTilt, "y"), spaceOf(panTilt, panTiltSpaces)};
    }
    if (const pugi::xml_node zoom = node.child("tt:Zoom")) {
        vector.zoom = {coordinate(zoom, "x"), 0, spaceOf(zoom, zoomSpaces)};
    }
    if (!vector.panTilt && !vector.zoom) {
        throw Fault::invalid(subcode, "neither tt:PanTilt nor tt:Zoom is given");
    }
    return vector;
}

void requireIn(const Range& range, double value, const char* subcode)
{
    if (!range.has(value)) {
        throw Fault::invalid(subcode, base::shortNumber(value) + " is not between " + base::shortNumber(range.lowest) +
                                          " and " + base::shortNumber(range.highest));
    }
}

double tiltMiddle(const PtzLimits& limits)
{
    return (limits.highestTilt + limits.lowestTilt) / 2;
}

double tiltHalf(const PtzLimits& limits)
{
    return (limits.highestTilt - limits.lowestTilt) / 2;
}

Range genericPan(const PtzLimits& limits)
{
    return {limits.lowestPan / kHalfTurn, limits.highestPan / kHalfTurn};
}

void putReach(pugi::xml_node parent, const char* name, const Range& range)
{
    pugi::xml_node node = parent.append_child(name);
    put(node, "tt:Min", range.lowest);
    put(node, "tt:Max", range.highest);
}

void putPlane(pugi::xml_node parent, const char* name, const char* uri, const Range& x, const Range& y)
{
    pugi::xml_node node = parent.append_child(name);
    put(node, "tt:URI", uri);
    putReach(node, "tt:XRange", x);
    putReach(node, "tt:YRange", y);
}

void putLine(pugi::xml_node parent, const char* name, const char* uri, const Range& x)
{
    pugi::xml_node node = parent.append_child(name);
    put(node, "tt:URI", uri);
    putReach(node, "tt:XRange", x);
}

void putCoordinate(pugi::xml_node node, const char* name, double value)
{
    putAttribute(node, name, base::shortNumber(value));
}

void putPanTilt(pugi::xml_node parent, double x, double y, const std::string& space)
{
    pugi::xml_node node = parent.append_child("tt:PanTilt");
    putCoordinate(node, "x", x);
    putCoordinate(node, "y", y);
    putAttribute(node, "space", space);
}

void putZoom(pugi::xml_node parent, double x, const char* space)
{
    pugi::xml_node node = parent.append_child("tt:Zoom");
    putCoordinate(node, "x", x);
    putAttribute(node, "space", space);
}

/// The same direction from -180 on, below 180.
double aroundFront(double degrees)
{
    const double turned = std::fmod(degrees + kHalfTurn, 2 * kHalfTurn);
    return (turned < 0 ? turned + 2 * kHalfTurn : turned) - kHalfTurn;
}

int percentOf(double part)
{
    return static_cast<int>(std::lround(part * 100));
}

/// A speed that is not zero stays one.
int velocityPercent(double part)
{
    requireIn(kWholeRange, part, "ter:InvalidVelocity");
    const int percent = std::clamp(percentOf(part), -100, 100);
    return percent == 0 && part != 0 ? (part > 0 ? 1 : -1) : percent;
}

Vector speedVector(const pugi::xml_node& speed)
{
    constexpr const char* kSubcode = "ter:InvalidSpeed";
    const Vector vector = vectorOf(speed, {space::kSpeed}, {space::kZoomSpeed}, kSubcode);
    for (const auto& each : {vector.panTilt, vector.zoom}) {
        if (each) {
            requireIn(kPositiveRange, each->x, kSubcode);
            requireIn(kPositiveRange, each->y, kSubcode);
        }
    }
    return vector;
}

} // namespace

void putPositionSpace(pugi::xml_node parent, const char* name, const PtzLimits& limits)
{
    putPlane(parent, name, space::kPosition, genericPan(limits), kWholeRange);
}

void putDegreesSpace(pugi::xml_node parent, const char* name, const PtzLimits& limits)
{
    putPlane(parent, name, space::kDegrees, {limits.lowestPan, limits.highestPan},
             {limits.lowestTilt, limits.highestTilt});
}

void putSpaces(pugi::xml_node spaces, const PtzLimits& limits)
{
    constexpr const char* kAbsolute = "tt:AbsolutePanTiltPositionSpace";
    constexpr const char* kRelative = "tt:RelativePanTiltTranslationSpace";
    putPositionSpace(spaces, kAbsolute, limits);
    putDegreesSpace(spaces, kAbsolute, limits);
    putLine(spaces, "tt:AbsoluteZoomPositionSpace", space::kZoomPosition, kPositiveRange);
    putPlane(spaces, kRelative, space::kTranslation, kWholeRange, kWholeRange);
    putPlane(spaces, kRelative, space::kFieldOfView, kWholeRange, kWholeRange);
    putLine(spaces, "tt:RelativeZoomTranslationSpace", space::kZoomTranslation, kWholeRange);
    putPlane(spaces, "tt:ContinuousPanTiltVelocitySpace", space::kVelocity, kWholeRange, kWholeRange);
    putLine(spaces, "tt:ContinuousZoomVelocitySpace", space::kZoomVelocity, kWholeRange);
    putLine(spaces, "tt:PanTiltSpeedSpace", space::kSpeed, kPositiveRange);
    putLine(spaces, "tt:ZoomSpeedSpace", space::kZoomSpeed, kPositiveRange);
}

void putPlace(pugi::xml_node parent, const char* name, const PtzPlace& place, const PtzLimits& limits,
              const std::string& panTiltSpace)
{
    pugi::xml_node node = parent.append_child(name);
    if (panTiltSpace == space::kDegrees) {
        putPanTilt(node, place.pan, place.tilt, panTiltSpace);
    } else {
        putPanTilt(node, place.pan / kHalfTurn, (place.tilt - tiltMiddle(limits)) / tiltHalf(limits), panTiltSpace);
    }
    const double range = limits.largestZoom - 1;
    putZoom(node, range > 0 ? (place.zoom - 1) / range : 0, space::kZoomPosition);
}

void putSpeed(pugi::xml_node parent, const char* name, double panTilt, double zoom)
{
    pugi::xml_node node = parent.append_child(name);
    putPanTilt(node, panTilt, panTilt, space::kSpeed);
    putZoom(node, zoom, space::kZoomSpeed);
}

PtzPlace absolutePlace(const pugi::xml_node& node, const PtzView& view, const PtzDefaults& defaults)
{
    constexpr const char* kSubcode = "ter:InvalidPosition";
    const PtzLimits& limits = view.limits;
    const Vector vector =
        vectorOf(node, {defaults.absoluteSpace, space::kPosition, space::kDegrees}, {space::kZoomPosition}, kSubcode);
    PtzPlace place = view.place;
    if (vector.panTilt && vector.panTilt->space == space::kDegrees) {
        requireIn({limits.lowestPan, limits.highestPan}, vector.panTilt->x, kSubcode);
        requireIn({limits.lowestTilt, limits.highestTilt}, vector.panTilt->y, kSubcode);
        place.pan = vector.panTilt->x;
        place.tilt = vector.panTilt->y;
    } else if (vector.panTilt) {
        requireIn(genericPan(limits), vector.panTilt->x, kSubcode);
        requireIn(kWholeRange, vector.panTilt->y, kSubcode);
        place.pan = vector.panTilt->x * kHalfTurn;
        place.tilt = tiltMiddle(limits) + vector.panTilt->y * tiltHalf(limits);
    }
    if (vector.zoom) {
        requireIn(kPositiveRange, vector.zoom->x, kSubcode);
        place.zoom = 1 + vector.zoom->x * (limits.largestZoom - 1);
    }
    return place;
}

PtzPlace relativePlace(const pugi::xml_node& node, const PtzView& view, const PtzDefaults& defaults)
{
    constexpr const char* kSubcode = "ter:InvalidTranslation";
    const PtzLimits& limits = view.limits;
    const Vector vector = vectorOf(node, {defaults.relativeSpace, space::kTranslation, space::kFieldOfView},
                                   {space::kZoomTranslation}, kSubcode);
    PtzPlace place = view.place;
    if (vector.panTilt) {
        requireIn(kWholeRange, vector.panTilt->x, kSubcode);
        requireIn(kWholeRange, vector.panTilt->y, kSubcode);
        const bool inPicture = vector.panTilt->space == space::kFieldOfView;
        const double pan = place.pan + vector.panTilt->x * (inPicture ? view.widthDegrees / 2 : kHalfTurn);
        const double tilt = place.tilt + vector.panTilt->y * (inPicture ? view.heightDegrees / 2 : tiltHalf(limits));
        place.pan = limits.endless ? aroundFront(pan) : std::clamp(pan, limits.lowestPan, limits.highestPan);
        place.tilt = std::clamp(tilt, limits.lowestTilt, limits.highestTilt);
    }
    if (vector.zoom) {
        requireIn(kWholeRange, vector.zoom->x, kSubcode);
        place.zoom =
            std::clamp(place.zoom + vector.zoom->x * (limits.largestZoom - 1), 1.0, std::max(1.0, limits.largestZoom));
    }
    return place;
}

PtzDrive driveOf(const pugi::xml_node& node)
{
    const Vector vector = vectorOf(node, {space::kVelocity}, {space::kZoomVelocity}, "ter:InvalidVelocity");
    PtzDrive drive;
    if (vector.panTilt) {
        drive.pan = velocityPercent(vector.panTilt->x);
        drive.tilt = velocityPercent(vector.panTilt->y);
    }
    if (vector.zoom) {
        drive.zoom = velocityPercent(vector.zoom->x);
    }
    return drive;
}

int wayPercent(const pugi::xml_node& speed, const PtzDefaults& defaults)
{
    std::optional<double> lowest;
    const auto take = [&lowest](double part) {
        if (part > 0) {
            lowest = std::min(part, lowest.value_or(part));
        }
    };
    if (speed) {
        const Vector vector = speedVector(speed);
        take(vector.panTilt ? vector.panTilt->x : 0);
        take(vector.panTilt ? vector.panTilt->y : 0);
        take(vector.zoom ? vector.zoom->x : 0);
    }
    return std::clamp(percentOf(lowest.value_or(std::min(defaults.panTiltSpeed, defaults.zoomSpeed))), 1, 100);
}

void readSpeed(const pugi::xml_node& speed, PtzDefaults& defaults)
{
    const Vector vector = speedVector(speed);
    defaults.panTiltSpeed = vector.panTilt ? vector.panTilt->x : defaults.panTiltSpeed;
    defaults.zoomSpeed = vector.zoom ? vector.zoom->x : defaults.zoomSpeed;
}

} // namespace camera::onvif
