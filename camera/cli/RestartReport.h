#pragma once

#include "camera/cli/ConfigurationFile.h"
#include "camera/device/Device.h"

#include <string>
#include <vector>

namespace camera::cli {

/// Every rule and module that the service lists.
std::vector<ComponentName> liveComponents(device::Device& device);

/// One line for each component that a restart loses or brings back; empty when it changes nothing.
std::vector<std::string> restartDifferences(const std::vector<ComponentName>& now,
                                            const std::vector<ComponentName>& later);

} // namespace camera::cli
