#pragma once

#include "camera/ravel/Event.h"

#include <string>

namespace camera::cli {

/// An event as one line: its time, topic, the rule that raised it and its values. What is no tt:Message is
/// shown as it is, shortened.
std::string describeEvent(const ravel::Event& event);

} // namespace camera::cli
