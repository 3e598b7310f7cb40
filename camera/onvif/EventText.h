#pragma once

#include "camera/base/Event.h"

#include <string>

namespace camera::onvif {

/// An event as one line: its time, topic, the rule that raised it and its values. A text that is not a tt:Message
/// is shown as it is, shortened.
std::string describeEvent(const base::Event& event);

} // namespace camera::onvif
