#pragma once

#include "camera/base/Event.h"

#include <json/value.h>

#include <string>
#include <vector>

namespace camera::onvif {

/// An event as one line: its time, topic, the rule that raised it and its values. A text that is not a tt:Message
/// is shown as it is, shortened.
std::string describeEvent(const base::Event& event);

/// An event for programs, as base::jsonLine prints it: time, topic, rule, preset, state, and each other value of it by
/// its name. A text that is not a tt:Message is the field data.
/// @param preset  where the camera stands; empty: at none.
Json::Value eventObject(const base::Event& event, const std::string& preset);

/// A metadata document for programs: an object for each thing that was seen, with its time, id and place, and for each
/// grid of cells. A document in which nothing of that is found is one object with the field data.
std::vector<Json::Value> metadataObjects(const std::string& document);

} // namespace camera::onvif
