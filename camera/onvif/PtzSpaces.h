#pragma once

#include "camera/onvif/PtzDefaults.h"
#include "camera/onvif/PtzView.h"

#include <pugixml.hpp>

#include <string>

namespace camera::onvif {

// Places, ways and speeds as ONVIF writes them: vectors in a space. Each function that reads one throws a Fault:
// ter:SpaceNotSupported for a space that is not one of those that putSpaces() names for it.

/// Fills tt:PTZSpaces.
void putSpaces(pugi::xml_node spaces, const PtzLimits& limits);

/// tt:Space2DDescription of places in the generic space and in degrees.
void putPositionSpace(pugi::xml_node parent, const char* name, const PtzLimits& limits);
void putDegreesSpace(pugi::xml_node parent, const char* name, const PtzLimits& limits);

/// tt:PTZVector of a place. @param panTiltSpace  one of a place
void putPlace(pugi::xml_node parent, const char* name, const PtzPlace& place, const PtzLimits& limits,
              const std::string& panTiltSpace);

/// tt:PTZSpeed, 0 to 1
void putSpeed(pugi::xml_node parent, const char* name, double panTilt, double zoom);

/// The place that a tt:PTZVector names; what it does not name stays. @throws Fault ter:InvalidPosition
PtzPlace absolutePlace(const pugi::xml_node& vector, const PtzView& view, const PtzDefaults& defaults);

/// The place that is so far away; what is beyond an end of the camera is that end. @throws Fault ter:InvalidTranslation
PtzPlace relativePlace(const pugi::xml_node& vector, const PtzView& view, const PtzDefaults& defaults);

/// @param vector  tt:PTZSpeed @throws Fault ter:InvalidVelocity
PtzDrive driveOf(const pugi::xml_node& vector);

/// The speed of a way in percent. Where several are given the lowest one counts, and 0 counts as none.
/// @param speed  tt:PTZSpeed; null: the defaults @throws Fault ter:InvalidSpeed
int wayPercent(const pugi::xml_node& speed, const PtzDefaults& defaults);

/// Both speeds of a tt:PTZSpeed into defaults. @throws Fault ter:InvalidSpeed
void readSpeed(const pugi::xml_node& speed, PtzDefaults& defaults);

} // namespace camera::onvif
