#pragma once

#include "camera/onvif/ConfigurationFile.h"
#include "camera/pipeline/Device.h"

#include <string>
#include <vector>

namespace camera::pipeline {

/// Every rule and module that the service lists.
std::vector<onvif::ComponentName> liveComponents(pipeline::Device& device);

/// One line for each component that a restart loses or brings back; empty when it changes nothing.
std::vector<std::string> restartDifferences(const std::vector<onvif::ComponentName>& now,
                                            const std::vector<onvif::ComponentName>& later);

} // namespace camera::pipeline
