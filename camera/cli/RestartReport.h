#pragma once

#include "camera/onvif/ConfigurationFile.h"

#include <string>
#include <vector>

namespace camera::cli {

/// One line for each component that a restart loses or brings back; empty when it changes nothing.
std::vector<std::string> restartDifferences(const std::vector<onvif::ComponentName>& now,
                                            const std::vector<onvif::ComponentName>& later);

} // namespace camera::cli
