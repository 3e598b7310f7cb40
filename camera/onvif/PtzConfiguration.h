#pragma once

#include "camera/onvif/PtzDefaults.h"

#include <pugixml.hpp>

#include <chrono>
#include <optional>
#include <string>

namespace camera::onvif {

/// Adds to a tt:PTZConfiguration what stands behind its node.
void fillPtzConfiguration(pugi::xml_node configuration, const PtzDefaults& defaults);

/// What a client sets; what it does not name stays. @throws Fault ter:ConfigModify
void readPtzConfiguration(const pugi::xml_node& configuration, PtzDefaults& defaults);

/// A duration that a movement at a speed can have; nothing for any other one. @throws Fault ter:InvalidArgVal
std::optional<std::chrono::milliseconds> driveTimeout(const std::string& text);

} // namespace camera::onvif
